#include "equalizer/equalizer.h"
#include "support/stdoutcapture.h"
#include "support/virtualcard.h"

#include <QSettings>
#include <QTemporaryDir>
#include <QtTest>

// The settings file as the controller leaves it, and the start values and trace level it yields.
// Each case writes the file by hand, runs a controller on it (and on a virtual card) and reads the
// result back with a store of its own once the controller is gone.
class TestSettingsFile : public QObject
{
    Q_OBJECT

private slots:
    void storedKeys_data();
    void storedKeys();
    void staleLock_data();
    void staleLock();
    void startValues_data();
    void startValues();
    void traceLevel_data();
    void traceLevel();

private:
    // A card and a settings folder of the case's own; the content is written when it is not null.
    EqualizerPaths place(const QByteArray &content);

    QScopedPointer<VirtualCard> card;
    QScopedPointer<QTemporaryDir> dir;
};

using Stored = QMap<QString, QString>;

EqualizerPaths TestSettingsFile::place(const QByteArray &content)
{
    card.reset();
    card.reset(new VirtualCard);
    if (!card->isValid())
        qFatal("%s", qPrintable(card->errorString()));
    dir.reset(new QTemporaryDir);
    EqualizerPaths paths;
    paths.settingsFile = dir->filePath("Equalizer.conf");
    paths.settingsLock = dir->filePath("Equalizer.conf.lock");
    paths.keyDevice = dir->filePath("no-key-device");
    if (!content.isNull()) {
        QFile file(paths.settingsFile);
        file.open(QIODevice::WriteOnly);
        file.write(content);
    }
    return paths;
}

void TestSettingsFile::storedKeys_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<Stored>("stored");

    const Stored ids{{"PresetedId", "-1"}, {"Sweetspot", "-1"}, {"ProfileId", "2"}};
    QTest::newRow("no file: only the three ids") << QByteArray() << ids;
    Stored tunables = ids;
    tunables.insert({{"DemoMode", "true"}, {"DebugLevel", "0"}, {"MinGain", "-30"}, {"MaxGain", "10"}});
    QTest::newRow("tunables written by hand stay as they are")
        << QByteArray("DemoMode=true\nDebugLevel=0\nMinGain=-30\nMaxGain=10\n") << tunables;
    QTest::newRow("ids out of range are stored again as they are (empty profile script)")
        << QByteArray("PresetedId=7\nSweetspot=9\nProfileId=5\n")
        << Stored{{"PresetedId", "7"}, {"Sweetspot", "9"}, {"ProfileId", "5"}};
}

void TestSettingsFile::storedKeys()
{
    QFETCH(QByteArray, content);
    QFETCH(Stored, stored);
    const EqualizerPaths paths = place(content);
    {
        Equalizer eq(nullptr, paths);
        // Operations that must leave the file alone.
        eq.setVolume(5);
        eq.getVolume();
        eq.saveUserProfile(R"(amixer sset "User PEQ Band3 Gain" 65)");
        eq.minimize();
        eq.show();
    }
    QSettings file(paths.settingsFile, QSettings::IniFormat);
    Stored found;
    for (const QString &key : file.allKeys())
        found.insert(key, file.value(key).toString());
    QCOMPARE(found, stored);
}

void TestSettingsFile::staleLock_data()
{
    QTest::addColumn<bool>("lockPresent");
    QTest::newRow("stale lock: reported once and removed") << true;
    QTest::newRow("no lock: no report") << false;
}

void TestSettingsFile::staleLock()
{
    QFETCH(bool, lockPresent);
    const EqualizerPaths paths = place("DebugLevel=0\n");
    if (lockPresent) {
        QFile lock(paths.settingsLock);
        QVERIFY(lock.open(QIODevice::WriteOnly));
        lock.write("4242\nequalizer\nhost\n");
    }
    QByteArray start;
    {
        StdoutCapture out;
        Equalizer eq(nullptr, paths);
        start = out.text();
    }
    QCOMPARE(start.count("Warn, Equalizer.conf.lcok exists, remove it\n"), lockPresent ? 1 : 0);
    QVERIFY(!QFile::exists(paths.settingsLock));
}

