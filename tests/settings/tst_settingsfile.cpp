#include "settings/inicheck.h"
#include "settings/settingsfile.h"
#include "support/controllerfixture.h"
#include "support/stdoutcapture.h"
#include "support/virtualcard.h"

#include <QtTest>

#include <memory>
#include <sys/stat.h>
#include <unistd.h>

using namespace ControllerFixture;
using L = QStringList;

// The settings file as the controller leaves it, and the start values and trace level it yields.
// Each case writes the file by hand and runs a controller on it, on a card at its power-on values.
class TestSettingsFile : public QObject
{
    Q_OBJECT

    VirtualCard card;

private slots:
    void initTestCase() { QVERIFY2(card.isValid(), qPrintable(card.errorString())); }
    void init() { card.setPowerOnState(); }

    // What the store cannot survive is dealt with before it opens: keys read from what is left, one
    // line on standard error, what was there kept aside; the store then writes without waiting.
    void damagedFiles_data()
    {
        QTest::addColumn<QString>("place"); // what stands at the file or lock path
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<QVariantMap>("kept");
        QTest::addColumn<QString>("report"); // %1: the file, %2: the lock

        const QByteArray keys = "DemoMode=true\nMinGain=-30\nMaxGain=12\n";
        const QVariantMap base{{"DemoMode", "true"}, {"MinGain", "-30"}, {"MaxGain", "12"}};
        const QString dropped = QStringLiteral("settings file \"%1\" is damaged; dropped ");
        const QString file = QStringLiteral("file");
        QTest::newRow("list of 2^31 items") << file << R"(Bass=@Variant(\0\0\0\t\x7f\xff\xff\xff))" "\n" + keys
                                            << base << dropped + "\"Bass\" (line 1)";
        QTest::newRow("polygon of 2^31 points, in a section")
            << file << "[Presets]\n" R"(Rock=@Variant(\0\0\0G\x7f\xff\xff\xff))" "\n[General]\n" + keys << base
            << dropped + "\"Presets/Rock\" (line 2)";
        QTest::newRow("hash holding a list of 2^31 items, in a comma list")
            << file << keys + R"(Vocal=x, @Variant(\0\0\0\x1c\0\0\0\x1\0\0\0\x2\0k\0\0\0\t\x7f\xff\xff\xff))" "\n"
            << base << dropped + "\"Vocal\" (line 4)";
        QTest::newRow("hash of more items than bytes, quoted")
            << file << keys + "Cust=\"@Variant(\\0\\0\\0\\x1c\\x7f\\xff\\xff\\xff\\0\\0\\0\\x2\\0k\\0\\0\\0\\x2\\0\\0\\0\\x1)\"\n"
            << base << dropped + "\"Cust\" (line 4)";
        QTest::newRow("time stamp, never written here") << file << R"(At=@DateTime(\0\0\0\t\0\x7f\xff\xff\xff))" "\n" + keys
                                                        << base << dropped + "\"At\" (line 1)";
        QTest::newRow("unterminated double quote") << file << "Note=\"half\n" + keys << base
                                                   << dropped + "\"Note\" (line 1)";
        QTest::newRow("double quote inside a key") << file << "No\"te=1\n" + keys << base
                                                   << dropped + "\"No\"te\" (line 1)";
        QTest::newRow("lone [") << file << "A=1\n[\n" + keys << QVariantMap{{"A", "1"}, {"DemoMode", "true"}, {"MinGain", "-30"}, {"MaxGain", "12"}}
                                << dropped + "line 2;";
        QTest::newRow("trailing backslash") << file << "Note=half\\\n" + keys << base
                                            << dropped + "\"Note\" (line 1)";
        QVariantMap written = base;
        written.insert({{"Bass", QVariantHash{{"60", 3}}}, {"User Profile", QVariantHash{{"k", "v"}}},
                        {"Note", "a, \"b\"; c"}, {"Odd", "@Variant(\\0"}, {"Last", "half"}});
        QTest::newRow("as written by the program, and harmless oddities: untouched")
            << file
            << "[General]\n" R"(Bass=@Variant(\0\0\0\x1c\0\0\0\x1\0\0\0\x4\0\x36\0\x30\0\0\0\x2\0\0\0\x3))" "\n"
               R"(User%20Profile=@Variant(\0\0\0\x1c\0\0\0\x1\0\0\0\x2\0k\0\0\0\n\0\0\0\x2\0v))" "\n"
               "Note=\"a, \\\"b\\\"; c\" ; comment\nOdd=@Variant(\\\\0\n" + keys + "Last=\"half"
            << written << QString();
        const QString aside = QStringLiteral(" is not a regular file; moved it aside to ");
        QTest::newRow("FIFO as the file") << "fifo" << QByteArray() << QVariantMap() << "settings file \"%1\"" + aside;
        QTest::newRow("folder as the file") << "folder" << QByteArray() << QVariantMap() << "settings file \"%1\"" + aside;
        QTest::newRow("folder with a file in it as the lock") << "lock folder" << keys << base << "settings lock \"%2\"" + aside;
    }

