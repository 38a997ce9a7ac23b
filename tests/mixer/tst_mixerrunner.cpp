#include "mixer/childprocess.h"
#include "mixer/runner.h"
#include "support/controllerfixture.h"
#include "support/virtualcard.h"

#include <QtTest>

#include <memory>

using namespace ControllerFixture;
using L = QStringList;

const QVariantMap quiet{{"DebugLevel", 0}};

// The process layer against the real amixer on the virtual card, and what every writer of the
// controller builds on it: the main volume, the user-profile recorder, and a refused write.
// Controllers here run at debug level 0, so their writes carry the redirection words.
class TestMixerRunner : public QObject
{
    Q_OBJECT

    VirtualCard card;
    std::unique_ptr<Controller> shared; // for the refused writes, which change nothing

private slots:
    void initTestCase() { QVERIFY2(card.isValid(), qPrintable(card.errorString())); }

    void init()
    {
        card.failWrites({});
        card.failReads({});
        card.setPowerOnState();
        card.setValue("User PEQ Band3 Gain", 66);
        card.setValue("Voicecall CVC 2Mic", 1);
        card.clearLogs();
    }

    void cleanupTestCase() { shared.reset(); }

    // An integer read, a text read and a write on one process.
    void runners_data()
    {
        QTest::addColumn<bool>("logD");
        QTest::addColumn<bool>("fail");
        QTest::addColumn<bool>("busy");
        QTest::addColumn<QString>("results");

        QTest::newRow("debug on: the write without the suffix, its output kept") << true << false << false << "66 on 1";
        QTest::newRow("debug off: the suffix appended in place, output dropped") << false << false << false << "66 on 1";
        QTest::newRow("failing tool: -1, empty, false") << true << true << false << "-1  0";
        QTest::newRow("busy: -1, empty, false, nothing run") << false << false << true << "-1  0";
    }

    void runners()
    {
        QFETCH(bool, logD);
        QFETCH(bool, fail);
        QFETCH(bool, busy);
        QFETCH(QString, results);

        const QString band3 = "amixer sget \"User PEQ Band3 Gain\"", twoMic = "amixer sget \"Voicecall CVC 2Mic\"";
        const QString volume = "amixer sset \"Main Vol Master Gain\" 50";
        if (fail)
            card.failReads({"User PEQ Band3 Gain", "Voicecall CVC 2Mic", "Main Vol Master Gain"});
        QProcess process;
        if (busy) {
            process.start("sleep", {"infinity"}); // busy until destroyed
            QVERIFY(process.waitForStarted());
        }
        QString write = volume;
        L got;
        const QByteArray out = output([&] {
            got << QString::number(MixerRunner::get(process, band3, logD)) << MixerRunner::getString(process, twoMic, logD)
                << QString::number(MixerRunner::set(process, write, logD, &write));
        });
        QCOMPARE(got.join(' '), results);
        QCOMPARE(write, logD || busy ? volume : redirected(volume));
        QCOMPARE(card.commands(), busy ? L() : (L{band3, twoMic, write}));
        QCOMPARE(card.journal(), fail || busy ? L() : L{"Main Vol Master Gain=50"});
        QCOMPARE(out.contains("Simple mixer control"), logD && !fail);
        // Every read is traced under the same label, whatever the control.
        QCOMPARE(traceLines(out).filter("changMode cmd: "), logD ? (L{"changMode cmd: " + band3, "changMode cmd: " + twoMic}) : L());
    }

    // The same volume twice: both are sent and announced, though the second finds the value held.
    // The controller does not clamp; the card does. Recorded without the redirection words.
    void volume()
    {
        Controller eq(quiet);
        QCOMPARE(eq->property("Volume").toInt(), 80);
        card.setValue("Main Vol Master Gain", 40);
        card.clearLogs();
        SignalLog log(eq.get());

        QVERIFY(eq->setVolume(500));
        QVERIFY(eq->setVolume(500));
        QCOMPARE(log.take(), (L{"volumeChanged()", "volumeChanged()"}));
        QCOMPARE(eq->property("Volume").toInt(), 500);
        QCOMPARE(eq->getVolume(), 127);
        const QString cmd = "amixer sset \"Main Vol Master Gain\" 500";
        QCOMPARE(card.commands(), (L{redirected(cmd), redirected(cmd), "amixer sget \"Main Vol Master Gain\""}));
        QCOMPARE(card.journal(), L{"Main Vol Master Gain=127"});
        eq->saveToProfiles(0);
        QCOMPARE(eq.stored("User Profile").toHash(), (QVariantHash{{"amixer sset \"Main Vol Master Gain\"", cmd}}));
    }

    // One entry per control, keyed by the command up to its last blank, holding the last value;
    // recording runs nothing. Saving replaces the stored entry whole.
    void recorder()
    {
        Controller eq({{"DebugLevel", 0}, {"User Profile", recording({"amixer sset \"Music Chan3 Delay\" 400"})}});
        card.clearLogs();
        const QString band3 = "amixer sset \"User PEQ Band3 Gain\"", delay1 = "amixer sset \"Music Chan1 Delay\"";
        for (const QString &cmd : {band3 + " 65", delay1 + " 3", band3 + " 67", QString("reset")})
            eq->saveUserProfile(cmd);
        eq->saveToProfiles(0);
        QCOMPARE(card.commands(), L());
        QCOMPARE(eq.stored("User Profile").toHash(), (QVariantHash{{band3, band3 + " 67"}, {delay1, delay1 + " 3"}, {"reset", "reset"}}));
    }

