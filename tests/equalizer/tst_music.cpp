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

QString dbeWrite(const QString &word, int value)
{
    return QStringLiteral("amixer sset \"Music DBE %1\" %2").arg(word).arg(value);
}

QString delayWrite(int chan, int delay)
{
    return QStringLiteral("amixer sset \"Music Chan%1 Delay\" %2").arg(chan).arg(delay);
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

class TestMusic : public QObject
{
    Q_OBJECT

private:
    QList<int> shownDelays() const;
    Instance &at(int debugLevel);

    std::unique_ptr<VirtualCard> card;
    std::map<int, std::unique_ptr<Instance>> instances;
    Equalizer *eq = nullptr;

private slots:
    void initTestCase();
    void init();
    void cleanupTestCase();

    void changeDBEParams_data();
    void changeDBEParams();
    void changeChanDelay_data();
    void changeChanDelay();
    void setSweetspot_data();
    void setSweetspot();
    void readBack_data();
    void readBack();
    void traces_data();
    void traces();
    void recordedAsBuilt_data();
    void recordedAsBuilt();
};

void TestMusic::initTestCase()
{
    card = std::make_unique<VirtualCard>();
    QVERIFY2(card->isValid(), qPrintable(card->errorString()));
    eq = at(4).eq.get();
}

void TestMusic::init()
{
    card->failWrites({});
    card->failReads({});
    card->setPowerOnState();
    card->clearLogs();
}

void TestMusic::cleanupTestCase()
{
    instances.clear();
    card.reset();
}

Instance &TestMusic::at(int debugLevel)
{
    auto &instance = instances[debugLevel];
    if (!instance)
        instance = std::make_unique<Instance>(debugLevel);
    return *instance;
}

QList<int> TestMusic::shownDelays() const
{
    QList<int> delays;
    for (int chan = 1; chan <= 4; ++chan)
        delays << eq->property(QStringLiteral("chan%1Delay").arg(chan).toUtf8()).toInt();
    return delays;
}

// Each row calls changeDBEParams twice with the same arguments.
void TestMusic::changeDBEParams_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<int>("value");
    QTest::addColumn<bool>("refused");
    QTest::addColumn<QStringList>("sent");
    QTest::addColumn<bool>("first");
    QTest::addColumn<QByteArray>("property");
    QTest::addColumn<int>("shown");

    QTest::newRow("Mix Balance 70 twice: sent once, second call false")
            << 2 << 70 << false << QStringList{dbeWrite("Mix Balance", 70)} << true << QByteArray("DBEMixBalance") << 70;
    QTest::newRow("Switch Mode 2 twice: sent once")
            << 0 << 2 << false << QStringList{dbeWrite("Switch Mode", 2)} << true << QByteArray("DBEModeIdx") << 2;
    QTest::newRow("Harm Content 0 twice: sent once")
            << 7 << 0 << false << QStringList{dbeWrite("Harm Content", 0)} << true << QByteArray("DBEHarmContent") << 0;
    QTest::newRow("Amp Limit 80, as read back at start: nothing sent, false")
            << 4 << 80 << false << QStringList{} << false << QByteArray("DBEAmpLimit") << 80;
    QTest::newRow("Xover FC refused by the card: unchanged, so sent again")
            << 1 << 200 << true << QStringList{dbeWrite("Xover FC", 200), dbeWrite("Xover FC", 200)} << false
            << QByteArray("DBEXoverFC") << 80;
    QTest::newRow("type 8, no word: sent with an empty name, the card refuses")
            << 8 << 5 << false << QStringList{dbeWrite("", 5), dbeWrite("", 5)} << false << QByteArray("DBEHPFC") << 40;
}

void TestMusic::changeDBEParams()
{
    QFETCH(int, type);
    QFETCH(int, value);
    QFETCH(bool, refused);
    QFETCH(QStringList, sent);
    QFETCH(bool, first);
    QFETCH(QByteArray, property);
    QFETCH(int, shown);

    if (refused)
        card->failWrites({"Music DBE Xover FC"});
    QSignalSpy changed(eq, &Equalizer::dbeParamsChanged);

    QCOMPARE(eq->changeDBEParams(type, value), first);
    QVERIFY(!eq->changeDBEParams(type, value));

    QCOMPARE(card->commands(), sent);
    QCOMPARE(changed.count(), first ? 1 : 0);
    QCOMPARE(eq->property(property).toInt(), shown);
}

// Each row calls changeChanDelay twice with the same arguments: an unchanged delay is sent again.
void TestMusic::changeChanDelay_data()
{
    QTest::addColumn<int>("chan");
    QTest::addColumn<int>("delay");
    QTest::addColumn<bool>("refused");
    QTest::addColumn<bool>("sent");
    QTest::addColumn<bool>("result");

    QTest::newRow("channel 1 to 768: sent both times") << 1 << 768 << false << true << true;
    QTest::newRow("channel 4 to 0: sent both times") << 4 << 0 << false << true << true;
    QTest::newRow("channel 1 to 769: refused, nothing sent") << 1 << 769 << false << false << false;
    QTest::newRow("channel 2 to -1: refused, nothing sent") << 2 << -1 << false << false << false;
    QTest::newRow("lowest int delay: refused, nothing sent") << 2 << std::numeric_limits<int>::min() << false << false << false;
    QTest::newRow("channel 3 refused by the card: nothing changes") << 3 << 300 << true << true << false;
    QTest::newRow("channel 5, no such control: the card refuses") << 5 << 100 << false << true << false;
}