    void damagedFiles()
    {
        QFETCH(QString, place);
        QFETCH(QByteArray, content);
        QFETCH(QVariantMap, kept);
        QFETCH(QString, report);

        QTemporaryDir dir;
        const QString path = dir.filePath("Equalizer.conf"), lock = path + ".lock";
        const QString target = place.startsWith("lock") ? lock : path;
        if (!content.isNull()) {
            QFile file(path);
            QVERIFY(file.open(QIODevice::WriteOnly) && file.write(content) == content.size() && file.flush());
            QVERIFY(file.setFileTime(QDateTime::fromSecsSinceEpoch(1000000000), QFileDevice::FileModificationTime));
        }
        if (place.endsWith("fifo"))
            QCOMPARE(mkfifo(QFile::encodeName(target), 0600), 0);
        else if (place.endsWith("folder"))
            QVERIFY(QDir().mkpath(target + "/inside"));

        std::unique_ptr<QSettings> settings;
        const QString err = output([&] { settings.reset(SettingsFile::open(path, lock, nullptr)); }, 2);
        if (report.isEmpty()) {
            QCOMPARE(err, QString());
            QFile file(path);
            QVERIFY(file.open(QIODevice::ReadOnly));
            QCOMPARE(file.readAll(), content);
            QCOMPARE(QFileInfo(path).lastModified(), QDateTime::fromSecsSinceEpoch(1000000000));
        }
        QVariantMap read;
        for (const QString &key : settings->allKeys())
            read.insert(key, settings->value(key));
        QCOMPARE(read, kept);
        settings->setValue("PresetedId", 3);
        settings->sync();
        QCOMPARE(settings->status(), QSettings::NoError);

        const QStringList asides = QDir(dir.path()).entryList({"*.damaged-*"}, QDir::AllEntries | QDir::System);
        if (report.isEmpty()) {
            QVERIFY(asides.isEmpty());
            return;
        }
        QCOMPARE(err.count('\n'), 1);
        QVERIFY2(err.startsWith("equalizer: " + report.replace("%1", path).replace("%2", lock)), qPrintable(err));
        QCOMPARE(asides.size(), 1);
        QVERIFY2(err.contains(dir.filePath(asides[0])), qPrintable(err));
        if (place == "file") {
            QFile copy(dir.filePath(asides[0]));
            QVERIFY(copy.open(QIODevice::ReadOnly));
            QCOMPARE(copy.readAll(), content);
        }
    }