    // Every writer of the controller on a write the card refuses: false, and nothing else changes:
    // no property, no signal, nothing recorded or stored.
    void refusedWrite_data()
    {
        QTest::addColumn<QString>("control");
        QTest::addColumn<Write>("write");

        const auto row = [](const char *name, const char *control, const Write &write) {
            QTest::newRow(name) << QString(control) << write;
        };
        row("band gain", "User PEQ Band3 Gain", [](Equalizer &e) { return e.changeGain(3, 4); });
        row("master gain", "User PEQ Master Gain", [](Equalizer &e) { return e.changeGain(0, 4); });
        row("switch mode", "User PEQ Switch Mode", [](Equalizer &e) { return e.changeMode(0); });
        row("core type", "User PEQ Core Type", [](Equalizer &e) { return e.changeCoreType(1); });
        row("DBE parameter", "Music DBE Xover FC", [](Equalizer &e) { return e.changeDBEParams(1, 200); });
        row("channel delay", "Music Chan3 Delay", [](Equalizer &e) { return e.changeChanDelay(3, 300); });
        row("volume", "Main Vol Master Gain", [](Equalizer &e) { return e.setVolume(50); });
        row("CVC off, send refused: receive not tried", "Voicecall CVC Send Mode",
            [](Equalizer &e) { return e.changeCvcMode(false); });
        row("CVC send mode", "Voicecall CVC Send Mode", [](Equalizer &e) { return e.changeCvcSendMode(3); });
        row("CVC receive mode", "Voicecall CVC Recv Mode", [](Equalizer &e) { return e.changeCvcRecvMode(3); });
        row("2Mic", "Voicecall CVC 2Mic", [](Equalizer &e) { return e.changeTwoMicMode(true); });
    }

    void refusedWrite()
    {
        QFETCH(QString, control);
        QFETCH(Write, write);

        if (!shared)
            shared = std::make_unique<Controller>(quiet);
        Controller &eq = *shared;
        eq->saveToProfiles(1);
        const QVariantMap stored = eq.storedAll();
        const QVariantMap before = properties(*eq);
        card.failWrites({control});
        card.clearLogs();
        SignalLog log(eq.get());

        QVERIFY(!write(*eq));

        QCOMPARE(card.commands().size(), 1);
        QVERIFY2(card.commands().first().contains(control), qPrintable(card.commands().first()));
        QCOMPARE(card.journal(), L());
        QCOMPARE(properties(*eq), before);
        QCOMPARE(log.take(), L());
        eq->saveToProfiles(1);
        QCOMPARE(eq.storedAll(), stored);
    }

    // A PATH without amixer: by the exit-code rule every run fails, and the tool is named once on
    // standard error, however often it is missed.
    void missingTool()
    {
        QTemporaryDir emptyBin;
        const QByteArray path = qgetenv("PATH");
        qputenv("PATH", QFile::encodeName(emptyBin.path()));
        const QByteArray errors = output(
                [&] {
                    Controller eq(quiet);
                    QCOMPARE(eq->property("Volume").toInt(), 0);
                    QVERIFY(!eq->setVolume(5));
                    QCOMPARE(eq->getVolume(), 0);
                },
                2);
        qputenv("PATH", path);
        QCOMPARE(errors.count("equalizer: cannot start \"amixer\""), 1);
        QCOMPARE(card.commands(), L());
    }

    // Programs that misbehave, run many times: the right result, and no descriptor or child left.
    void misbehavingProgram_data()
    {
        QTest::addColumn<QString>("cmd");
        QTest::addColumn<int>("runs");
        QTest::addColumn<int>("exitCode");
        QTest::addColumn<int>("outputSize");

        QTest::newRow("not a program") << "/nonexistent/amixer" << 1000 << -1 << 0;
        QTest::newRow("killed by a signal") << "sh -c \"kill -9 $$\"" << 200 << -1 << 0;
        QTest::newRow("says nothing, exits 3") << "sh -c \"exit 3\"" << 200 << 3 << 0;
        QTest::newRow("floods its output") << "head -c 30000000 /dev/zero" << 2 << 0 << 30000000;
    }

    void misbehavingProgram()
    {
        QFETCH(QString, cmd);
        QFETCH(int, runs);
        QFETCH(int, exitCode);
        QFETCH(int, outputSize);

        const auto openFds = [] { return QDir("/proc/self/fd").entryList(QDir::NoDotAndDotDot | QDir::System).size(); };
        const auto children = [] {
            QByteArray all;
            for (const QString &task : QDir("/proc/self/task").entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
                QFile list("/proc/self/task/" + task + "/children");
                if (list.open(QIODevice::ReadOnly))
                    all += list.readAll();
            }
            return all;
        };
        const int fds = openFds();
        const QByteArray before = children();
        output([&] {
            for (int i = 0; i < runs; ++i) {
                const ChildProcess::Result result = ChildProcess::run(QProcess::splitCommand(cmd), true);
                QCOMPARE(result.exitCode, exitCode);
                QCOMPARE(result.output.size(), outputSize);
            }
        }, 2);
        QCOMPARE(openFds(), fds);
        QCOMPARE(children(), before); // none left running or unreaped
    }
};

QTEST_GUILESS_MAIN(TestMixerRunner)
#include "tst_mixerrunner.moc"