void TestMusic::changeChanDelay()
{
    QFETCH(int, chan);
    QFETCH(int, delay);
    QFETCH(bool, refused);
    QFETCH(bool, sent);
    QFETCH(bool, result);

    eq->setSweetspot(1); // a known, non-zero delay on every channel: 91 203 203 272
    const QList<int> before = shownDelays();
    if (refused)
        card->failWrites({QStringLiteral("Music Chan%1 Delay").arg(chan)});
    card->clearLogs();
    QSignalSpy changed(eq, &Equalizer::chanDelaysChanged);

    QCOMPARE(eq->changeChanDelay(chan, delay), result);
    QCOMPARE(eq->changeChanDelay(chan, delay), result);

    const QStringList twice{delayWrite(chan, delay), delayWrite(chan, delay)};
    QCOMPARE(card->commands(), sent ? twice : QStringList());
    QCOMPARE(changed.count(), result ? 2 : 0);
    QList<int> expected = before;
    if (result)
        expected[chan - 1] = delay;
    QCOMPARE(shownDelays(), expected);
    if (result)
        QCOMPARE(card->value(QStringLiteral("Music Chan%1 Delay").arg(chan)), delay);
}

void TestMusic::setSweetspot_data()
{
    QTest::addColumn<int>("id");
    QTest::addColumn<QList<int>>("delays"); // written to channels 1 to 4; empty: nothing sent
    QTest::addColumn<bool>("refused");

    QTest::newRow("-1: stored, nothing sent") << -1 << QList<int>{} << false;
    QTest::newRow("0: stored, nothing sent") << 0 << QList<int>{} << false;
    QTest::newRow("1: shortest delay on channel 1") << 1 << QList<int>{91, 203, 203, 272} << false;
    QTest::newRow("2: shortest delay on channel 2") << 2 << QList<int>{203, 91, 272, 203} << false;
    QTest::newRow("3: shortest delay on channel 3") << 3 << QList<int>{203, 272, 91, 203} << false;
    QTest::newRow("4: shortest delay on channel 4") << 4 << QList<int>{272, 203, 203, 91} << false;
    QTest::newRow("5: stored, nothing sent") << 5 << QList<int>{} << false;
    QTest::newRow("3, every delay refused by the card: id still stored")
            << 3 << QList<int>{203, 272, 91, 203} << true;
}

void TestMusic::setSweetspot()
{
    QFETCH(int, id);
    QFETCH(QList<int>, delays);
    QFETCH(bool, refused);

    for (int chan = 1; chan <= 4; ++chan)
        eq->changeChanDelay(chan, 10 * chan);
    if (refused)
        card->failWrites({"Music Chan1 Delay", "Music Chan2 Delay", "Music Chan3 Delay", "Music Chan4 Delay"});
    card->clearLogs();
    QSignalSpy idChanged(eq, &Equalizer::sweetspotIdChanged);

    eq->setSweetspot(id);

    QStringList sent;
    for (int chan = 1; chan <= delays.size(); ++chan)
        sent << delayWrite(chan, delays[chan - 1]);
    QCOMPARE(card->commands(), sent);
    QCOMPARE(idChanged.count(), 1);
    QCOMPARE(eq->property("sweetspotId").toInt(), id);
    QCOMPARE(at(4).stored("Sweetspot").toInt(), id);
    QCOMPARE(shownDelays(), delays.isEmpty() || refused ? (QList<int>{10, 20, 30, 40}) : delays);
}

// The profile read-back fills the DBE and delay properties from the card, -1 for a failed read.
void TestMusic::readBack_data()
{
    QTest::addColumn<QStringList>("missing");
    QTest::addColumn<QList<int>>("dbe");
    QTest::addColumn<QList<int>>("delays");

    // The Velto tuning sets the DBE block and leaves the delays as they are.
    QTest::newRow("Velto tuning, delays as set") << QStringList{} << QList<int>{1, 100, 60, 70, 85, 150, 50, 60}
                                                 << QList<int>{11, 22, 33, 44};
    QTest::newRow("LP FC and channel 2 missing: read as -1")
            << QStringList{"Music DBE LP FC", "Music Chan2 Delay"} << QList<int>{1, 100, 60, 70, 85, -1, 50, 60}
            << QList<int>{11, -1, 33, 44};
}

