#include "equalizer/equalizer.h"
#include "support/stdoutcapture.h"
#include "support/virtualcard.h"

#include <QSettings>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtTest>

#include <functional>
#include <limits>
#include <map>
#include <memory>

using Action = std::function<void(Equalizer &)>;
Q_DECLARE_METATYPE(Action)

namespace {

const QString sset = QStringLiteral("amixer sset ");
const QString sget = QStringLiteral("amixer sget ");

QString bandGain(const QString &peq, int band)
{
    return QStringLiteral("\"%1 PEQ Band%2 Gain\"").arg(peq).arg(band);
}

// A controller on its own settings file, started at a given debug level.
struct Instance {
    explicit Instance(int debugLevel = 4)
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

class TestPeq : public QObject
{
    Q_OBJECT

private:
    // Puts PEQ "User" on the card at the given dB values and lets the controller read them back.
    void loadGains(const QList<int> &bands, int master = 0);
    Instance &at(int debugLevel);

    std::unique_ptr<VirtualCard> card;
    std::map<int, std::unique_ptr<Instance>> instances;
    Equalizer *eq = nullptr;

private slots:
    void initTestCase();
    void init();
    void cleanupTestCase();

    void changeGain_data();
    void changeGain();
    void modeAndCoreTypeAlwaysSent_data();
    void modeAndCoreTypeAlwaysSent();
    void changePeq_data();
    void changePeq();
    void resetGains_data();
    void resetGains();
    void bandFrequenciesAtStart();
    void traces_data();
    void traces();
    void recordedAsBuilt_data();
    void recordedAsBuilt();
};

void TestPeq::initTestCase()
{
    card = std::make_unique<VirtualCard>();
    QVERIFY2(card->isValid(), qPrintable(card->errorString()));
    eq = at(4).eq.get();
}

void TestPeq::init()
{
    card->failWrites({});
    card->failReads({});
    card->setPowerOnState();
    eq->changePeq(0);
    card->clearLogs();
}

void TestPeq::cleanupTestCase()
{
    instances.clear();
    card.reset();
}

Instance &TestPeq::at(int debugLevel)
{
    auto &instance = instances[debugLevel];
    if (!instance)
        instance = std::make_unique<Instance>(debugLevel);
    return *instance;
}

void TestPeq::loadGains(const QList<int> &bands, int master)
{
    card->setValue(QStringLiteral("User PEQ Master Gain"), master + 60);
    for (int i = 0; i < bands.size(); ++i)
        card->setValue(QStringLiteral("User PEQ Band%1 Gain").arg(i + 1), bands[i] + 60);
    eq->changePeq(0);
    card->clearLogs();
}

void TestPeq::changeGain_data()
{
    QTest::addColumn<int>("band");
    QTest::addColumn<int>("gain");
    QTest::addColumn<bool>("refused"); // the card refuses the write
    QTest::addColumn<bool>("result");
    QTest::addColumn<QString>("sent");
    QTest::addColumn<int>("presetAfter");
    QTest::addColumn<QByteArray>("property");
    QTest::addColumn<int>("value");

    const QString band3 = sset + bandGain("User", 3);
    QTest::newRow("band 3 to +4: written as 64, preset deselected")
            << 3 << 4 << false << true << band3 + " 64" << -1 << QByteArray("gain3") << 4;
    QTest::newRow("band 3 unchanged at 0: nothing sent, preset kept")
            << 3 << 0 << false << true << "" << 1 << QByteArray("gain3") << 0;
    QTest::newRow("band 10 to the lowest gain: written as 0")
            << 10 << -60 << false << true << sset + bandGain("User", 10) + " 0" << -1 << QByteArray("gain10") << -60;
    QTest::newRow("band 1 to the highest gain: written as 80")
            << 1 << 20 << false << true << sset + bandGain("User", 1) + " 80" << -1 << QByteArray("gain1") << 20;
    QTest::newRow("band 1 above the highest gain: refused")
            << 1 << 21 << false << false << "" << 1 << QByteArray("gain1") << 0;
    QTest::newRow("band 1 below the lowest gain: refused")
            << 1 << -61 << false << false << "" << 1 << QByteArray("gain1") << 0;
    QTest::newRow("master to -6: written as 54, preset kept")
            << 0 << -6 << false << true << sset + "\"User PEQ Master Gain\" 54" << 1 << QByteArray("masterGain") << -6;
    QTest::newRow("band 11, gain 5: refused") << 11 << 5 << false << false << "" << 1 << QByteArray("gain10") << 0;
    QTest::newRow("band -1, gain 5: refused") << -1 << 5 << false << false << "" << 1 << QByteArray("gain1") << 0;
    QTest::newRow("lowest int as band, gain 5: refused")
            << std::numeric_limits<int>::min() << 5 << false << false << "" << 1 << QByteArray("gain1") << 0;
    QTest::newRow("band 11, gain 0: unchanged, nothing sent") << 11 << 0 << false << true << "" << 1 << QByteArray("gain10") << 0;
    QTest::newRow("band 3 refused by the card: nothing changes")
            << 3 << 4 << true << false << band3 + " 64" << 1 << QByteArray("gain3") << 0;
    QTest::newRow("master refused by the card: nothing changes")
            << 0 << 4 << true << false << sset + "\"User PEQ Master Gain\" 64" << 1 << QByteArray("masterGain") << 0;
}

void TestPeq::changeGain()
{
    QFETCH(int, band);
    QFETCH(int, gain);
    QFETCH(bool, refused);
    QFETCH(bool, result);
    QFETCH(QString, sent);
    QFETCH(int, presetAfter);
    QFETCH(QByteArray, property);
    QFETCH(int, value);

    eq->setToPreset(1); // never saved: selects preset 1 without sending anything
    QCOMPARE(eq->property("activatedPresetId").toInt(), 1);
    if (refused)
        card->failWrites({"User PEQ Band3 Gain", "User PEQ Master Gain"});
    card->clearLogs();
    QSignalSpy gainChanged(eq, &Equalizer::gainChanged);

    QCOMPARE(eq->changeGain(band, gain), result);

    const QStringList expected = sent.isEmpty() ? QStringList() : QStringList{sent};
    QCOMPARE(card->commands(), expected);
    const bool written = result && !sent.isEmpty();
    QCOMPARE(card->journal().size(), written ? 1 : 0);
    QCOMPARE(gainChanged.count(), written ? 1 : 0);
    QCOMPARE(eq->property(property).toInt(), value);
    QCOMPARE(eq->property("activatedPresetId").toInt(), presetAfter);
}

// Mode and core type are written even when the value is the one already held.
void TestPeq::modeAndCoreTypeAlwaysSent_data()
{
    QTest::addColumn<QByteArray>("slot");
    QTest::addColumn<int>("value");
    QTest::addColumn<bool>("refused");
    QTest::addColumn<QString>("sent");
    QTest::addColumn<QByteArray>("property");

    const QString mode = sset + "\"User PEQ Switch Mode\" ";
    const QString core = sset + "\"User PEQ Core Type\" ";
    QTest::newRow("mode 2 twice: sent twice") << QByteArray("changeMode") << 2 << false << mode + "2" << QByteArray("currentModeIdx");
    QTest::newRow("mode 1, the one held: still sent") << QByteArray("changeMode") << 1 << false << mode + "1" << QByteArray("currentModeIdx");
    QTest::newRow("core type 2 twice: sent twice") << QByteArray("changeCoreType") << 2 << false << core + "2" << QByteArray("currentCoreTypeIdx");
    QTest::newRow("core type 0, the one held: still sent") << QByteArray("changeCoreType") << 0 << false << core + "0" << QByteArray("currentCoreTypeIdx");
    QTest::newRow("mode 0 refused by the card: nothing changes") << QByteArray("changeMode") << 0 << true << mode + "0" << QByteArray("currentModeIdx");
    QTest::newRow("core type 1 refused by the card: nothing changes") << QByteArray("changeCoreType") << 1 << true << core + "1" << QByteArray("currentCoreTypeIdx");
}

void TestPeq::modeAndCoreTypeAlwaysSent()
{
    QFETCH(QByteArray, slot);
    QFETCH(int, value);
    QFETCH(bool, refused);
    QFETCH(QString, sent);
    QFETCH(QByteArray, property);

    if (refused)
        card->failWrites({"User PEQ Switch Mode", "User PEQ Core Type"});
    const int before = eq->property(property).toInt();
    const QMetaObject *meta = eq->metaObject();
    QSignalSpy changed(eq, meta->method(meta->indexOfSignal(property + "Changed(int)")));
    QSignalSpy otherChanged(eq, property == "currentModeIdx" ? &Equalizer::currentCoreTypeIdxChanged
                                                             : &Equalizer::currentModeIdxChanged);

    for (int i = 0; i < 2; ++i) {
        bool ok = !refused;
        QVERIFY(QMetaObject::invokeMethod(eq, slot.constData(), Q_RETURN_ARG(bool, ok), Q_ARG(int, value)));
        QCOMPARE(ok, !refused);
    }

    QCOMPARE(card->commands(), (QStringList{sent, sent}));
    QCOMPARE(eq->property(property).toInt(), refused ? before : value);
    QCOMPARE(changed.count(), refused ? 0 : 2);
    if (!refused)
        QCOMPARE(changed.at(1).at(0).toInt(), value);
    QCOMPARE(otherChanged.count(), 0);
}

void TestPeq::changePeq_data()
{
    QTest::addColumn<int>("idx");
    QTest::addColumn<QString>("name");
    QTest::addColumn<int>("mode");
    QTest::addColumn<int>("coreType");
    QTest::addColumn<QList<int>>("gains"); // master, then bands 1 to 10

    // The card is set to mode 2, core type 1, master -10 dB and band n to n dB before the switch.
    QTest::newRow("Spk2: mode, core type and eleven gains read back")
            << 2 << "Spk2" << 2 << 1 << QList<int>{-10, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10};
    QTest::newRow("7: empty PEQ name, every read fails") << 7 << "" << -1 << -1 << QVector<int>(11, -61).toList();
}

void TestPeq::changePeq()
{
    QFETCH(int, idx);
    QFETCH(QString, name);
    QFETCH(int, mode);
    QFETCH(int, coreType);
    QFETCH(QList<int>, gains);

    if (!name.isEmpty()) {
        card->setValue(name + " PEQ Switch Mode", 2);
        card->setValue(name + " PEQ Core Type", 1);
        card->setValue(name + " PEQ Master Gain", 50);
        for (int band = 1; band <= 10; ++band)
            card->setValue(QStringLiteral("%1 PEQ Band%2 Gain").arg(name).arg(band), 60 + band);
    }
    QSignalSpy peqChanged(eq, &Equalizer::currentPeqIdxChanged);
    QSignalSpy nameChanged(eq, &Equalizer::currentPeqNameChanged);
    QSignalSpy modeChanged(eq, &Equalizer::currentModeIdxChanged);
    QSignalSpy coreTypeChanged(eq, &Equalizer::currentCoreTypeIdxChanged);
    QSignalSpy gainChanged(eq, &Equalizer::gainChanged);

    QVERIFY(eq->setProperty("currentPeqIdx", idx)); // as a QML binding writes it

    QStringList reads{sget + "\"" + name + " PEQ Switch Mode\"", sget + "\"" + name + " PEQ Core Type\"",
                      sget + "\"" + name + " PEQ Master Gain\""};
    for (int band = 1; band <= 10; ++band)
        reads << sget + bandGain(name, band);
    QCOMPARE(card->commands(), reads);

    QCOMPARE(eq->property("currentPeqName").toString(), name);
    QCOMPARE(peqChanged.count(), 1);
    QCOMPARE(peqChanged.at(0).at(0).toInt(), idx);
    QCOMPARE(nameChanged.count(), 1);
    // The core type is announced through the mode signal, never through its own.
    QCOMPARE(modeChanged.count(), 2);
    QCOMPARE(modeChanged.at(0).at(0).toInt(), mode);
    QCOMPARE(modeChanged.at(1).at(0).toInt(), coreType);
    QCOMPARE(coreTypeChanged.count(), 0);
    QCOMPARE(gainChanged.count(), 1);
    QCOMPARE(eq->property("currentModeIdx").toInt(), mode);
    QCOMPARE(eq->property("currentCoreTypeIdx").toInt(), coreType);
    QList<int> shown{eq->property("masterGain").toInt()};
    for (int band = 1; band <= 10; ++band)
        shown << eq->property(QByteArray("gain") + QByteArray::number(band)).toInt();
    QCOMPARE(shown, gains);
}

void TestPeq::resetGains_data()
{
    QTest::addColumn<QList<int>>("bands");
    QTest::addColumn<QStringList>("sent");
    QTest::addColumn<int>("presetAfter");

    QTest::newRow("three bands off 0: only those written, in band order")
            << QList<int>{0, 5, 0, 0, -12, 0, 0, 0, 0, 20}
            << QStringList{sset + bandGain("User", 2) + " 60", sset + bandGain("User", 5) + " 60",
                           sset + bandGain("User", 10) + " 60"}
            << -1;
    QTest::newRow("all flat: nothing sent, preset kept") << QList<int>{0, 0, 0, 0, 0, 0, 0, 0, 0, 0} << QStringList{} << 1;
}

void TestPeq::resetGains()
{
    QFETCH(QList<int>, bands);
    QFETCH(QStringList, sent);
    QFETCH(int, presetAfter);

    loadGains(bands, -5);
    eq->setToPreset(1);

    eq->resetGains();

    QCOMPARE(card->commands(), sent);
    for (int band = 1; band <= 10; ++band)
        QCOMPARE(card->value(QStringLiteral("User PEQ Band%1 Gain").arg(band)), 60);
    QCOMPARE(eq->property("masterGain").toInt(), -5);
    QCOMPARE(card->value("User PEQ Master Gain"), 55);
    QCOMPARE(eq->property("activatedPresetId").toInt(), presetAfter);
}

// Start-up writes the centre frequency of every band of every PEQ, and records none of them.
void TestPeq::bandFrequenciesAtStart()
{
    card->setValue("Spk4 PEQ Band10 FC", 100);
    Instance started;
    const int hz[] = {60, 170, 310, 600, 1000, 3000, 6000, 12000, 14000, 16000};
    QStringList expected;
    for (const char *peq : {"User", "Spk1", "Spk2", "Spk3", "Spk4"})
        for (int band = 1; band <= 10; ++band)
            expected << QStringLiteral("amixer sset \"%1 PEQ Band%2 FC\" %3").arg(peq).arg(band).arg(hz[band - 1]);
    const QStringList fcWrites = card->commands().filter(QRegularExpression(QStringLiteral("PEQ Band\\d+ FC\"")));
    QCOMPARE(fcWrites, expected);
    QCOMPARE(card->value("Spk4 PEQ Band10 FC"), 16000);

    started.eq->saveToProfiles(0);
    const QVariantHash recorded = started.stored("User Profile").toHash();
    for (const QString &key : recorded.keys())
        QVERIFY2(!key.contains(" FC\""), qPrintable(key));
}

void TestPeq::traces_data()
{
    QTest::addColumn<int>("level");
    QTest::addColumn<Action>("action");
    QTest::addColumn<QByteArrayList>("lines");

    const Action band = [](Equalizer &e) { e.changeGain(3, 4); };
    const Action master = [](Equalizer &e) { e.changeGain(0, -3); };
    const Action modeAndCore = [](Equalizer &e) {
        e.changeMode(2);
        e.changeCoreType(1);
    };
    QTest::newRow("level 4, band: entry, command, preset")
            << 4 << band
            << QByteArrayList{"changeGain(3, 4)", "changeGain cmd: amixer sset \"User PEQ Band3 Gain\" 64",
                              "updatePresetedId(-1)"};
    QTest::newRow("level 4, master: entry and command, no preset")
            << 4 << master << QByteArrayList{"changeGain(0, -3)", "changeGain cmd: amixer sset \"User PEQ Master Gain\" 57"};
    QTest::newRow("level 4, unchanged band: entry only")
            << 4 << Action([](Equalizer &e) { e.changeGain(3, e.gain3()); })
            << QByteArrayList{"changeGain(3, 0)"};
    QTest::newRow("level 2, band: entry and preset, no command")
            << 2 << band << QByteArrayList{"changeGain(3, 4)", "updatePresetedId(-1)"};
    QTest::newRow("level 1, mode and core type: commands only")
            << 1 << modeAndCore
            << QByteArrayList{"changMode cmd: amixer sset \"User PEQ Switch Mode\" 2",
                              "changeCoreType cmd: amixer sset \"User PEQ Core Type\" 1"};
    QTest::newRow("level 1, band: nothing") << 1 << Action([](Equalizer &e) { e.changeGain(3, -4); }) << QByteArrayList{};
    QTest::newRow("level 0, band, mode and core type: nothing")
            << 0 << Action([=](Equalizer &e) { band(e); e.changeMode(0); e.changeCoreType(2); }) << QByteArrayList{};
}

void TestPeq::traces()
{
    QFETCH(int, level);
    QFETCH(Action, action);
    QFETCH(QByteArrayList, lines);

    Equalizer &traced = *at(level).eq;
    QByteArray written;
    {
        // Closed before comparing, so that a failure report is not captured with the traces.
        StdoutCapture out;
        action(traced);
        written = out.text();
    }
    QCOMPARE(traceLines(written), lines);
}

// The recorder gets the command as built, never what the runner appended to its own copy.
void TestPeq::recordedAsBuilt_data()
{
    QTest::addColumn<Action>("action");
    QTest::addColumn<QString>("cmd");

    QTest::newRow("band gain") << Action([](Equalizer &e) { e.changeGain(7, -9); }) << sset + bandGain("User", 7) + " 51";
    QTest::newRow("master gain") << Action([](Equalizer &e) { e.changeGain(0, 9); }) << sset + "\"User PEQ Master Gain\" 69";
    QTest::newRow("mode") << Action([](Equalizer &e) { e.changeMode(0); }) << sset + "\"User PEQ Switch Mode\" 0";
    QTest::newRow("core type") << Action([](Equalizer &e) { e.changeCoreType(2); }) << sset + "\"User PEQ Core Type\" 2";
}

void TestPeq::recordedAsBuilt()
{
    QFETCH(Action, action);
    QFETCH(QString, cmd);

    Instance &quiet = at(0); // level 0: the runner appends its redirection
    card->clearLogs();
    action(*quiet.eq);
    QCOMPARE(card->commands(), QStringList{cmd + " < /dev/null 2>&1"});

    quiet.eq->saveToProfiles(0);
    const QVariantHash recorded = quiet.stored("User Profile").toHash();
    QCOMPARE(recorded.value(cmd.left(cmd.lastIndexOf(' '))).toString(), cmd);
}

QTEST_GUILESS_MAIN(TestPeq)
#include "tst_peq.moc"
