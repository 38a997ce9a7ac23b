#include "models/eqitemlist.h"

EqItemList::EqItemList(QObject *parent)
    : QAbstractListModel(parent)
{
}

EqItemList::~EqItemList() = default;

void EqItemList::clear()
{
    beginResetModel();
    QList<EqItem> old;
    items.swap(old);
    endResetModel();
}

void EqItemList::append(const EqItem &item)
{
    const int row = rowCount();
    beginInsertRows(QModelIndex(), row, row);
    items.append(item);
    endInsertRows();
}

void EqItemList::insert(int row, const EqItem &item)
{
    beginInsertRows(QModelIndex(), row, row);
    items.insert(row, item);
    endInsertRows();
}

void EqItemList::removeAt(int row)
{
    if (!contains(row))
        return;
    beginRemoveRows(QModelIndex(), row, row);
    items.removeAt(row);
    endRemoveRows();
}

void EqItemList::replace(int row, const EqItem &item)
{
    if (!contains(row))
        return;
    beginResetModel();
    items[row] = item;
    endResetModel();
}

EqItem EqItemList::at(int row) const
{
    return contains(row) ? items.at(row) : EqItem();
}

int EqItemList::rowCount(const QModelIndex &) const
{
    return items.size();
}

QVariant EqItemList::data(const QModelIndex &index, int role) const
{
    const int row = index.row();
    if (!contains(row))
        return QVariant();
    const EqItem &item = items.at(row);
    switch (role) {
    case IdRole:
        return item.id;
    case NameRole:
        return item.name;
    case BandFreqRole:
        return item.bandfreq;
    case GainRole:
        return item.gain;
    default:
        return QVariant();
    }
}

QHash<int, QByteArray> EqItemList::roleNames() const
{
    QHash<int, QByteArray> names;
    names.insert(IdRole, "ID");
    names.insert(NameRole, "name");
    names.insert(BandFreqRole, "bandfreq");
    names.insert(GainRole, "gain");
    return names;
}