void TestMusic::readBack()
{
    QFETCH(QStringList, missing);
    QFETCH(QList<int>, dbe);
    QFETCH(QList<int>, delays);

    for (int chan = 1; chan <= 4; ++chan)
        card->setValue(QStringLiteral("Music Chan%1 Delay").arg(chan), 11 * chan);
    card->failReads(missing);
    card->clearLogs();
    QSignalSpy dbeChanged(eq, &Equalizer::dbeParamsChanged);
    QSignalSpy delaysChanged(eq, &Equalizer::chanDelaysChanged);

    eq->setToProfiles(1);

    const QStringList words{"Switch Mode", "Xover FC", "Mix Balance", "Effect Strength",
                            "Amp Limit",   "LP FC",    "HP FC",       "Harm Content"};
    QStringList reads;
    for (const QString &word : words)
        reads << QStringLiteral("amixer sget \"Music DBE %1\"").arg(word);
    for (int chan = 1; chan <= 4; ++chan)
        reads << QStringLiteral("amixer sget \"Music Chan%1 Delay\"").arg(chan);
    QCOMPARE(card->commands().filter(QRegularExpression(QStringLiteral("^amixer sget \"Music "))), reads);

    QList<int> shownDbe;
    for (const char *name : {"DBEModeIdx", "DBEXoverFC", "DBEMixBalance", "DBEEffectStrength", "DBEAmpLimit",
                             "DBELPFC", "DBEHPFC", "DBEHarmContent"})
        shownDbe << eq->property(name).toInt();
    QCOMPARE(shownDbe, dbe);
    QCOMPARE(shownDelays(), delays);
    QCOMPARE(dbeChanged.count(), 1);
    QCOMPARE(delaysChanged.count(), 1);
}

void TestMusic::traces_data()
{
    QTest::addColumn<int>("level");
    QTest::addColumn<Action>("action");
    QTest::addColumn<QByteArrayList>("lines");

    const Action delay = [](Equalizer &e) { e.changeChanDelay(2, 100); };
    const Action dbe = [](Equalizer &e) { e.changeDBEParams(3, 33); };
    const QByteArray delayCmd = "changeChanDelay cmd: amixer sset \"Music Chan2 Delay\" 100";

    QTest::newRow("level 4, delay: entry and command") << 4 << delay << QByteArrayList{"changeChanDelay(2, 100)", delayCmd};
    QTest::newRow("level 4, delay too long: entry only")
            << 4 << Action([](Equalizer &e) { e.changeChanDelay(2, 769); }) << QByteArrayList{"changeChanDelay(2, 769)"};
    QTest::newRow("level 4, DBE: command")
            << 4 << dbe << QByteArrayList{"changeDBEParams cmd: amixer sset \"Music DBE Effect Strength\" 33"};
    QTest::newRow("level 4, DBE unchanged: nothing") << 4 << dbe << QByteArrayList{};
    QTest::newRow("level 4, sweet spot 0: nothing") << 4 << Action([](Equalizer &e) { e.setSweetspot(0); }) << QByteArrayList{};
    QTest::newRow("level 2, delay and DBE: delay entry and command")
            << 2 << Action([=](Equalizer &e) { delay(e); dbe(e); }) << QByteArrayList{"changeChanDelay(2, 100)", delayCmd};
    QTest::newRow("level 1, delay and DBE: delay command only")
            << 1 << Action([=](Equalizer &e) { delay(e); dbe(e); }) << QByteArrayList{delayCmd};
    QTest::newRow("level 0, delay and DBE: nothing") << 0 << Action([=](Equalizer &e) { delay(e); dbe(e); }) << QByteArrayList{};
}

void TestMusic::traces()
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

// The recorder gets the commands as built, never what the runner appended to its own copy.
void TestMusic::recordedAsBuilt_data()
{
    QTest::addColumn<Action>("action");
    QTest::addColumn<QStringList>("cmds");

    QTest::newRow("DBE") << Action([](Equalizer &e) { e.changeDBEParams(5, 200); }) << QStringList{dbeWrite("LP FC", 200)};
    QTest::newRow("delay") << Action([](Equalizer &e) { e.changeChanDelay(3, 50); }) << QStringList{delayWrite(3, 50)};
    QTest::newRow("sweet spot 2: four delays")
            << Action([](Equalizer &e) { e.setSweetspot(2); })
            << QStringList{delayWrite(1, 203), delayWrite(2, 91), delayWrite(3, 272), delayWrite(4, 203)};
}

void TestMusic::recordedAsBuilt()
{
    QFETCH(Action, action);
    QFETCH(QStringList, cmds);

    Instance &quiet = at(0); // level 0: the runner appends its redirection
    card->clearLogs();
    action(*quiet.eq);
    QStringList run;
    for (const QString &cmd : cmds)
        run << cmd + " < /dev/null 2>&1";
    QCOMPARE(card->commands(), run);

    quiet.eq->saveToProfiles(0);
    const QVariantHash recorded = quiet.stored("User Profile").toHash();
    for (const QString &cmd : cmds)
        QCOMPARE(recorded.value(cmd.left(cmd.lastIndexOf(' '))).toString(), cmd);
}

QTEST_GUILESS_MAIN(TestMusic)
#include "tst_music.moc"
