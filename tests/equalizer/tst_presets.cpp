#include "equalizer/equalizer.h"
#include "support/stdoutcapture.h"
#include "support/virtualcard.h"

#include <QSettings>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtTest>

#include <map>
#include <memory>

namespace {

const QStringList bandNames{"60", "170", "310", "600", "1k", "3k", "6k", "12k", "14k", "16k"};

QString bandWrite(int band, int dB)
{
    return QStringLiteral("amixer sset \"User PEQ Band%1 Gain\" %2").arg(band).arg(dB + 60);
}

QVariantHash preset(const QList<int> &gains)
{
    QVariantHash hash;
    for (int i = 0; i < gains.size(); ++i)
        hash.insert(bandNames[i], gains[i]);
    return hash;
}

// A controller on its own settings file, started at a given debug level.
struct Instance {
    explicit Instance(int debugLevel)
    {
        paths.settingsFile = dir.filePath(QStringLiteral("Equalizer.conf"));
        paths.settingsLock = dir.filePath(QStringLiteral("Equalizer.conf.lock"));
        paths.keyDevice = dir.filePath(QStringLiteral("no-key-device"));
        QSettings(paths.settingsFile, QSettings::NativeFormat).setValue(QStringLiteral("DebugLevel"), debugLevel);
        eq = std::make_unique<Equalizer>(nullptr, paths);
        // With no bus and no key device both workers end at once; waiting for them keeps their
        // start-up lines out of the traces a test captures.
        for (QThread *worker : eq->findChildren<QThread *>())
            worker->wait(10000);
    }
    QVariant stored(const QString &key) const
    {
        eq->findChild<QSettings *>()->sync();
        return QSettings(paths.settingsFile, QSettings::NativeFormat).value(key);
    }
    // Writes (or, with an empty hash, removes) a preset entry behind the controller's back.
    void store(const QString &key, const QVariantHash &hash) const
    {
        QSettings file(paths.settingsFile, QSettings::NativeFormat);
        if (hash.isEmpty())
            file.remove(key);
        else
            file.setValue(key, hash);
    }

    QTemporaryDir dir;
    EqualizerPaths paths;
    std::unique_ptr<Equalizer> eq;
};

QByteArrayList traceLines(const QByteArray &out)
{
    QByteArrayList lines;
    for (const QByteArray &line : out.split('\n'))
        if (line.startsWith("<Equalizer>"))
            lines << line.mid(11);
    return lines;
}

} // namespace

class TestPresets : public QObject
{
    Q_OBJECT

private:
    void loadGains(const QList<int> &bands);
    QList<int> shownGains() const;
    Instance &at(int debugLevel);

    std::unique_ptr<VirtualCard> card;
    std::map<int, std::unique_ptr<Instance>> instances;
    Equalizer *eq = nullptr;

private slots:
    void initTestCase();
    void init();
    void cleanupTestCase();

    void saveAndApply_data();
    void saveAndApply();
    void apply_data();
    void apply();
    void traces_data();
    void traces();
};

void TestPresets::initTestCase()
{
    card = std::make_unique<VirtualCard>();
    QVERIFY2(card->isValid(), qPrintable(card->errorString()));
    eq = at(4).eq.get();
}

void TestPresets::init()
{
    card->failWrites({});
    card->setPowerOnState();
    eq->changePeq(0);
    card->clearLogs();
}

void TestPresets::cleanupTestCase()
{
    instances.clear();
    card.reset();
}

Instance &TestPresets::at(int debugLevel)
{
    auto &instance = instances[debugLevel];
    if (!instance)
        instance = std::make_unique<Instance>(debugLevel);
    return *instance;
}

// Puts the ten band gains of PEQ "User" on the card (dB) and lets the controller read them back.
void TestPresets::loadGains(const QList<int> &bands)
{
    for (int i = 0; i < bands.size(); ++i)
        card->setValue(QStringLiteral("User PEQ Band%1 Gain").arg(i + 1), bands[i] + 60);
    eq->changePeq(0);
    card->clearLogs();
}

