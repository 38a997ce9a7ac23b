#include "equalizer/equalizer.h"
#include "mixer/controls.h"
#include "mixer/runner.h"
#include "support/stdoutcapture.h"
#include "support/virtualcard.h"

#include <QSettings>
#include <QSignalSpy>
#include <QtTest>

using namespace MixerControls;

// The process layer against the real amixer on the virtual card, and the main volume and the
// user-profile recorder built on it. Faults are injected on the control that a row's line names.
class TestMixerRunner : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void reads_data();
    void reads();
    void writes_data();
    void writes();
    void volume_data();
    void volume();
    void recorder_data();
    void recorder();
    void missingTool();

private:
    // What the controller stored as "User Profile" when it was asked to save profile 0.
    QVariantHash storedUserProfile() const
    {
        return QSettings(paths.settingsFile, QSettings::IniFormat).value("User Profile").toHash();
    }

    QScopedPointer<VirtualCard> card;
    QScopedPointer<QTemporaryDir> dir;
    EqualizerPaths paths;
};

static QString controlOf(const QString &cmd)
{
    return cmd.section('"', 1, 1);
}

void TestMixerRunner::init()
{
    card.reset();
    card.reset(new VirtualCard);
    QVERIFY2(card->isValid(), qPrintable(card->errorString()));
    card->setValue("User PEQ Band3 Gain", 66);
    card->setValue("Music Chan2 Delay", 7);
    card->setValue("Voicecall CVC 2Mic", 1);
    dir.reset(new QTemporaryDir);
    paths.settingsFile = dir->filePath("Equalizer.conf");
    paths.settingsLock = dir->filePath("Equalizer.conf.lock");
    paths.keyDevice = dir->filePath("no-key-device");
    QSettings(paths.settingsFile, QSettings::IniFormat).setValue("DebugLevel", 0);
}

void TestMixerRunner::reads_data()
{
    QTest::addColumn<QString>("cmd");
    QTest::addColumn<bool>("text"); // the text read rather than the integer read
    QTest::addColumn<bool>("fail");
    QTest::addColumn<bool>("busy");
    QTest::addColumn<QString>("result");

    const QString band3 = readPeqBandGain("User", 3);
    QTest::newRow("band gain") << band3 << false << false << false << "66";
    QTest::newRow("delay") << readChanDelay(2) << false << false << false << "7";
    QTest::newRow("2Mic, text") << readCvcTwoMic() << true << false << false << "on";
    QTest::newRow("failing tool: -1") << band3 << false << true << false << "-1";
    QTest::newRow("failing tool, text: empty") << readCvcTwoMic() << true << true << false << "";
    QTest::newRow("no band 11: -1") << readPeqBandGain("User", 11) << false << false << false << "-1";
    QTest::newRow("busy: -1, nothing run") << band3 << false << false << true << "-1";
    QTest::newRow("busy, text: empty, nothing run") << readCvcTwoMic() << true << false << true << "";
    QTest::newRow("empty line: -1, nothing run") << "" << false << false << false << "-1";
    QTest::newRow("empty line, text: empty, nothing run") << "" << true << false << false << "";
}

void TestMixerRunner::reads()
{
    QFETCH(QString, cmd);
    QFETCH(bool, text);
    QFETCH(bool, fail);
    QFETCH(bool, busy);
    QFETCH(QString, result);

    card->failReads(fail ? QStringList{controlOf(cmd)} : QStringList());
    card->clearLogs();
    QProcess process;
    if (busy) {
        process.start("sleep", {"30"});
        QVERIFY(process.waitForStarted());
    }
    QString got;
    QByteArray trace;
    {
        StdoutCapture out;
        got = text ? MixerRunner::getString(process, cmd, true) : QString::number(MixerRunner::get(process, cmd, true));
        trace = out.text();
    }
    QCOMPARE(got, result);
    QCOMPARE(card->commands(), busy || cmd.isEmpty() ? QStringList() : QStringList{cmd});
    // Every read is traced under the same label, whatever the control.
    QVERIFY(trace.startsWith("<Equalizer>changMode cmd: " + cmd.toUtf8() + "\n"));
}

void TestMixerRunner::writes_data()
{
    QTest::addColumn<QString>("cmd");
    QTest::addColumn<bool>("logD");
    QTest::addColumn<bool>("fail");
    QTest::addColumn<bool>("busy");
    QTest::addColumn<bool>("ok");
    QTest::addColumn<QStringList>("journal");

    const QString vol = writeMainVolume(50);
    const QStringList written{"Main Vol Master Gain=50"};
    QTest::newRow("debug off: suffix, output dropped") << vol << false << false << false << true << written;
    QTest::newRow("debug on: no suffix, output kept") << vol << true << false << false << true << written;
    QTest::newRow("2Mic off") << writeCvcTwoMic("off") << true << false << false << true << QStringList{"Voicecall CVC 2Mic=0"};
    QTest::newRow("failing tool: false") << vol << false << true << false << false << QStringList();
    QTest::newRow("no band 11: false") << writePeqBandGain("User", 11, 60) << true << false << false << false << QStringList();
    QTest::newRow("busy: false, nothing run, no suffix") << vol << false << false << true << false << QStringList();
    QTest::newRow("empty line: false, nothing run") << "" << false << false << false << false << QStringList();
}

