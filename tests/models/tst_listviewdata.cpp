#include "models/listviewdata.h"

#include <QSignalSpy>
#include <QtTest>

class TestListViewData : public QObject
{
    Q_OBJECT

private slots:
    void setThroughProperty_data();
    void setThroughProperty();
};

// Writing a property goes through the setter: a signal only when the value really changes.
void TestListViewData::setThroughProperty_data()
{
    QTest::addColumn<QByteArray>("property");
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<int>("emitted");

    QTest::newRow("ID unchanged") << QByteArray("ID") << QVariant(7) << 0;
    QTest::newRow("ID changed") << QByteArray("ID") << QVariant(8) << 1;
    QTest::newRow("name unchanged") << QByteArray("name") << QVariant(QStringLiteral("Bass")) << 0;
    QTest::newRow("name changed") << QByteArray("name") << QVariant(QStringLiteral("Rock")) << 1;
}

void TestListViewData::setThroughProperty()
{
    QFETCH(QByteArray, property);
    QFETCH(QVariant, value);
    QFETCH(int, emitted);

    ListViewData data(7, QStringLiteral("Bass"));
    QSignalSpy idSpy(&data, &ListViewData::idChanged);
    QSignalSpy nameSpy(&data, &ListViewData::nameChanged);
    QVERIFY(data.setProperty(property.constData(), value));

    QSignalSpy &spy = property == "ID" ? idSpy : nameSpy;
    QCOMPARE(spy.count(), emitted);
    QCOMPARE(idSpy.count() + nameSpy.count(), emitted);
    if (emitted)
        QCOMPARE(spy.first().first(), value);
    QCOMPARE(data.property(property.constData()), value);
}

QTEST_GUILESS_MAIN(TestListViewData)
#include "tst_listviewdata.moc"
