// The list model behind every list of the scene, and the row object: what each change announces,
// what each role reads, and that a row outside the list reads as empty.

#include "models/eqitemlist.h"
#include "models/listviewdata.h"

#include <QSignalSpy>
#include <QtTest>

class TestModels : public QObject
{
    Q_OBJECT

    // Rows {0, "0", 0, -5}, {1, "10", 100, -4}, ...
    static void fill(EqItemList &list, int rows)
    {
        for (int i = 0; i < rows; ++i)
            list.append(EqItem(i, QString::number(i * 10), i * 100, i - 5));
    }

private slots:
    void notifications_data()
    {
        QTest::addColumn<int>("rows");
        QTest::addColumn<QString>("operation");
        QTest::addColumn<int>("row");
        QTest::addColumn<QString>("expected"); // signals seen, in order
        QTest::addColumn<int>("rowsAfter");

        QTest::newRow("append to five: rows 5 to 5") << 5 << "append" << -1 << "insert 5-5" << 6;
        QTest::newRow("insert at 2") << 5 << "insert" << 2 << "insert 2-2" << 6;
        QTest::newRow("remove 1") << 3 << "removeAt" << 1 << "remove 1-1" << 2;
        QTest::newRow("remove count: nothing") << 3 << "removeAt" << 3 << "" << 3;
        QTest::newRow("replace 0: a reset, not dataChanged") << 1 << "replace" << 0 << "reset" << 1;
        QTest::newRow("replace count: nothing") << 2 << "replace" << 2 << "" << 2;
        QTest::newRow("replace -1: nothing") << 2 << "replace" << -1 << "" << 2;
        QTest::newRow("clear empty: still a reset") << 0 << "clear" << -1 << "reset" << 0;
    }

    void notifications()
    {
        QFETCH(int, rows);
        QFETCH(QString, operation);
        QFETCH(int, row);
        QFETCH(QString, expected);
        QFETCH(int, rowsAfter);

        // No QAbstractItemModelTester: rowCount() answers for any parent, which the tester reads
        // as a tree of endless depth.
        EqItemList list;
        fill(list, rows);
        QStringList seen;
        connect(&list, &QAbstractItemModel::rowsInserted, [&](const QModelIndex &, int first, int last) {
            seen << QStringLiteral("insert %1-%2").arg(first).arg(last);
        });
        connect(&list, &QAbstractItemModel::rowsRemoved, [&](const QModelIndex &, int first, int last) {
            seen << QStringLiteral("remove %1-%2").arg(first).arg(last);
        });
        connect(&list, &QAbstractItemModel::modelReset, [&] { seen << QStringLiteral("reset"); });
        connect(&list, &QAbstractItemModel::dataChanged, [&] { seen << QStringLiteral("dataChanged"); });

        const EqItem item(42, QStringLiteral("new"), 4200, 7);
        if (operation == "append")
            list.append(item);
        else if (operation == "insert")
            list.insert(row, item);
        else if (operation == "removeAt")
            list.removeAt(row);
        else if (operation == "replace")
            list.replace(row, item);
        else
            list.clear();

        QCOMPARE(seen.join(QLatin1Char(',')), expected);
        QCOMPARE(list.rowCount(), rowsAfter);
        if (operation != "removeAt" && !expected.isEmpty() && rowsAfter > 0) {
            const EqItem at = list.at(operation == "append" ? rowsAfter - 1 : row);
            QCOMPARE(QString("%1 %2 %3 %4").arg(at.id).arg(at.name).arg(at.bandfreq).arg(at.gain), QString("42 new 4200 7"));
        }
    }

    // The scene reads rows by role name; the numbers behind the names are Qt's first user roles.
    void roles_data()
    {
        QTest::addColumn<int>("row");
        QTest::addColumn<QByteArray>("role");
        QTest::addColumn<int>("number");
        QTest::addColumn<QVariant>("expected");

        QTest::newRow("ID gives the id, not the name") << 2 << QByteArray("ID") << int(Qt::UserRole + 1) << QVariant(2);
        QTest::newRow("name") << 2 << QByteArray("name") << int(Qt::UserRole + 2) << QVariant(QStringLiteral("20"));
        QTest::newRow("bandfreq") << 2 << QByteArray("bandfreq") << int(Qt::UserRole + 3) << QVariant(200);
        QTest::newRow("gain of the last row") << 4 << QByteArray("gain") << int(Qt::UserRole + 4) << QVariant(-1);
        QTest::newRow("row past the end: invalid") << 5 << QByteArray("ID") << int(Qt::UserRole + 1) << QVariant();
        QTest::newRow("row -1: invalid") << -1 << QByteArray("gain") << int(Qt::UserRole + 4) << QVariant();
        QTest::newRow("display role: invalid") << 2 << QByteArray() << int(Qt::DisplayRole) << QVariant();
    }

    void roles()
    {
        QFETCH(int, row);
        QFETCH(QByteArray, role);
        QFETCH(int, number);
        QFETCH(QVariant, expected);

        EqItemList list;
        fill(list, 5);
        QCOMPARE(list.roleNames().key(role, int(Qt::DisplayRole)), number);
        // A row number is all that is looked at; the index of another model carries one too.
        EqItemList other;
        fill(other, 7);
        const QVariant value = list.data(row < 0 ? QModelIndex() : other.index(row), number);
        QCOMPARE(value, expected);
        if (!expected.isValid() && role == "gain")
            QCOMPARE(list.at(row).gain, 0);
    }

    // Writing a property of a row object goes through its setter: a signal only on a real change.
    void rowObject()
    {
        ListViewData data(7, QStringLiteral("Bass"));
        QSignalSpy ids(&data, &ListViewData::idChanged);
        QSignalSpy names(&data, &ListViewData::nameChanged);
        QVERIFY(data.setProperty("ID", 7) && data.setProperty("ID", 8) && data.setProperty("name", QStringLiteral("Rock")));
        QCOMPARE(ids.count(), 1);
        QCOMPARE(names.count(), 1);
        QCOMPARE(QStringLiteral("%1 %2").arg(data.property("ID").toInt()).arg(data.property("name").toString()), QStringLiteral("8 Rock"));
    }
};

QTEST_GUILESS_MAIN(TestModels)
#include "tst_models.moc"
