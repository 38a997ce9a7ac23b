// The voice-call controls as the scene drives them, against the real amixer on the virtual card.
// One card and one controller serve every row; each row sets up the card values it relies on.

#include "equalizer/equalizer.h"
#include "support/stdoutcapture.h"
#include "support/virtualcard.h"

#include <QSettings>
#include <QTemporaryDir>
#include <QtTest>

#include <memory>

namespace {

const QString sendMode = QStringLiteral("Voicecall CVC Send Mode");
const QString recvMode = QStringLiteral("Voicecall CVC Recv Mode");
const QString twoMic = QStringLiteral("Voicecall CVC 2Mic");
const QStringList cvcProperties = {"cvcMode", "currentCvcSendModeIdx", "currentCvcRecvModeIdx", "twoMicMode"};

QString set(const QString &control, const QVariant &value)
{
    return QStringLiteral("amixer sset \"%1\" %2").arg(control, value.toString());
}

QStringList traces(const QByteArray &out)
{
    QStringList lines;
    for (const QByteArray &line : out.split('\n'))
        if (line.startsWith("<Equalizer>"))
            lines << QString::fromUtf8(line.mid(11));
    return lines;
}

} // namespace

class TstVoicecall : public QObject
{
    Q_OBJECT

    std::unique_ptr<VirtualCard> card;
    QTemporaryDir dir;
    std::unique_ptr<Equalizer> eq;
    QStringList notified;

    // The voice-call commands of the user profile, as storing it would keep them.
    QSet<QString> recorded()
    {
        eq->saveToProfiles(1);
        QSet<QString> cmds;
        for (const QVariant &cmd : QSettings(dir.filePath("Equalizer.conf"), QSettings::NativeFormat)
                                           .value("Velto Profile").toHash())
            if (cmd.toString().contains("Voicecall"))
                cmds << cmd.toString();
        return cmds;
    }

    QVariantMap cvcState() const
    {
        QVariantMap state;
        for (const QString &name : cvcProperties)
            state[name] = eq->property(qPrintable(name));
        return state;
    }

private slots:
    void initTestCase()
    {
        card = std::make_unique<VirtualCard>();
        QVERIFY2(card->isValid(), qPrintable(card->errorString()));
        EqualizerPaths paths;
        paths.settingsFile = dir.filePath("Equalizer.conf");
        paths.settingsLock = dir.filePath("Equalizer.conf.lock");
        paths.keyDevice = dir.filePath("no-keys");
        eq = std::make_unique<Equalizer>(nullptr, paths);
        connect(eq.get(), &Equalizer::currentCvcModeChanged, [this](bool on) { notified << QStringLiteral("cvcMode(%1)").arg(on); });
        connect(eq.get(), &Equalizer::currentCvcSendModeIdxChanged, [this](int i) { notified << QStringLiteral("send(%1)").arg(i); });
        connect(eq.get(), &Equalizer::currentCvcRecvModeIdxChanged, [this](int i) { notified << QStringLiteral("recv(%1)").arg(i); });
        connect(eq.get(), &Equalizer::currentTwoMicModeChanged, [this] { notified << QStringLiteral("twoMic(%1)").arg(eq->property("twoMicMode").toBool()); });
    }

    void cleanupTestCase()
    {
        eq.reset();
        card.reset();
    }

