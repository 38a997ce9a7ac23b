// The voice-call controls as the scene drives them, against the real amixer on the virtual card.
// One card and one controller (debug level 4) serve every row; each row sets up the card values it
// relies on.

#include "support/controllerfixture.h"
#include "support/virtualcard.h"

#include <QtTest>

using namespace ControllerFixture;
using L = QStringList;
using M = QVariantMap;

namespace {

const QString sendMode = QStringLiteral("Voicecall CVC Send Mode");
const QString recvMode = QStringLiteral("Voicecall CVC Recv Mode");
const QString twoMic = QStringLiteral("Voicecall CVC 2Mic");

QString set(const QString &control, const QVariant &value)
{
    return QStringLiteral("amixer sset \"%1\" %2").arg(control, value.toString());
}

} // namespace

class TstVoicecall : public QObject
{
    Q_OBJECT

    VirtualCard card;
    Controller controller;
    Equalizer *eq = controller.get();
    L notified;

    // The voice-call commands that saving the user profile would keep.
    QSet<QString> recorded()
    {
        eq->saveToProfiles(1);
        QSet<QString> cmds;
        for (const QVariant &cmd : controller.stored("Velto Profile").toHash())
            if (cmd.toString().contains("Voicecall"))
                cmds << cmd.toString();
        return cmds;
    }

    M cvcState() const
    {
        M state;
        for (const char *name : {"cvcMode", "currentCvcSendModeIdx", "currentCvcRecvModeIdx", "twoMicMode"})
            state[name] = eq->property(name);
        return state;
    }

private slots:
    void initTestCase()
    {
        QVERIFY2(card.isValid(), qPrintable(card.errorString()));
        connect(eq, &Equalizer::currentCvcModeChanged, [this](bool on) { notified << QStringLiteral("cvcMode(%1)").arg(on); });
        connect(eq, &Equalizer::currentCvcSendModeIdxChanged, [this](int i) { notified << QStringLiteral("send(%1)").arg(i); });
        connect(eq, &Equalizer::currentCvcRecvModeIdxChanged, [this](int i) { notified << QStringLiteral("recv(%1)").arg(i); });
        connect(eq, &Equalizer::currentTwoMicModeChanged, [this] { notified << QStringLiteral("twoMic(%1)").arg(eq->property("twoMicMode").toBool()); });
    }

    void writes_data()
    {
        QTest::addColumn<Write>("write");
        QTest::addColumn<QString>("refused");
        QTest::addColumn<L>("sent");
        QTest::addColumn<L>("newlyRecorded");
        QTest::addColumn<L>("signalled"); // empty: the write failed
        QTest::addColumn<M>("changed");

        const L s1{set(sendMode, 1)}, r1{set(recvMode, 1)};
        QTest::newRow("CVC on: 1 to send then receive, both recorded, one signal")
                << Write([](Equalizer &e) { return e.changeCvcMode(true); }) << "" << s1 + r1 << s1 + r1 << L{"cvcMode(1)"}
                << M{{"cvcMode", true}, {"currentCvcSendModeIdx", 1}, {"currentCvcRecvModeIdx", 1}};
        QTest::newRow("CVC off: 2 to both paths")
                << Write([](Equalizer &e) { return e.changeCvcMode(false); }) << "" << L{set(sendMode, 2), set(recvMode, 2)}
                << L{set(sendMode, 2), set(recvMode, 2)} << L{"cvcMode(0)"}
                << M{{"cvcMode", false}, {"currentCvcSendModeIdx", 2}, {"currentCvcRecvModeIdx", 2}};
        QTest::newRow("CVC on, receive refused: send changed and recorded, no field, no signal")
                << Write([](Equalizer &e) { return e.changeCvcMode(true); }) << recvMode << s1 + r1 << s1 << L() << M();
        QTest::newRow("send mode 3: written and signalled, not recorded, CVC flag kept")
                << Write([](Equalizer &e) { return e.changeCvcSendMode(3); }) << "" << L{set(sendMode, 3)} << L()
                << L{"send(3)"} << M{{"currentCvcSendModeIdx", 3}};
        QTest::newRow("receive mode 0: the same on the receive path")
                << Write([](Equalizer &e) { return e.changeCvcRecvMode(0); }) << "" << L{set(recvMode, 0)} << L()
                << L{"recv(0)"} << M{{"currentCvcRecvModeIdx", 0}};
        QTest::newRow("2Mic on: switched, recorded, one signal")
                << Write([](Equalizer &e) { return e.changeTwoMicMode(true); }) << "" << L{set(twoMic, "on")}
                << L{set(twoMic, "on")} << L{"twoMic(1)"} << M{{"twoMicMode", true}};
        QTest::newRow("2Mic off")
                << Write([](Equalizer &e) { return e.changeTwoMicMode(false); }) << "" << L{set(twoMic, "off")}
                << L{set(twoMic, "off")} << L{"twoMic(0)"} << M{{"twoMicMode", false}};
    }