void TestMixerRunner::writes()
{
    QFETCH(QString, cmd);
    QFETCH(bool, logD);
    QFETCH(bool, fail);
    QFETCH(bool, busy);
    QFETCH(bool, ok);
    QFETCH(QStringList, journal);

    card->failWrites(fail ? QStringList{controlOf(cmd)} : QStringList());
    card->clearLogs();
    QProcess process;
    if (busy) {
        process.start("sleep", {"30"});
        QVERIFY(process.waitForStarted());
    }
    QString line = cmd;
    bool result;
    QByteArray output;
    {
        StdoutCapture out;
        result = MixerRunner::set(process, line, logD);
        output = out.text();
    }
    const QString ran = busy ? cmd : cmd + (logD ? "" : " < /dev/null 2>&1");
    QCOMPARE(result, ok);
    QCOMPARE(line, ran);
    QCOMPARE(card->commands(), busy || cmd.isEmpty() ? QStringList() : QStringList{ran});
    QCOMPARE(card->journal(), journal);
    QCOMPARE(output.contains("Simple mixer control"), ok && logD);
}

void TestMixerRunner::volume_data()
{
    QTest::addColumn<int>("held");
    QTest::addColumn<bool>("fail");
    QTest::addColumn<int>("value");
    QTest::addColumn<QStringList>("journal");

    QTest::newRow("new value") << 40 << false << 50 << QStringList{"Main Vol Master Gain=50"};
    QTest::newRow("value already held: run and signalled again") << 50 << false << 50 << QStringList();
    QTest::newRow("not clamped: the card limits it") << 40 << false << 500 << QStringList{"Main Vol Master Gain=127"};
    QTest::newRow("failing tool: nothing changes") << 40 << true << 50 << QStringList();
}

// setVolume() twice with the same value, then getVolume() of what the card holds.
void TestMixerRunner::volume()
{
    QFETCH(int, held);
    QFETCH(bool, fail);
    QFETCH(int, value);
    QFETCH(QStringList, journal);
    {
        Equalizer eq(nullptr, paths);
        QCOMPARE(eq.property("Volume").toInt(), card->value("Main Vol Master Gain"));
        card->setValue("Main Vol Master Gain", held);
        card->failWrites(fail ? QStringList{"Main Vol Master Gain"} : QStringList());
        card->clearLogs();
        const int before = eq.property("Volume").toInt();
        QSignalSpy changed(&eq, &Equalizer::volumeChanged);

        QCOMPARE(eq.setVolume(value), !fail);
        QCOMPARE(eq.setVolume(value), !fail);
        QCOMPARE(changed.count(), fail ? 0 : 2);
        QCOMPARE(eq.property("Volume").toInt(), fail ? before : value);
        QCOMPARE(eq.getVolume(), card->value("Main Vol Master Gain"));
        const QString line = writeMainVolume(value) + " < /dev/null 2>&1";
        QCOMPARE(card->commands(), (QStringList{line, line, readMainVolume()}));
        QCOMPARE(card->journal(), journal);
        eq.saveToProfiles(0);
    }
    // Recorded on success only, and without the suffix.
    QVariantHash recorded;
    if (!fail)
        recorded.insert(R"(amixer sset "Main Vol Master Gain")", writeMainVolume(value));
    QCOMPARE(storedUserProfile(), recorded);
}

void TestMixerRunner::recorder_data()
{
    QTest::addColumn<QStringList>("commands");
    QTest::addColumn<QVariantHash>("recorded");

    const QString band3 = R"(amixer sset "User PEQ Band3 Gain")";
    const QString delay1 = R"(amixer sset "Music Chan1 Delay")";
    QTest::newRow("same control twice: one item, the last value") << QStringList{band3 + " 65", band3 + " 67"}
                                                                  << QVariantHash{{band3, band3 + " 67"}};
    QTest::newRow("two controls: two items") << QStringList{band3 + " 65", delay1 + " 3"}
                                             << QVariantHash{{band3, band3 + " 65"}, {delay1, delay1 + " 3"}};
    QTest::newRow("no blank: stored under itself") << QStringList{"reset"} << QVariantHash{{"reset", "reset"}};
    QTest::newRow("trailing blank: the key ends before it") << QStringList{"a b "} << QVariantHash{{"a b", "a b "}};
}

void TestMixerRunner::recorder()
{
    QFETCH(QStringList, commands);
    QFETCH(QVariantHash, recorded);
    {
        Equalizer eq(nullptr, paths);
        card->clearLogs();
        for (const QString &cmd : commands)
            eq.saveUserProfile(cmd);
        eq.saveToProfiles(0);
        QCOMPARE(card->commands(), QStringList()); // recording runs nothing
    }
    QCOMPARE(storedUserProfile(), recorded);
}

// A PATH without amixer: by the exit-code rule every run fails, and the tool is named once on
// standard error, however often it is missed.
void TestMixerRunner::missingTool()
{
    QTemporaryDir emptyBin;
    qputenv("PATH", QFile::encodeName(emptyBin.path()));
    QByteArray errors;
    {
        StdoutCapture err(2);
        Equalizer eq(nullptr, paths);
        QCOMPARE(eq.property("Volume").toInt(), 0);
        QVERIFY(!eq.setVolume(5));
        QCOMPARE(eq.getVolume(), 0);
        QProcess process;
        QCOMPARE(MixerRunner::get(process, readMainVolume(), false), -1);
        QCOMPARE(MixerRunner::getString(process, readCvcTwoMic(), false), QString());
        errors = err.text();
    }
    QCOMPARE(errors.count("equalizer: cannot start \"amixer\""), 1);
    QCOMPARE(card->commands(), QStringList());
}

QTEST_GUILESS_MAIN(TestMixerRunner)
#include "tst_mixerrunner.moc"