    // Mutated copies of a file as the program writes it, with syntax, stream counts and types
    // changed at random: the store opens each without crashing or hanging, and what it writes back
    // is not damaged. The copies kept of damaged files stay at a handful.
    void fuzzedFiles()
    {
        QTemporaryDir dir;
        const QString path = dir.filePath("Equalizer.conf");
        QByteArray seed;
        {
            QSettings writer(path, QSettings::NativeFormat);
            writer.setValue("DebugLevel", 3);
            writer.setValue("Bass", QVariantHash{{"60", -4}, {"1k", 7}});
            writer.setValue("User Profile", QVariantHash{{"amixer sset \"Music DBE\"", "amixer sset \"Music DBE\" on, off"}});
            writer.setValue("MaxGain", 12);
        }
        QFile seedFile(path);
        QVERIFY(seedFile.open(QIODevice::ReadOnly));
        seed = seedFile.readAll();

        static const char *const tokens[] = {"\"", "\\", "[", "]", "\n", ",", ";", "=", " ", "@Variant(", ")", "\\x7f"};
        static const quint32 counts[] = {0, 1, 3, 0x7fffffff, 0x10000000, 0xffffffff, 0xfffffffe};
        static const int types[] = {1, 2, 7, 8, 9, 10, 11, 12, 28, 65, 71, 127, 1024};
        QRandomGenerator random(16);
        const auto pick = [&](const auto &list) { return list[random.bounded(int(std::size(list)))]; };
        const auto hex = [](quint32 byte) { return "\\x" + QByteArray::number(byte & 0xff, 16); };
        StdoutCapture err(2);
        for (int n = 0; n < 1200; ++n) {
            QByteArray text = seed;
            for (int edits = 1 + random.bounded(4); edits > 0; --edits) {
                const int at = random.bounded(text.size() + 1);
                switch (random.bounded(5)) {
                case 0:
                    text[qMin(at, text.size() - 1)] = char(random.bounded(256));
                    break;
                case 1:
                    text.insert(at, pick(tokens));
                    break;
                case 2:
                    text.remove(at, random.bounded(40));
                    break;
                case 3:
                    text.insert(at, text.mid(random.bounded(text.size() + 1), random.bounded(60)));
                    break;
                default: {
                    const quint32 count = random.bounded(3) ? pick(counts) : random.generate();
                    QByteArray line = "Key=@Variant(\\0\\0\\0" + hex(quint32(pick(types)));
                    for (int shift = 24; shift >= 0; shift -= 8)
                        line += hex(count >> shift);
                    for (int bytes = random.bounded(8); bytes > 0; --bytes)
                        line += hex(random.bounded(8) ? 0 : random.generate());
                    text.insert(text.indexOf('\n', at) + 1, line + ")\n");
                }
                }
            }
            QFile file(path);
            QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate) && file.write(text) == text.size());
            file.close();
            std::unique_ptr<QSettings> settings(SettingsFile::open(path, path + ".lock", nullptr));
            for (const QString &key : settings->allKeys())
                settings->value(key);
            settings->setValue("PresetedId", n);
            settings.reset();
            QVERIFY(file.open(QIODevice::ReadOnly));
            const IniCheck::Result again = IniCheck::check(file.readAll());
            QVERIFY2(again.dropped.isEmpty(), qPrintable(QStringLiteral("file %1, line %2").arg(n).arg(again.dropped.value(0).line)));
        }
        QCOMPARE(QDir(dir.path()).entryList({"*.damaged-*"}).size(), 5);
    }

    // The start values of a file, and what its level lets through: the two level lines, the
    // traces of one write of each kind, and (d flag) writes run without the redirection words. A lock
    // left behind by an earlier run is reported once and removed.
    void startValues_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<int>("level");
        QTest::addColumn<QString>("flags"); // e, f, i, d
        QTest::addColumn<bool>("demoMode");
        QTest::addColumn<int>("minGain");
        QTest::addColumn<int>("maxGain");
        QTest::addColumn<bool>("staleLock");

        static const char malformed[] = "\xff\xfe\x00[[[\n===\n\\\n[\n";
        QTest::newRow("no file: defaults, level 4") << QByteArray() << 4 << "1, 1, 1, 1" << false << -60 << 20 << false;
        QTest::newRow("malformed file: defaults")
                << QByteArray(malformed, sizeof malformed - 1) << 4 << "1, 1, 1, 1" << false << -60 << 20 << false;
        QTest::newRow("damaged value: defaults for it, the keys below still count; level 99 as 4")
                << QByteArray(R"(Bass=@Variant(\0\0\0\t\x7f\xff\xff\xff))" "\nDebugLevel=99\nDemoMode=true\nMinGain=-30\nMaxGain=12\n")
                << 99 << "1, 1, 1, 1" << true << -30 << 12 << false;
        QTest::newRow("level 1: e; a stale lock") << QByteArray("DebugLevel=1\n") << 1 << "1, 0, 0, 0" << false << -60 << 20 << true;
        QTest::newRow("level 2: e and f") << QByteArray("DebugLevel=2\n") << 2 << "1, 1, 0, 0" << false << -60 << 20 << false;
        QTest::newRow("wrong types convert: text is true, no number is 0; level -3 as 0")
                << QByteArray("DemoMode=maybe\nDebugLevel=-3\nMinGain=low\n") << -3 << "0, 0, 0, 0" << true << 0 << 20 << false;
    }

    void startValues()
    {
        QFETCH(QByteArray, content);
        QFETCH(int, level);
        QFETCH(QString, flags);
        QFETCH(bool, demoMode);
        QFETCH(int, minGain);
        QFETCH(int, maxGain);
        QFETCH(bool, staleLock);

        Controller eq({}, false);
        if (!content.isNull())
            eq.writeFile(content);
        QFile lock(eq.paths.settingsLock);
        if (staleLock)
            QVERIFY(lock.open(QIODevice::WriteOnly) && lock.write("4242\nequalizer\nhost\n") > 0 && lock.flush());
        const QByteArray start = output([&] { eq.start(); });
        QCOMPARE(eq->property("DemoMode").toBool(), demoMode);
        QCOMPARE(eq->property("minGain").toInt(), minGain);
        QCOMPARE(eq->property("maxGain").toInt(), maxGain);
        const QByteArray levelLines = QStringLiteral("debugLevel: %1\nLOG level: e, f, i, d = %2\n").arg(level).arg(flags).toUtf8();
        QCOMPARE(start.count("debugLevel: "), 1);
        QCOMPARE(start.count("Warn, Equalizer.conf.lcok exists, remove it\n"), int(staleLock));
        QVERIFY(!QFile::exists(eq.paths.settingsLock));
        QVERIFY2(start.contains(levelLines), start.constData());

        card.clearLogs();
        const L lines = traces([&] {
            eq->minimize();
            eq->changeGain(7, 5);
            eq->changeMode(0);
            eq->changeChanDelay(3, 50);
            eq->changeDBEParams(5, 200);
        });
        const bool e = flags[0] == '1', f = flags[3] == '1', d = flags[9] == '1';
        L sent{"amixer sset \"User PEQ Band7 Gain\" 65", "amixer sset \"User PEQ Switch Mode\" 0",
               "amixer sset \"Music Chan3 Delay\" 50", "amixer sset \"Music DBE LP FC\" 200"};
        const std::pair<bool, QString> all[] = {
                {f, "minimize"}, {f, "changeGain(7, 5)"}, {d, "changeGain cmd: " + sent[0]}, {f, "updatePresetedId(-1)"},
                {e, "changMode cmd: " + sent[1]}, {f, "changeChanDelay(3, 50)"}, {e, "changeChanDelay cmd: " + sent[2]},
                {d, "changeDBEParams cmd: " + sent[3]}};
        L expected;
        for (const auto &[on, line] : all)
            if (on)
                expected << line;
        QCOMPARE(lines, expected);
        if (!d)
            for (QString &cmd : sent)
                cmd = redirected(cmd);
        QCOMPARE(card.commands(), sent);
    }
};

QTEST_GUILESS_MAIN(TestSettingsFile)
#include "tst_settingsfile.moc"
