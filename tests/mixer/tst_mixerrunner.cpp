#include "mixer/runner.h"
#include "support/controllerfixture.h"
#include "support/virtualcard.h"

#include <QSignalSpy>
#include <QtTest>

#include <functional>
#include <memory>
#include <vector>

using namespace ControllerFixture;
using L = QStringList;
using Action = std::function<bool(Equalizer &)>;
Q_DECLARE_METATYPE(Action)

// The process layer against the real amixer on the virtual card, and what every writer of the
// controller builds on it: the main volume, the user-profile recorder, and a refused write.
// Controllers here run at debug level 0, so their writes carry the redirection words.
class TestMixerRunner : public QObject
{
    Q_OBJECT

    std::unique_ptr<VirtualCard> card;
    std::unique_ptr<Controller> shared; // for the refused writes, which change nothing

    // A process that stays busy until it is destroyed.
    static void makeBusy(QProcess &process)
    {
        process.start("sleep", {"infinity"});
        QVERIFY(process.waitForStarted());
    }

private slots:
    void initTestCase()
    {
        card = std::make_unique<VirtualCard>();
        QVERIFY2(card->isValid(), qPrintable(card->errorString()));
    }

    void init()
    {
        card->failWrites({});
        card->failReads({});
        card->setPowerOnState();
        card->setValue("User PEQ Band3 Gain", 66);
        card->setValue("Voicecall CVC 2Mic", 1);
        card->clearLogs();
    }

    void cleanupTestCase()
    {
        shared.reset();
        card.reset();
    }

    void reads_data()
    {
        QTest::addColumn<QString>("cmd");
        QTest::addColumn<bool>("text"); // the text read rather than the integer read
        QTest::addColumn<bool>("fail");
        QTest::addColumn<bool>("busy");
        QTest::addColumn<QString>("result");

        const QString band3 = "amixer sget \"User PEQ Band3 Gain\"";
        const QString twoMic = "amixer sget \"Voicecall CVC 2Mic\"";
        QTest::newRow("band gain") << band3 << false << false << false << "66";
        QTest::newRow("2Mic, text") << twoMic << true << false << false << "on";
        QTest::newRow("failing tool: -1") << band3 << false << true << false << "-1";
        QTest::newRow("failing tool, text: empty") << twoMic << true << true << false << "";
        QTest::newRow("busy: -1, nothing run") << band3 << false << false << true << "-1";
        QTest::newRow("busy, text: empty, nothing run") << twoMic << true << false << true << "";
    }

    void reads()
    {
        QFETCH(QString, cmd);
        QFETCH(bool, text);
        QFETCH(bool, fail);
        QFETCH(bool, busy);
        QFETCH(QString, result);

        card->failReads(fail ? L{cmd.section('"', 1, 1)} : L());
        QProcess process;
        if (busy)
            makeBusy(process);
        QString got;
        const L lines = traces([&] {
            got = text ? MixerRunner::getString(process, cmd, true) : QString::number(MixerRunner::get(process, cmd, true));
        });
        QCOMPARE(got, result);
        QCOMPARE(card->commands(), busy ? L() : L{cmd});
        // Every read is traced under the same label, whatever the control.
        QCOMPARE(lines.value(0), "changMode cmd: " + cmd);
    }

    void writes_data()
    {
        QTest::addColumn<bool>("logD");
        QTest::addColumn<bool>("fail");
        QTest::addColumn<bool>("busy");
        QTest::addColumn<QString>("ran"); // empty: nothing run

        const QString vol = "amixer sset \"Main Vol Master Gain\" 50";
        QTest::newRow("debug off: suffix, output dropped") << false << false << false << redirected(vol);
        QTest::newRow("debug on: no suffix, output kept") << true << false << false << vol;
        QTest::newRow("failing tool: false") << false << true << false << redirected(vol);
        QTest::newRow("busy: false, nothing run, no suffix") << false << false << true << QString();
    }

    void writes()
    {
        QFETCH(bool, logD);
        QFETCH(bool, fail);
        QFETCH(bool, busy);
        QFETCH(QString, ran);

        card->failWrites(fail ? L{"Main Vol Master Gain"} : L());
        QProcess process;
        if (busy)
            makeBusy(process);
        QString line = "amixer sset \"Main Vol Master Gain\" 50";
        bool result = false;
        const QByteArray output = ControllerFixture::output([&] { result = MixerRunner::set(process, line, logD); });
        const bool ok = !fail && !busy;
        QCOMPARE(result, ok);
        QCOMPARE(line, busy ? "amixer sset \"Main Vol Master Gain\" 50" : ran);
        QCOMPARE(card->commands(), ran.isEmpty() ? L() : L{ran});
        QCOMPARE(card->journal(), ok ? L{"Main Vol Master Gain=50"} : L());
        QCOMPARE(output.contains("Simple mixer control"), ok && logD);
    }

    // A line with no word runs nothing and fails, whatever the previous run on the process gave.
    void emptyLine()
    {
        QProcess process;
        QCOMPARE(MixerRunner::get(process, "amixer sget \"Main Vol Master Gain\"", false), 80);
        card->clearLogs();
        QString line;
        QVERIFY(!MixerRunner::set(process, line, false));
        QCOMPARE(MixerRunner::get(process, QString(), false), -1);
        QCOMPARE(MixerRunner::getString(process, QString(), false), QString());
        QCOMPARE(card->commands(), L());
    }