    void writes()
    {
        QFETCH(Write, write);
        QFETCH(QString, refused);
        QFETCH(L, sent);
        QFETCH(L, newlyRecorded);
        QFETCH(L, signalled);
        QFETCH(M, changed);

        card.failWrites(refused.isEmpty() ? L() : L{refused});
        card.clearLogs();
        const QSet<QString> recordedBefore = recorded();
        M expected = cvcState();
        for (auto it = changed.cbegin(); it != changed.cend(); ++it)
            expected[it.key()] = it.value();
        notified.clear();

        bool result = false;
        const L lines = traces([&] { result = write(*eq); });
        card.failWrites({});

        QCOMPARE(result, !signalled.isEmpty());
        QCOMPARE(card.commands(), sent);
        QCOMPARE(recorded() - recordedBefore, QSet<QString>(newlyRecorded.cbegin(), newlyRecorded.cend()));
        QCOMPARE(notified, signalled);
        QCOMPARE(cvcState(), expected);
        L traced;
        for (const QString &cmd : sent)
            traced << (cmd.contains("2Mic") ? "changTwoMicMode cmd: " : "changMode cmd: ") + cmd;
        QCOMPARE(lines, traced);
    }

    // The read-back that ends every profile application; the Velto script leaves the voice-call
    // controls alone, so the values set here are what it reads.
    void readBack_data()
    {
        QTest::addColumn<L>("held"); // send mode, receive mode, 2Mic as the card holds them
        QTest::addColumn<L>("missing");
        QTest::addColumn<L>("signalled");
        QTest::addColumn<M>("state");

        const auto state = [](bool cvc, int send, int recv, bool mic) {
            return M{{"cvcMode", cvc}, {"currentCvcSendModeIdx", send}, {"currentCvcRecvModeIdx", recv}, {"twoMicMode", mic}};
        };
        QTest::newRow("1 and 1, 2Mic on: CVC on") << L{"1", "1", "1"} << L()
                << L{"cvcMode(1)", "twoMic(1)"} << state(true, 1, 1, true);
        QTest::newRow("1 and 2, 2Mic off: CVC off") << L{"1", "2", "0"} << L()
                << L{"cvcMode(0)", "twoMic(0)"} << state(false, 1, 2, false);
        QTest::newRow("2Mic unreadable: signalled while still on, then cleared and signalled again")
                << L{"1", "1", "1"} << L{twoMic} << L{"cvcMode(1)", "twoMic(1)", "twoMic(0)"}
                << state(true, 1, 1, false);
    }

    void readBack()
    {
        QFETCH(L, held);
        QFETCH(L, missing);
        QFETCH(L, signalled);
        QFETCH(M, state);

        QVERIFY(eq->changeTwoMicMode(true));
        for (int i = 0; i < 3; ++i)
            card.setValue(L{sendMode, recvMode, twoMic}.at(i), held.at(i).toInt());
        card.failReads(missing);
        notified.clear();
        const L lines = traces([&] { eq->setToProfiles(1); });
        card.failReads({});

        QCOMPARE(notified, signalled);
        QCOMPARE(cvcState(), state);
        QCOMPARE(lines.contains("get Voicecall CVC 2Mic mode failed"), !missing.isEmpty());
    }
};

QTEST_GUILESS_MAIN(TstVoicecall)
#include "tst_voicecall.moc"
