// Music DBE parameters, channel delays and sweet spots as the scene drives them, against the real
// amixer on the virtual card. One card and one controller (debug level 4) serve every row; init()
// puts the card back to its power-on values (delays 0, DBE as the default tuning sets it).

#include "support/controllerfixture.h"
#include "support/virtualcard.h"

#include <QtTest>

#include <limits>

using namespace ControllerFixture;
using L = QStringList;
using Ints = QList<int>;

namespace {

const L dbeProperties{"DBEModeIdx", "DBEXoverFC", "DBEMixBalance", "DBEEffectStrength",
                      "DBEAmpLimit", "DBELPFC", "DBEHPFC", "DBEHarmContent"};

QString dbeCmd(const QString &word, int value)
{
    return QStringLiteral("amixer sset \"Music DBE %1\" %2").arg(word).arg(value);
}

QString delayCmd(int chan, int delay)
{
    return QStringLiteral("amixer sset \"Music Chan%1 Delay\" %2").arg(chan).arg(delay);
}

} // namespace

class TstMusic : public QObject
{
    Q_OBJECT

    VirtualCard card;
    Controller controller;
    Equalizer *eq = controller.get();

    Ints shownDelays() const
    {
        Ints delays;
        for (int chan = 1; chan <= 4; ++chan)
            delays << eq->property(qPrintable(QStringLiteral("chan%1Delay").arg(chan))).toInt();
        return delays;
    }

private slots:
    void initTestCase() { QVERIFY2(card.isValid(), qPrintable(card.errorString())); }

    void init()
    {
        card.setPowerOnState();
        card.clearLogs();
    }

    // Each row calls changeDBEParams twice with the same arguments.
    void changeDBEParams_data()
    {
        QTest::addColumn<int>("type");
        QTest::addColumn<int>("value");
        QTest::addColumn<L>("sent");
        QTest::addColumn<bool>("first"); // result of the first call; the second is always false

        QTest::newRow("Mix Balance 70 twice: sent once") << 2 << 70 << L{dbeCmd("Mix Balance", 70)} << true;
        QTest::newRow("Amp Limit 80, as read at start: nothing sent") << 4 << 80 << L() << false;
        QTest::newRow("type 8, no word: sent with an empty name, refused")
                << 8 << 5 << L{dbeCmd("", 5), dbeCmd("", 5)} << false;
    }

    void changeDBEParams()
    {
        QFETCH(int, type);
        QFETCH(int, value);
        QFETCH(L, sent);
        QFETCH(bool, first);

        SignalLog log(eq);

        QCOMPARE(eq->changeDBEParams(type, value), first);
        QVERIFY(!eq->changeDBEParams(type, value));
        QCOMPARE(card.commands(), sent);
        QCOMPARE(log.take(), first ? L{"dbeParamsChanged()"} : L());
        if (type < 8)
            QCOMPARE(eq->property(qPrintable(dbeProperties[type])).toInt(), value);
    }

    // Each row calls changeChanDelay twice with the same arguments: an unchanged delay is sent again.
    void changeChanDelay_data()
    {
        QTest::addColumn<int>("chan");
        QTest::addColumn<int>("delay");
        QTest::addColumn<bool>("sent");
        QTest::addColumn<bool>("ok");

        QTest::newRow("channel 1 to 768: sent both times") << 1 << 768 << true << true;
        QTest::newRow("channel 4 to 0: sent both times") << 4 << 0 << true << true;
        QTest::newRow("channel 1 to 769: refused, nothing sent") << 1 << 769 << false << false;
        QTest::newRow("lowest int: refused, nothing sent") << 2 << std::numeric_limits<int>::min() << false << false;
        QTest::newRow("channel 5, no such control: refused by the card") << 5 << 100 << true << false;
    }

    void changeChanDelay()
    {
        QFETCH(int, chan);
        QFETCH(int, delay);
        QFETCH(bool, sent);
        QFETCH(bool, ok);

        eq->setSweetspot(1); // a known delay on every channel, none of them 0
        Ints expected = shownDelays();
        if (ok)
            expected[chan - 1] = delay;
        card.clearLogs();
        SignalLog log(eq);

        QCOMPARE(eq->changeChanDelay(chan, delay), ok);
        QCOMPARE(eq->changeChanDelay(chan, delay), ok);
        const QString cmd = delayCmd(chan, delay);
        QCOMPARE(card.commands(), sent ? (L{cmd, cmd}) : L());
        QCOMPARE(log.take(), ok ? (L{"chanDelaysChanged()", "chanDelaysChanged()"}) : L());
        QCOMPARE(shownDelays(), expected);
    }

    void setSweetspot_data()
    {
        QTest::addColumn<int>("id");
        QTest::addColumn<Ints>("delays"); // written to channels 1 to 4; empty: nothing sent

        QTest::newRow("0: stored, nothing sent") << 0 << Ints();
        QTest::newRow("1: shortest delay on channel 1") << 1 << Ints{91, 203, 203, 272};
        QTest::newRow("4: shortest delay on channel 4") << 4 << Ints{272, 203, 203, 91};
        QTest::newRow("5: stored, nothing sent") << 5 << Ints();
    }

    void setSweetspot()
    {
        QFETCH(int, id);
        QFETCH(Ints, delays);

        for (int chan = 1; chan <= 4; ++chan)
            eq->changeChanDelay(chan, 10 * chan);
        card.clearLogs();
        SignalLog log(eq);

        eq->setSweetspot(id);

        L sent, signalled{"sweetspotIdChanged()"};
        for (int chan = 1; chan <= delays.size(); ++chan) {
            sent << delayCmd(chan, delays[chan - 1]);
            signalled << "chanDelaysChanged()";
        }
        QCOMPARE(card.commands(), sent);
        QCOMPARE(log.take(), signalled);
        QCOMPARE(eq->property("sweetspotId").toInt(), id);
        QCOMPARE(controller.stored("Sweetspot").toInt(), id);
        QCOMPARE(shownDelays(), delays.isEmpty() ? (Ints{10, 20, 30, 40}) : delays);
    }
};

QTEST_GUILESS_MAIN(TstMusic)
#include "tst_music.moc"