QList<int> TestPresets::shownGains() const
{
    QList<int> gains;
    for (int band = 1; band <= 10; ++band)
        gains << eq->property(QByteArray("gain") + QByteArray::number(band)).toInt();
    return gains;
}

void TestPresets::saveAndApply_data()
{
    QTest::addColumn<int>("id");
    QTest::addColumn<QString>("key");

    QTest::newRow("0: Bass") << 0 << "Bass";
    QTest::newRow("2: Vocal") << 2 << "Vocal";
    QTest::newRow("3: Cust") << 3 << "Cust";
}

// Saving stores the ten gains shown under the preset's name without touching the card; applying
// writes the same ten gains back in band order.
void TestPresets::saveAndApply()
{
    QFETCH(int, id);
    QFETCH(QString, key);

    const QList<int> gains{-12, -9, -6, -3, 3, 6, 9, 12, 15, 16 + id}; // none flat: all ten are written back
    loadGains(gains);
    QSignalSpy presetChanged(eq, &Equalizer::activatedPresetIdChanged);

    eq->saveToPresets(id);

    QCOMPARE(card->commands(), QStringList{});
    QCOMPARE(at(4).stored(key).toHash(), preset(gains));
    QCOMPARE(at(4).stored("PresetedId").toInt(), id);
    QCOMPARE(eq->property("activatedPresetId").toInt(), id);
    QCOMPARE(presetChanged.count(), 1);

    eq->resetGains();
    QCOMPARE(eq->property("activatedPresetId").toInt(), -1);
    card->clearLogs();

    eq->setToPreset(id);

    QStringList sent;
    for (int band = 1; band <= 10; ++band)
        sent << bandWrite(band, gains[band - 1]);
    QCOMPARE(card->commands(), sent);
    QCOMPARE(shownGains(), gains);
    QCOMPARE(eq->property("activatedPresetId").toInt(), id);
    QCOMPARE(at(4).stored("PresetedId").toInt(), id);
}

void TestPresets::apply_data()
{
    QTest::addColumn<int>("id");
    QTest::addColumn<QVariantHash>("stored"); // empty: never saved
    QTest::addColumn<QList<int>>("current");
    QTest::addColumn<bool>("band3Refused");
    QTest::addColumn<QStringList>("sent");
    QTest::addColumn<int>("presetAfter");
    QTest::addColumn<QList<int>>("gainsAfter");
    QTest::addColumn<int>("announced"); // activatedPresetIdChanged emissions

    const QList<int> flat{0, 0, 0, 0, 0, 0, 0, 0, 0, 0};
    const QList<int> rising{1, 2, 3, 4, 5, 6, 7, 8, 9, 10};
    const QList<int> fives{5, 5, 5, 5, 5, 5, 5, 5, 5, 5};
    QStringList risingSent;
    for (int band = 1; band <= 10; ++band)
        risingSent << bandWrite(band, band);

    QTest::newRow("Cust never saved: nothing sent, id 3")
            << 3 << QVariantHash() << rising << false << QStringList() << 3 << rising << 1;
    QTest::newRow("-1, the start-up default: nothing sent, id -1")
            << -1 << QVariantHash() << rising << false << QStringList() << -1 << rising << 1;
    QTest::newRow("9, no such row: nothing sent, id 9")
            << 9 << QVariantHash() << rising << false << QStringList() << 9 << rising << 1;
    QTest::newRow("gains as they are: nothing sent, id 2")
            << 2 << preset(rising) << rising << false << QStringList() << 2 << rising << 1;
    QTest::newRow("all ten differ: written in band order, id 0")
            << 0 << preset(rising) << flat << false << risingSent << 0 << rising << 11;
    QTest::newRow("third band refused: bands 4 to 10 still written, id -1")
            << 0 << preset(rising) << flat << true << risingSent << -1
            << QList<int>{1, 2, 0, 4, 5, 6, 7, 8, 9, 10} << 9;
    QTest::newRow("only the third band differs and is refused: id as before")
            << 0 << preset(rising) << QList<int>{1, 2, 0, 4, 5, 6, 7, 8, 9, 10} << true
            << QStringList{bandWrite(3, 3)} << 1 << QList<int>{1, 2, 0, 4, 5, 6, 7, 8, 9, 10} << 0;
    QTest::newRow("bands 9 and 10 missing from the entry: set to 0")
            << 2 << preset(fives.mid(0, 8)) << fives << false
            << QStringList{bandWrite(9, 0), bandWrite(10, 0)} << 2 << QList<int>{5, 5, 5, 5, 5, 5, 5, 5, 0, 0} << 3;
}

