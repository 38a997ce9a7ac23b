#pragma once

#include <QAbstractListModel>
#include <QList>
#include <QString>

// One row of every list the scene shows. Fields a list does not use stay 0.
struct EqItem {
    EqItem() = default;
    EqItem(int id, const QString &name, int bandfreq, int gain)
        : id(id), name(name), bandfreq(bandfreq), gain(gain)
    {
    }

    int id = 0;
    QString name;
    int bandfreq = 0;
    int gain = 0;
};

// Read-only list model behind every list of the scene. replace() announces a whole reset rather
// than dataChanged(): views rebuild their delegates on every gain update, which the scene relies on.
class EqItemList : public QAbstractListModel
{
    Q_OBJECT

public:
    enum EqItemRoles {
        IdRole = Qt::UserRole + 1,
        NameRole,
        BandFreqRole,
        GainRole,
    };

    explicit EqItemList(QObject *parent = nullptr);
    ~EqItemList() override;

    void clear();
    void append(const EqItem &item);
    void insert(int row, const EqItem &item);
    void removeAt(int row);
    void replace(int row, const EqItem &item);
    EqItem at(int row) const;

    int rowCount(const QModelIndex &parent = QModelIndex()) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    QHash<int, QByteArray> roleNames() const override;

private:
    bool contains(int row) const { return row >= 0 && row < items.size(); }

    QList<EqItem> items;
};

