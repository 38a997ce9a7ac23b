#include "support/controllerfixture.h"
#include "support/virtualcard.h"

#include <QtTest>

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

    void storedKeys_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<QVariantMap>("stored");

        QTest::newRow("no file: only the three ids")
                << QByteArray() << QVariantMap{{"PresetedId", "-1"}, {"Sweetspot", "-1"}, {"ProfileId", "2"}};
        QTest::newRow("keys written by hand stay as they are, ids out of range too (empty profile script)")
                << QByteArray("DemoMode=true\nDebugLevel=0\nMinGain=-30\nMaxGain=10\nPresetedId=7\nSweetspot=9\nProfileId=5\n")
                << QVariantMap{{"DemoMode", "true"}, {"DebugLevel", "0"}, {"MinGain", "-30"}, {"MaxGain", "10"},
                               {"PresetedId", "7"}, {"Sweetspot", "9"}, {"ProfileId", "5"}};
    }

    void storedKeys()
    {
        QFETCH(QByteArray, content);
        QFETCH(QVariantMap, stored);

        Controller eq({}, false);
        if (!content.isEmpty())
            eq.writeFile(content);
        eq.start();
        // Operations that must leave the file alone.
        eq->setVolume(5);
        eq->getVolume();
        eq->saveUserProfile(R"(amixer sset "User PEQ Band3 Gain" 65)");
        eq->minimize();
        eq->show();
        eq.stop();
        QCOMPARE(eq.storedAll(), stored);
    }

    // A lock left behind by an earlier run is reported once and removed; startValues() shows that
    // no lock means no report.
    void staleLock()
    {
        Controller eq({{"DebugLevel", 0}}, false);
        QFile lock(eq.paths.settingsLock);
        QVERIFY(lock.open(QIODevice::WriteOnly) && lock.write("4242\nequalizer\nhost\n") > 0);
        lock.close();
        QCOMPARE(output([&] { eq.start(); }).count("Warn, Equalizer.conf.lcok exists, remove it\n"), 1);
        QVERIFY(!QFile::exists(eq.paths.settingsLock));
    }

    // The start values of a file, and what its level lets through: the two level lines, the
    // traces of one write of each kind, and (d flag) writes run without the redirection words.
    void startValues_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<int>("level");
        QTest::addColumn<QString>("flags"); // e, f, i, d
        QTest::addColumn<bool>("demoMode");
        QTest::addColumn<int>("minGain");
        QTest::addColumn<int>("maxGain");

        static const char malformed[] = "\xff\xfe\x00[[[\n===\n\\\n[\n";
        QTest::newRow("no file: defaults, level 4") << QByteArray() << 4 << "1, 1, 1, 1" << false << -60 << 20;
        QTest::newRow("malformed file: defaults")
                << QByteArray(malformed, sizeof malformed - 1) << 4 << "1, 1, 1, 1" << false << -60 << 20;
        QTest::newRow("level 4 and values written by hand")
                << QByteArray("DebugLevel=4\nDemoMode=true\nMinGain=-30\nMaxGain=12\n") << 4 << "1, 1, 1, 1" << true << -30 << 12;
        QTest::newRow("level 0: no trace") << QByteArray("DebugLevel=0\n") << 0 << "0, 0, 0, 0" << false << -60 << 20;
        QTest::newRow("level -3: as 0") << QByteArray("DebugLevel=-3\n") << -3 << "0, 0, 0, 0" << false << -60 << 20;
        QTest::newRow("level 1: e") << QByteArray("DebugLevel=1\n") << 1 << "1, 0, 0, 0" << false << -60 << 20;
        QTest::newRow("level 2: e and f") << QByteArray("DebugLevel=2\n") << 2 << "1, 1, 0, 0" << false << -60 << 20;
        QTest::newRow("level 99: as 4") << QByteArray("DebugLevel=99\n") << 99 << "1, 1, 1, 1" << false << -60 << 20;
        QTest::newRow("wrong types convert: text is true, no number is 0")
                << QByteArray("DemoMode=maybe\nDebugLevel=loud\nMinGain=low\n") << 0 << "0, 0, 0, 0" << true << 0 << 20;
    }

    void startValues()
    {
        QFETCH(QByteArray, content);
        QFETCH(int, level);
        QFETCH(QString, flags);
        QFETCH(bool, demoMode);
        QFETCH(int, minGain);
        QFETCH(int, maxGain);

        Controller eq({}, false);
        if (!content.isNull())
            eq.writeFile(content);
        const QByteArray start = output([&] { eq.start(); });
        QCOMPARE(eq->property("DemoMode").toBool(), demoMode);
        QCOMPARE(eq->property("minGain").toInt(), minGain);
        QCOMPARE(eq->property("maxGain").toInt(), maxGain);
        const QByteArray levelLines = QStringLiteral("debugLevel: %1\nLOG level: e, f, i, d = %2\n").arg(level).arg(flags).toUtf8();
        QCOMPARE(start.count("debugLevel: "), 1);
        QVERIFY(!start.contains("lcok"));
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
        L expected;
        if (f)
            expected << "minimize" << "changeGain(7, 5)";
        if (d)
            expected << "changeGain cmd: " + sent[0];
        if (f)
            expected << "updatePresetedId(-1)";
        if (e)
            expected << "changMode cmd: " + sent[1];
        if (f)
            expected << "changeChanDelay(3, 50)";
        if (e)
            expected << "changeChanDelay cmd: " + sent[2];
        if (d)
            expected << "changeDBEParams cmd: " + sent[3];
        QCOMPARE(lines, expected);
        if (!d)
            for (QString &cmd : sent)
                cmd = redirected(cmd);
        QCOMPARE(card.commands(), sent);
    }
};

QTEST_GUILESS_MAIN(TestSettingsFile)
#include "tst_settingsfile.moc"