void TestPresets::apply()
{
    QFETCH(int, id);
    QFETCH(QVariantHash, stored);
    QFETCH(QList<int>, current);
    QFETCH(bool, band3Refused);
    QFETCH(QStringList, sent);
    QFETCH(int, presetAfter);
    QFETCH(QList<int>, gainsAfter);
    QFETCH(int, announced);

    // Preset 1 is selected beforehand, through a "Rock" that was never saved.
    at(4).store("Rock", {});
    eq->setToPreset(1);
    if (id >= 0 && id < 4)
        at(4).store(eq->presetList()->at(id).name, stored);
    loadGains(current);
    if (band3Refused)
        card->failWrites({"User PEQ Band3 Gain"});
    QSignalSpy presetChanged(eq, &Equalizer::activatedPresetIdChanged);

    eq->setToPreset(id);

    QCOMPARE(card->commands(), sent);
    QCOMPARE(shownGains(), gainsAfter);
    QCOMPARE(eq->property("activatedPresetId").toInt(), presetAfter);
    QCOMPARE(at(4).stored("PresetedId").toInt(), presetAfter);
    QCOMPARE(presetChanged.count(), announced);
}

void TestPresets::traces_data()
{
    QTest::addColumn<int>("level");
    QTest::addColumn<bool>("apply"); // save preset 2, or apply it
    QTest::addColumn<QByteArrayList>("lines");

    QByteArrayList saved{"saveToPresets(id=2)"};
    QByteArrayList applied{"setToPresets(id=2)"};
    for (int i = 0; i < 10; ++i) {
        // Gains as the start-up tuning leaves them: flat.
        saved << "insert gain: " + bandNames[i].toUtf8() + ", 0";
        applied << QByteArray("changeGain(%1, 0)").replace("%1", QByteArray::number(i + 1));
    }
    saved << "updatePresetedId(2)";
    applied << "updatePresetedId(2)";
    QTest::newRow("level 4, save: id, ten gains, preset") << 4 << false << saved;
    QTest::newRow("level 4, apply: id, ten band entries, preset") << 4 << true << applied;
    QTest::newRow("level 2, save: preset only") << 2 << false << QByteArrayList{"updatePresetedId(2)"};
    QTest::newRow("level 2, apply: band entries and preset") << 2 << true << applied.mid(1);
    QTest::newRow("level 1, apply: nothing") << 1 << true << QByteArrayList{};
}

void TestPresets::traces()
{
    QFETCH(int, level);
    QFETCH(bool, apply);
    QFETCH(QByteArrayList, lines);

    Instance &traced = at(level);
    traced.eq->changePeq(0);
    traced.store("Vocal", preset({0, 0, 0, 0, 0, 0, 0, 0, 0, 0}));
    QByteArray written;
    {
        // Closed before comparing, so that a failure report is not captured with the traces.
        StdoutCapture out;
        if (apply)
            traced.eq->setToPreset(2);
        else
            traced.eq->saveToPresets(2);
        written = out.text();
    }
    QCOMPARE(traceLines(written), lines);
}

QTEST_GUILESS_MAIN(TestPresets)
#include "tst_presets.moc"
