#include "models/listviewdata.h"

ListViewData::ListViewData(QObject *parent)
    : QObject(parent)
{
}

ListViewData::ListViewData(int id, const QString &name, QObject *parent)
    : QObject(parent), m_id(id), m_name(name)
{
}

void ListViewData::setId(int id)
{
    if (id == m_id)
        return;
    m_id = id;
    emit idChanged(id);
}

void ListViewData::setName(QString name)
{
    if (name == m_name)
        return;
    m_name = name;
    emit nameChanged(m_name);
}