    void volume_data()
    {
        QTest::addColumn<int>("held");
        QTest::addColumn<int>("value");
        QTest::addColumn<L>("journal");

        QTest::newRow("new value") << 40 << 50 << L{"Main Vol Master Gain=50"};
        QTest::newRow("value already held: run and signalled again") << 50 << 50 << L();
        QTest::newRow("not clamped: the card limits it") << 40 << 500 << L{"Main Vol Master Gain=127"};
    }

    // setVolume() twice with the same value, then getVolume() of what the card holds. Recorded
    // without the redirection words.
    void volume()
    {
        QFETCH(int, held);
        QFETCH(int, value);
        QFETCH(L, journal);

        Controller eq(0);
        QCOMPARE(eq->property("Volume").toInt(), 80);
        card->setValue("Main Vol Master Gain", held);
        card->clearLogs();
        QSignalSpy changed(eq.get(), &Equalizer::volumeChanged);

        QVERIFY(eq->setVolume(value));
        QVERIFY(eq->setVolume(value));
        QCOMPARE(changed.count(), 2);
        QCOMPARE(eq->property("Volume").toInt(), value);
        QCOMPARE(eq->getVolume(), card->value("Main Vol Master Gain"));
        const QString cmd = QStringLiteral("amixer sset \"Main Vol Master Gain\" %1").arg(value);
        QCOMPARE(card->commands(), (L{redirected(cmd), redirected(cmd), "amixer sget \"Main Vol Master Gain\""}));
        QCOMPARE(card->journal(), journal);
        eq->saveToProfiles(0);
        QCOMPARE(eq.stored("User Profile").toHash(), (QVariantHash{{"amixer sset \"Main Vol Master Gain\"", cmd}}));
    }

    // One entry per control, keyed by the command up to its last blank; recording runs nothing.
    void recorder_data()
    {
        QTest::addColumn<L>("commands");
        QTest::addColumn<QVariantHash>("recorded");

        const QString band3 = "amixer sset \"User PEQ Band3 Gain\"";
        const QString delay1 = "amixer sset \"Music Chan1 Delay\"";
        QTest::newRow("same control twice: the last value") << L{band3 + " 65", band3 + " 67"} << QVariantHash{{band3, band3 + " 67"}};
        QTest::newRow("two controls: two entries")
                << L{band3 + " 65", delay1 + " 3"} << QVariantHash{{band3, band3 + " 65"}, {delay1, delay1 + " 3"}};
        QTest::newRow("no blank: stored under itself") << L{"reset"} << QVariantHash{{"reset", "reset"}};
    }

    void recorder()
    {
        QFETCH(L, commands);
        QFETCH(QVariantHash, recorded);

        Controller eq(0);
        card->clearLogs();
        for (const QString &cmd : commands)
            eq->saveUserProfile(cmd);
        eq->saveToProfiles(0);
        QCOMPARE(card->commands(), L());
        QCOMPARE(eq.stored("User Profile").toHash(), recorded);
    }

    // Every writer of the controller on a write the card refuses: false, and nothing else changes:
    // no property, no signal, nothing recorded or stored.
    void refusedWrite_data()
    {
        QTest::addColumn<QString>("control");
        QTest::addColumn<Action>("write");

        const auto row = [](const char *name, const char *control, const Action &write) {
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
        QFETCH(Action, write);

        if (!shared)
            shared = std::make_unique<Controller>(0);
        Controller &eq = *shared;
        eq->saveToProfiles(1);
        const QVariantMap stored = eq.storedAll();
        const QMetaObject &meta = Equalizer::staticMetaObject;
        QVariantMap properties;
        for (int i = meta.propertyOffset(); i < meta.propertyCount(); ++i)
            properties[meta.property(i).name()] = meta.property(i).read(eq.get());
        std::vector<std::unique_ptr<QSignalSpy>> spies;
        for (int i = meta.methodOffset(); i < meta.methodCount(); ++i)
            if (meta.method(i).methodType() == QMetaMethod::Signal)
                spies.push_back(std::make_unique<QSignalSpy>(eq.get(), ("2" + meta.method(i).methodSignature()).constData()));
        card->failWrites({control});
        card->clearLogs();

        QVERIFY(!write(*eq));

        QCOMPARE(card->commands().size(), 1);
        QVERIFY2(card->commands().first().contains(control), qPrintable(card->commands().first()));
        QCOMPARE(card->journal(), L());
        for (auto it = properties.cbegin(); it != properties.cend(); ++it)
            QCOMPARE(meta.property(meta.indexOfProperty(qPrintable(it.key()))).read(eq.get()), it.value());
        for (const auto &spy : spies)
            QCOMPARE(spy->count(), 0);
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
                    Controller eq(0);
                    QCOMPARE(eq->property("Volume").toInt(), 0);
                    QVERIFY(!eq->setVolume(5));
                    QCOMPARE(eq->getVolume(), 0);
                    QProcess process;
                    QCOMPARE(MixerRunner::get(process, "amixer sget \"Main Vol Master Gain\"", false), -1);
                    QCOMPARE(MixerRunner::getString(process, "amixer sget \"Voicecall CVC 2Mic\"", false), QString());
                },
                2);
        qputenv("PATH", path);
        QCOMPARE(errors.count("equalizer: cannot start \"amixer\""), 1);
        QCOMPARE(card->commands(), L());
    }
};

QTEST_GUILESS_MAIN(TestMixerRunner)
#include "tst_mixerrunner.moc"