    void writes_data()
    {
        QTest::addColumn<QByteArray>("slot");
        QTest::addColumn<QVariant>("arg");
        QTest::addColumn<QStringList>("refused");
        QTest::addColumn<bool>("ok");
        QTest::addColumn<QStringList>("sent");
        QTest::addColumn<QStringList>("reached");
        QTest::addColumn<QStringList>("newlyRecorded");
        QTest::addColumn<QStringList>("signalled");
        QTest::addColumn<QVariantMap>("changed");

        const QStringList none;
        QTest::newRow("CVC on: 1 to send then receive, both recorded, one signal")
                << QByteArray("changeCvcMode") << QVariant(true) << none << true
                << QStringList{set(sendMode, 1), set(recvMode, 1)}
                << QStringList{sendMode + "=1", recvMode + "=1"}
                << QStringList{set(sendMode, 1), set(recvMode, 1)} << QStringList{"cvcMode(1)"}
                << QVariantMap{{"cvcMode", true}, {"currentCvcSendModeIdx", 1}, {"currentCvcRecvModeIdx", 1}};
        QTest::newRow("CVC off: 2 to both paths")
                << QByteArray("changeCvcMode") << QVariant(false) << none << true
                << QStringList{set(sendMode, 2), set(recvMode, 2)}
                << QStringList{sendMode + "=2", recvMode + "=2"}
                << QStringList{set(sendMode, 2), set(recvMode, 2)} << QStringList{"cvcMode(0)"}
                << QVariantMap{{"cvcMode", false}, {"currentCvcSendModeIdx", 2}, {"currentCvcRecvModeIdx", 2}};
        QTest::newRow("CVC on, receive refused: send changed and recorded, no field, no signal")
                << QByteArray("changeCvcMode") << QVariant(true) << QStringList{recvMode} << false
                << QStringList{set(sendMode, 1), set(recvMode, 1)} << QStringList{sendMode + "=1"}
                << QStringList{set(sendMode, 1)} << none << QVariantMap();
        QTest::newRow("CVC on, send refused: receive not tried")
                << QByteArray("changeCvcMode") << QVariant(true) << QStringList{sendMode} << false
                << QStringList{set(sendMode, 1)} << none << none << none << QVariantMap();
        QTest::newRow("send mode 3: written and signalled, not recorded, CVC flag kept")
                << QByteArray("changeCvcSendMode") << QVariant(3) << none << true << QStringList{set(sendMode, 3)}
                << QStringList{sendMode + "=3"} << none << QStringList{"send(3)"}
                << QVariantMap{{"currentCvcSendModeIdx", 3}};
        QTest::newRow("receive mode 0: the same on the receive path")
                << QByteArray("changeCvcRecvMode") << QVariant(0) << none << true << QStringList{set(recvMode, 0)}
                << QStringList{recvMode + "=0"} << none << QStringList{"recv(0)"}
                << QVariantMap{{"currentCvcRecvModeIdx", 0}};
        QTest::newRow("receive mode refused: nothing changes")
                << QByteArray("changeCvcRecvMode") << QVariant(5) << QStringList{recvMode} << false
                << QStringList{set(recvMode, 5)} << none << none << none << QVariantMap();
        QTest::newRow("2Mic on: switched, recorded, one signal")
                << QByteArray("changeTwoMicMode") << QVariant(true) << none << true << QStringList{set(twoMic, "on")}
                << QStringList{twoMic + "=1"} << QStringList{set(twoMic, "on")} << QStringList{"twoMic(1)"}
                << QVariantMap{{"twoMicMode", true}};
        QTest::newRow("2Mic off")
                << QByteArray("changeTwoMicMode") << QVariant(false) << none << true << QStringList{set(twoMic, "off")}
                << QStringList{twoMic + "=0"} << QStringList{set(twoMic, "off")} << QStringList{"twoMic(0)"}
                << QVariantMap{{"twoMicMode", false}};
        QTest::newRow("2Mic on refused: nothing changes")
                << QByteArray("changeTwoMicMode") << QVariant(true) << QStringList{twoMic} << false
                << QStringList{set(twoMic, "on")} << none << none << none << QVariantMap();
    }

