#pragma once

#include <QObject>
#include <QString>

// One list entry as an object with observable properties, for QML that prefers a list of objects
// to a model. The program itself creates none.
class ListViewData : public QObject
{
    Q_OBJECT
    Q_PROPERTY(int ID READ id WRITE setId NOTIFY idChanged)
    Q_PROPERTY(QString name READ name WRITE setName NOTIFY nameChanged)

public:
    explicit ListViewData(QObject *parent = nullptr);
    ListViewData(int id, const QString &name, QObject *parent = nullptr);

    int id() const { return m_id; }
    QString name() const { return m_name; }

signals:
    void idChanged(int newId);
    void nameChanged(QString newName);

public:
    Q_INVOKABLE void setId(int id);
    Q_INVOKABLE void setName(QString name);

private:
    int m_id = 0;
    QString m_name;
};
