#include "models/eqitemlist.h"

#include <QSignalSpy>
#include <QtTest>

namespace {

EqItemList *listOf(int rows, QObject *parent)
{
    auto *list = new EqItemList(parent);
    for (int i = 0; i < rows; ++i)
        list->append(EqItem(i, QString::number(i * 10), i * 100, i - 5));
    return list;
}

} // namespace

class TestEqItemList : public QObject
{
    Q_OBJECT

private slots:
    void notifications_data();
    void notifications();
    void data_data();
    void data();
    void outOfRangeRowsReadAsEmpty();
    void roleNames();
};

// Which model signals each operation announces, and what the rows are afterwards.
void TestEqItemList::notifications_data()
{
    QTest::addColumn<int>("rows");
    QTest::addColumn<QString>("operation");
    QTest::addColumn<int>("row");
    QTest::addColumn<QString>("expected"); // signals seen, in order
    QTest::addColumn<int>("rowsAfter");

    QTest::newRow("append to empty: rows 0 to 0") << 0 << "append" << -1 << "insert 0-0" << 1;
    QTest::newRow("append to five: rows 5 to 5") << 5 << "append" << -1 << "insert 5-5" << 6;
    QTest::newRow("insert at 2") << 5 << "insert" << 2 << "insert 2-2" << 6;
    QTest::newRow("insert at end") << 3 << "insert" << 3 << "insert 3-3" << 4;
    QTest::newRow("remove 1") << 3 << "removeAt" << 1 << "remove 1-1" << 2;
    QTest::newRow("remove -1: nothing") << 3 << "removeAt" << -1 << "" << 3;
    QTest::newRow("remove count: nothing") << 3 << "removeAt" << 3 << "" << 3;
    QTest::newRow("replace 0 of one row: reset, not dataChanged") << 1 << "replace" << 0 << "reset" << 1;
    QTest::newRow("replace count: nothing") << 2 << "replace" << 2 << "" << 2;
    QTest::newRow("replace -1: nothing") << 2 << "replace" << -1 << "" << 2;
    QTest::newRow("clear: reset") << 4 << "clear" << -1 << "reset" << 0;
    QTest::newRow("clear empty: still a reset") << 0 << "clear" << -1 << "reset" << 0;
}

void TestEqItemList::notifications()
{
    QFETCH(int, rows);
    QFETCH(QString, operation);
    QFETCH(int, row);
    QFETCH(QString, expected);
    QFETCH(int, rowsAfter);

    QObject owner;
    EqItemList *list = listOf(rows, &owner);
    // No QAbstractItemModelTester here: rowCount() answers the row count for any parent, which the
    // tester reads as a tree of endless depth.

    QStringList seen;
    connect(list, &QAbstractItemModel::rowsInserted, [&](const QModelIndex &, int first, int last) {
        seen << QStringLiteral("insert %1-%2").arg(first).arg(last);
    });
    connect(list, &QAbstractItemModel::rowsRemoved, [&](const QModelIndex &, int first, int last) {
        seen << QStringLiteral("remove %1-%2").arg(first).arg(last);
    });
    connect(list, &QAbstractItemModel::modelReset, [&] { seen << QStringLiteral("reset"); });
    connect(list, &QAbstractItemModel::dataChanged, [&] { seen << QStringLiteral("dataChanged"); });

    const EqItem item(42, QStringLiteral("new"), 4200, 7);
    if (operation == "append")
        list->append(item);
    else if (operation == "insert")
        list->insert(row, item);
    else if (operation == "removeAt")
        list->removeAt(row);
    else if (operation == "replace")
        list->replace(row, item);
    else
        list->clear();

    QCOMPARE(seen.join(QLatin1Char(',')), expected);
    QCOMPARE(list->rowCount(), rowsAfter);
    if (operation != "removeAt" && operation != "clear" && !expected.isEmpty()) {
        const int at = operation == "append" ? rowsAfter - 1 : row;
        QCOMPARE(list->at(at).id, 42);
        QCOMPARE(list->at(at).name, QStringLiteral("new"));
        QCOMPARE(list->at(at).bandfreq, 4200);
        QCOMPARE(list->at(at).gain, 7);
    }
}

void TestEqItemList::data_data()
{
    QTest::addColumn<int>("row");
    QTest::addColumn<int>("role");
    QTest::addColumn<QVariant>("expected");

    // Row 2 is {2, "20", 200, -3}.
    QTest::newRow("ID role gives the id, not the name") << 2 << int(Qt::UserRole + 1) << QVariant(2);
    QTest::newRow("name role") << 2 << int(Qt::UserRole + 2) << QVariant(QStringLiteral("20"));
    QTest::newRow("bandfreq role") << 2 << int(Qt::UserRole + 3) << QVariant(200);
    QTest::newRow("gain role") << 2 << int(Qt::UserRole + 4) << QVariant(-3);
    QTest::newRow("UserRole itself: invalid") << 2 << int(Qt::UserRole) << QVariant();
    QTest::newRow("display role: invalid") << 2 << int(Qt::DisplayRole) << QVariant();
    QTest::newRow("role past gain: invalid") << 2 << int(Qt::UserRole + 5) << QVariant();
    QTest::newRow("row past the end: invalid") << 5 << int(Qt::UserRole + 1) << QVariant();
}

void TestEqItemList::data()
{
    QFETCH(int, row);
    QFETCH(int, role);
    QFETCH(QVariant, expected);

    QObject owner;
    EqItemList *list = listOf(5, &owner);
    // A row number is all that is looked at; the index of another model carries one too.
    EqItemList other;
    other.append(EqItem());
    for (int r = 0; r < 6; ++r)
        other.append(EqItem());
    const QVariant value = list->data(other.index(row), role);
    QCOMPARE(value, expected);
    QCOMPARE(value.isValid(), expected.isValid());
}

void TestEqItemList::outOfRangeRowsReadAsEmpty()
{
    QObject owner;
    EqItemList *list = listOf(3, &owner);
    for (int row : {-1, 3, 100}) {
        const EqItem item = list->at(row);
        QCOMPARE(item.id, 0);
        QCOMPARE(item.name, QString());
        QCOMPARE(item.bandfreq, 0);
        QCOMPARE(item.gain, 0);
    }
    // The parent index is not looked at.
    QCOMPARE(list->rowCount(list->index(0)), 3);
}

void TestEqItemList::roleNames()
{
    EqItemList list;
    const QHash<int, QByteArray> expected{{Qt::UserRole + 1, "ID"},
                                          {Qt::UserRole + 2, "name"},
                                          {Qt::UserRole + 3, "bandfreq"},
                                          {Qt::UserRole + 4, "gain"}};
    QCOMPARE(list.roleNames(), expected);
}

QTEST_GUILESS_MAIN(TestEqItemList)
#include "tst_eqitemlist.moc"