    void writes()
    {
        QFETCH(QByteArray, slot);
        QFETCH(QVariant, arg);
        QFETCH(QStringList, refused);
        QFETCH(bool, ok);
        QFETCH(QStringList, sent);
        QFETCH(QStringList, reached);
        QFETCH(QStringList, newlyRecorded);
        QFETCH(QStringList, signalled);
        QFETCH(QVariantMap, changed);

        // The card skips (and so cannot refuse) a write of the value it holds: make every write a change.
        card->setValue(sendMode, 7);
        card->setValue(recvMode, 7);
        card->setValue(twoMic, arg.toBool() ? 0 : 1);
        card->failWrites(refused);
        card->clearLogs();
        const QSet<QString> recordedBefore = recorded();
        QVariantMap expected = cvcState();
        for (auto it = changed.cbegin(); it != changed.cend(); ++it)
            expected[it.key()] = it.value();
        notified.clear();

        bool result = !ok;
        QByteArray out;
        {
            StdoutCapture capture;
            QMetaObject::invokeMethod(eq.get(), slot, Q_RETURN_ARG(bool, result),
                                      QGenericArgument(arg.typeName(), arg.constData()));
            out = capture.text();
        }
        card->failWrites({});

        QCOMPARE(result, ok);
        QCOMPARE(card->commands(), sent);
        QCOMPARE(card->journal(), reached);
        QCOMPARE(recorded() - recordedBefore, QSet<QString>(newlyRecorded.cbegin(), newlyRecorded.cend()));
        QCOMPARE(notified, signalled);
        QCOMPARE(cvcState(), expected);
        QStringList traced;
        for (const QString &cmd : sent)
            traced << (slot == "changeTwoMicMode" ? "changTwoMicMode cmd: " : "changMode cmd: ") + cmd;
        QCOMPARE(traces(out), traced);
    }

    // The read-back that ends every profile application; the Velto script leaves the voice-call
    // controls alone, so the values set here are what it reads.
    void readBack_data()
    {
        QTest::addColumn<int>("send");
        QTest::addColumn<int>("recv");
        QTest::addColumn<int>("mic");
        QTest::addColumn<QStringList>("missing");
        QTest::addColumn<QStringList>("signalled");
        QTest::addColumn<QVariantMap>("state");
        QTest::addColumn<bool>("failureTraced");

        QTest::newRow("1 and 1, 2Mic on: CVC on") << 1 << 1 << 1 << QStringList()
                << QStringList{"cvcMode(1)", "twoMic(1)"}
                << QVariantMap{{"cvcMode", true}, {"currentCvcSendModeIdx", 1}, {"currentCvcRecvModeIdx", 1}, {"twoMicMode", true}}
                << false;
        QTest::newRow("1 and 2, 2Mic off: CVC off") << 1 << 2 << 0 << QStringList()
                << QStringList{"cvcMode(0)", "twoMic(0)"}
                << QVariantMap{{"cvcMode", false}, {"currentCvcSendModeIdx", 1}, {"currentCvcRecvModeIdx", 2}, {"twoMicMode", false}}
                << false;
        QTest::newRow("send unreadable: -1, CVC off") << 1 << 1 << 1 << QStringList{sendMode}
                << QStringList{"cvcMode(0)", "twoMic(1)"}
                << QVariantMap{{"cvcMode", false}, {"currentCvcSendModeIdx", -1}, {"currentCvcRecvModeIdx", 1}, {"twoMicMode", true}}
                << false;
        QTest::newRow("2Mic unreadable: signalled while still on, then cleared and signalled again")
                << 1 << 1 << 1 << QStringList{twoMic} << QStringList{"cvcMode(1)", "twoMic(1)", "twoMic(0)"}
                << QVariantMap{{"cvcMode", true}, {"currentCvcSendModeIdx", 1}, {"currentCvcRecvModeIdx", 1}, {"twoMicMode", false}}
                << true;
    }

    void readBack()
    {
        QFETCH(int, send);
        QFETCH(int, recv);
        QFETCH(int, mic);
        QFETCH(QStringList, missing);
        QFETCH(QStringList, signalled);
        QFETCH(QVariantMap, state);
        QFETCH(bool, failureTraced);

        QVERIFY(eq->changeTwoMicMode(true));
        card->setValue(sendMode, send);
        card->setValue(recvMode, recv);
        card->setValue(twoMic, mic);
        card->failReads(missing);
        notified.clear();
        QByteArray out;
        {
            StdoutCapture capture;
            eq->setToProfiles(1);
            out = capture.text();
        }
        card->failReads({});

        QCOMPARE(notified, signalled);
        QCOMPARE(cvcState(), state);
        QCOMPARE(traces(out).contains("get Voicecall CVC 2Mic mode failed"), failureTraced);
    }
};

QTEST_GUILESS_MAIN(TstVoicecall)
#include "tst_voicecall.moc"