void TestSettingsFile::startValues_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<bool>("demoMode");
    QTest::addColumn<int>("level");
    QTest::addColumn<int>("minGain");
    QTest::addColumn<int>("maxGain");

    QTest::newRow("no file: defaults") << QByteArray() << false << 4 << -60 << 20;
    static const char malformed[] = "\xff\xfe\x00[[[\n===\n\\\n[\n";
    QTest::newRow("malformed file: defaults")
        << QByteArray::fromRawData(malformed, sizeof malformed - 1) << false << 4 << -60 << 20;
    QTest::newRow("bounds written by hand") << QByteArray("MinGain=-30\nMaxGain=12\n") << false << 4 << -30 << 12;
    QTest::newRow("demo mode on") << QByteArray("DemoMode=true\n") << true << 4 << -60 << 20;
    QTest::newRow("[General] holds the top-level keys")
        << QByteArray("[General]\nDebugLevel=1\nMinGain=-10\n") << false << 1 << -10 << 20;
    QTest::newRow("keys inside a group are not read")
        << QByteArray("[Tuning]\nDemoMode=true\nDebugLevel=1\nMinGain=-10\nMaxGain=5\n") << false << 4 << -60 << 20;
    QTest::newRow("names are case-sensitive")
        << QByteArray("demomode=true\ndebuglevel=1\nmingain=-10\nmaxgain=5\n") << false << 4 << -60 << 20;
    QTest::newRow("wrong types convert: text is true, non-numbers 0")
        << QByteArray("DemoMode=maybe\nDebugLevel=abc\nMinGain=low\nMaxGain=1, 2\n") << true << 0 << 0 << 0;
    QTest::newRow("wrong types convert: \"0\" and \"false\" are false")
        << QByteArray("DemoMode=False\nDebugLevel=2.5\n") << false << 0 << -60 << 20;
}

void TestSettingsFile::startValues()
{
    QFETCH(QByteArray, content);
    QFETCH(bool, demoMode);
    QFETCH(int, level);
    QFETCH(int, minGain);
    QFETCH(int, maxGain);

    QByteArray start;
    QScopedPointer<Equalizer> eq;
    {
        StdoutCapture out;
        eq.reset(new Equalizer(nullptr, place(content)));
        start = out.text();
    }
    QVERIFY(start.contains("debugLevel: " + QByteArray::number(level) + '\n'));
    QCOMPARE(eq->property("DemoMode").toBool(), demoMode);
    QCOMPARE(eq->property("minGain").toInt(), minGain);
    QCOMPARE(eq->property("maxGain").toInt(), maxGain);
}

void TestSettingsFile::traceLevel_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QByteArray>("levelLines");
    QTest::addColumn<bool>("fTraced"); // the minimize trace
    QTest::addColumn<bool>("dTraced"); // the volume read's result; writes without the suffix

    QTest::newRow("absent: 4, everything") << QByteArray()
        << QByteArray("debugLevel: 4\nLOG level: e, f, i, d = 1, 1, 1, 1\n") << true << true;
    QTest::newRow("0: nothing") << QByteArray("DebugLevel=0\n")
        << QByteArray("debugLevel: 0\nLOG level: e, f, i, d = 0, 0, 0, 0\n") << false << false;
    QTest::newRow("-3: nothing") << QByteArray("DebugLevel=-3\n")
        << QByteArray("debugLevel: -3\nLOG level: e, f, i, d = 0, 0, 0, 0\n") << false << false;
    QTest::newRow("2: e and f") << QByteArray("DebugLevel=2\n")
        << QByteArray("debugLevel: 2\nLOG level: e, f, i, d = 1, 1, 0, 0\n") << true << false;
    QTest::newRow("4: everything") << QByteArray("DebugLevel=4\n")
        << QByteArray("debugLevel: 4\nLOG level: e, f, i, d = 1, 1, 1, 1\n") << true << true;
    QTest::newRow("99: as 4") << QByteArray("DebugLevel=99\n")
        << QByteArray("debugLevel: 99\nLOG level: e, f, i, d = 1, 1, 1, 1\n") << true << true;
    QTest::newRow("no number: 0") << QByteArray("DebugLevel=loud\n")
        << QByteArray("debugLevel: 0\nLOG level: e, f, i, d = 0, 0, 0, 0\n") << false << false;
}

void TestSettingsFile::traceLevel()
{
    QFETCH(QByteArray, content);
    QFETCH(QByteArray, levelLines);
    QFETCH(bool, fTraced);
    QFETCH(bool, dTraced);

    const EqualizerPaths paths = place(content);
    QByteArray start;
    QByteArray later;
    {
        StdoutCapture out;
        Equalizer eq(nullptr, paths);
        start = out.text();
        eq.minimize();
        eq.getVolume();
        card->clearLogs();
        eq.setVolume(50);
        later = out.text().mid(start.size());
    }
    // The d flag also keeps a write's own output, by leaving off the redirection words.
    const QString write = R"(amixer sset "Main Vol Master Gain" 50)";
    QCOMPARE(card->commands(), QStringList{dTraced ? write : write + " < /dev/null 2>&1"});
    QCOMPARE(start.count("debugLevel: "), 1);
    QVERIFY2(start.contains(levelLines), start.constData());
    QCOMPARE(later.contains("<Equalizer>minimize\n"), fTraced);
    QCOMPARE(later.contains("<Equalizer>getVolume result: "), dTraced);
}

QTEST_GUILESS_MAIN(TestSettingsFile)
#include "tst_settingsfile.moc"
