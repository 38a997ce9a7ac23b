// Music DBE parameters, channel delays and sweet spots as the scene drives them, against the real
// amixer on the virtual card. One card and one controller (debug level 4) serve every row; init()
// puts the card back to its power-on values (delays 0, DBE as the default tuning sets it).

#include "equalizer/equalizer.h"
#include "support/stdoutcapture.h"
#include "support/virtualcard.h"

#include <QSettings>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtTest>

#include <functional>
#include <limits>
#include <memory>

using L = QStringList;
using Ints = QList<int>;

namespace {

const L dbeWords{"Switch Mode", "Xover FC", "Mix Balance", "Effect Strength", "Amp Limit", "LP FC", "HP FC", "Harm Content"};
const L dbeProperties{"DBEModeIdx", "DBEXoverFC", "DBEMixBalance", "DBEEffectStrength",
                      "DBEAmpLimit", "DBELPFC", "DBEHPFC", "DBEHarmContent"};

QString dbeCmd(const QString &word, int value)
{
    return QStringLiteral("amixer sset \"Music DBE %1\" %2").arg(word).arg(value);
}

QString delayCmd(int chan, int delay)
{
    return QStringLiteral("amixer sset \"Music Chan%1 Delay\" %2").arg(chan).arg(delay);
}

// A controller on a settings file of its own, started at the given debug level.
struct Instance {
    explicit Instance(int level)
    {
        paths.settingsFile = dir.filePath("Equalizer.conf");
        paths.settingsLock = dir.filePath("Equalizer.conf.lock");
        paths.keyDevice = dir.filePath("no-keys");
        QSettings(paths.settingsFile, QSettings::NativeFormat).setValue("DebugLevel", level);
        eq = std::make_unique<Equalizer>(nullptr, paths);
        // With no bus and no key device both workers end at once; waiting keeps their lines out
        // of the traces a row captures.
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

// The controller's trace lines, without their tag, while the action runs; the capture is closed
// before anything is compared, so that a failure report is not swallowed.
L traced(const std::function<void()> &action)
{
    QByteArray out;
    {
        StdoutCapture capture;
        action();
        out = capture.text();
    }
    L lines;
    for (const QByteArray &line : out.split('\n'))
        if (line.startsWith("<Equalizer>"))
            lines << QString::fromUtf8(line.mid(11));
    return lines;
}

} // namespace

class TstMusic : public QObject
{
    Q_OBJECT

    std::unique_ptr<VirtualCard> card;
    std::unique_ptr<Instance> main;
    Equalizer *eq = nullptr;

    Ints shownDelays() const
    {
        Ints delays;
        for (int chan = 1; chan <= 4; ++chan)
            delays << eq->property(qPrintable(QStringLiteral("chan%1Delay").arg(chan))).toInt();
        return delays;
    }

private slots:
    void initTestCase()
    {
        card = std::make_unique<VirtualCard>();
        QVERIFY2(card->isValid(), qPrintable(card->errorString()));
        main = std::make_unique<Instance>(4);
        eq = main->eq.get();
    }

    void init()
    {
        card->failWrites({});
        card->failReads({});
        card->setPowerOnState();
        card->clearLogs();
    }

    void cleanupTestCase()
    {
        main.reset();
        card.reset();
    }

    // Each row calls changeDBEParams twice with the same arguments.
    void changeDBEParams_data()
    {
        QTest::addColumn<int>("type");
        QTest::addColumn<int>("value");
        QTest::addColumn<bool>("refused");
        QTest::addColumn<L>("sent");
        QTest::addColumn<bool>("first"); // result of the first call; the second is always false
        QTest::addColumn<int>("shown");  // the parameter's property afterwards

        QTest::newRow("Mix Balance 70 twice: sent once") << 2 << 70 << false << L{dbeCmd("Mix Balance", 70)} << true << 70;
        QTest::newRow("Switch Mode 2 twice: sent once") << 0 << 2 << false << L{dbeCmd("Switch Mode", 2)} << true << 2;
        QTest::newRow("Harm Content 0 twice: sent once") << 7 << 0 << false << L{dbeCmd("Harm Content", 0)} << true << 0;
        QTest::newRow("Amp Limit 80, as read at start: nothing sent") << 4 << 80 << false << L() << false << 80;
        QTest::newRow("Xover FC refused by the card: unchanged, so sent again")
                << 1 << 200 << true << L{dbeCmd("Xover FC", 200), dbeCmd("Xover FC", 200)} << false << 80;
        QTest::newRow("type 8, no word: sent with an empty name, refused")
                << 8 << 5 << false << L{dbeCmd("", 5), dbeCmd("", 5)} << false << 0;
    }

    void changeDBEParams()
    {
        QFETCH(int, type);
        QFETCH(int, value);
        QFETCH(bool, refused);
        QFETCH(L, sent);
        QFETCH(bool, first);
        QFETCH(int, shown);

        if (refused)
            card->failWrites({"Music DBE Xover FC"});
        QSignalSpy changed(eq, &Equalizer::dbeParamsChanged);

        QList<bool> results;
        const L lines = traced([&] { results << eq->changeDBEParams(type, value) << eq->changeDBEParams(type, value); });

        QCOMPARE(results, (QList<bool>{first, false}));
        QCOMPARE(card->commands(), sent);
        QCOMPARE(changed.count(), first ? 1 : 0);
        if (type < 8)
            QCOMPARE(eq->property(qPrintable(dbeProperties[type])).toInt(), shown);
        L expected;
        for (const QString &cmd : sent)
            expected << "changeDBEParams cmd: " + cmd;
        QCOMPARE(lines, expected);
    }

    // Each row calls changeChanDelay twice with the same arguments: an unchanged delay is sent again.
    void changeChanDelay_data()
    {
        QTest::addColumn<int>("chan");
        QTest::addColumn<int>("delay");
        QTest::addColumn<bool>("refused");
        QTest::addColumn<bool>("sent");
        QTest::addColumn<bool>("ok");

        QTest::newRow("channel 1 to 768: sent both times") << 1 << 768 << false << true << true;
        QTest::newRow("channel 4 to 0: sent both times") << 4 << 0 << false << true << true;
        QTest::newRow("channel 1 to 769: refused, nothing sent") << 1 << 769 << false << false << false;
        QTest::newRow("channel 2 to -1: refused, nothing sent") << 2 << -1 << false << false << false;
        QTest::newRow("lowest int: refused, nothing sent") << 2 << std::numeric_limits<int>::min() << false << false << false;
        QTest::newRow("channel 3 refused by the card: nothing changes") << 3 << 300 << true << true << false;
        QTest::newRow("channel 5, no such control: refused by the card") << 5 << 100 << false << true << false;
    }

    void changeChanDelay()
    {
        QFETCH(int, chan);
        QFETCH(int, delay);
        QFETCH(bool, refused);
        QFETCH(bool, sent);
        QFETCH(bool, ok);

        eq->setSweetspot(1); // a known delay on every channel, none of them 0
        Ints expected = shownDelays();
        if (ok)
            expected[chan - 1] = delay;
        if (refused)
            card->failWrites({QStringLiteral("Music Chan%1 Delay").arg(chan)});
        card->clearLogs();
        QSignalSpy changed(eq, &Equalizer::chanDelaysChanged);

        QList<bool> results;
        const L lines = traced([&] { results << eq->changeChanDelay(chan, delay) << eq->changeChanDelay(chan, delay); });

        QCOMPARE(results, (QList<bool>{ok, ok}));
        const QString cmd = delayCmd(chan, delay);
        QCOMPARE(card->commands(), sent ? (L{cmd, cmd}) : L());
        QCOMPARE(changed.count(), ok ? 2 : 0);
        QCOMPARE(shownDelays(), expected);
        const QString entry = QStringLiteral("changeChanDelay(%1, %2)").arg(chan).arg(delay);
        const L once = sent ? L{entry, "changeChanDelay cmd: " + cmd} : L{entry};
        QCOMPARE(lines, once + once);
    }

    void setSweetspot_data()
    {
        QTest::addColumn<int>("id");
        QTest::addColumn<Ints>("delays"); // written to channels 1 to 4; empty: nothing sent
        QTest::addColumn<bool>("refused");

        QTest::newRow("-1: stored, nothing sent") << -1 << Ints() << false;
        QTest::newRow("0: stored, nothing sent") << 0 << Ints() << false;
        QTest::newRow("1: shortest delay on channel 1") << 1 << Ints{91, 203, 203, 272} << false;
        QTest::newRow("2: shortest delay on channel 2") << 2 << Ints{203, 91, 272, 203} << false;
        QTest::newRow("3: shortest delay on channel 3") << 3 << Ints{203, 272, 91, 203} << false;
        QTest::newRow("4: shortest delay on channel 4") << 4 << Ints{272, 203, 203, 91} << false;
        QTest::newRow("5: stored, nothing sent") << 5 << Ints() << false;
        QTest::newRow("3, every delay refused by the card: id still stored") << 3 << Ints{203, 272, 91, 203} << true;
    }

    void setSweetspot()
    {
        QFETCH(int, id);
        QFETCH(Ints, delays);
        QFETCH(bool, refused);

        for (int chan = 1; chan <= 4; ++chan)
            eq->changeChanDelay(chan, 10 * chan);
        if (refused)
            card->failWrites({"Music Chan1 Delay", "Music Chan2 Delay", "Music Chan3 Delay", "Music Chan4 Delay"});
        card->clearLogs();
        QSignalSpy idChanged(eq, &Equalizer::sweetspotIdChanged);

        eq->setSweetspot(id);

        L sent;
        for (int chan = 1; chan <= delays.size(); ++chan)
            sent << delayCmd(chan, delays[chan - 1]);
        QCOMPARE(card->commands(), sent);
        QCOMPARE(idChanged.count(), 1);
        QCOMPARE(eq->property("sweetspotId").toInt(), id);
        QCOMPARE(main->stored("Sweetspot").toInt(), id);
        QCOMPARE(shownDelays(), delays.isEmpty() || refused ? (Ints{10, 20, 30, 40}) : delays);
    }

    // A profile ends by reading the eight DBE parameters and then the four delays, -1 for a
    // control that cannot be read. The Velto tuning sets the DBE block and leaves the delays alone.
    void readBack_data()
    {
        QTest::addColumn<L>("missing");
        QTest::addColumn<Ints>("dbe");
        QTest::addColumn<Ints>("delays");

        QTest::newRow("Velto tuning, delays as held") << L() << Ints{1, 100, 60, 70, 85, 150, 50, 60} << Ints{11, 22, 33, 44};
        QTest::newRow("LP FC and channel 2 missing: -1")
                << L{"Music DBE LP FC", "Music Chan2 Delay"} << Ints{1, 100, 60, 70, 85, -1, 50, 60} << Ints{11, -1, 33, 44};
    }

    void readBack()
    {
        QFETCH(L, missing);
        QFETCH(Ints, dbe);
        QFETCH(Ints, delays);

        for (int chan = 1; chan <= 4; ++chan)
            card->setValue(QStringLiteral("Music Chan%1 Delay").arg(chan), 11 * chan);
        card->failReads(missing);
        card->clearLogs();
        QSignalSpy dbeChanged(eq, &Equalizer::dbeParamsChanged);
        QSignalSpy delaysChanged(eq, &Equalizer::chanDelaysChanged);

        eq->setToProfiles(1);

        L reads;
        for (const QString &word : dbeWords)
            reads << QStringLiteral("amixer sget \"Music DBE %1\"").arg(word);
        for (int chan = 1; chan <= 4; ++chan)
            reads << QStringLiteral("amixer sget \"Music Chan%1 Delay\"").arg(chan);
        QCOMPARE(card->commands().filter(QRegularExpression("^amixer sget \"Music ")), reads);
        Ints shownDbe;
        for (const QString &name : dbeProperties)
            shownDbe << eq->property(qPrintable(name)).toInt();
        QCOMPARE(shownDbe, dbe);
        QCOMPARE(shownDelays(), delays);
        QCOMPARE(dbeChanged.count(), 1);
        QCOMPARE(delaysChanged.count(), 1);
    }

    // Below level 4 the runner redirects its own copy of a write; the user profile records the
    // commands as built. Level 1 traces only the delay command, level 0 nothing.
    void lowerLevels_data()
    {
        QTest::addColumn<int>("level");
        QTest::addColumn<L>("lines");

        QTest::newRow("level 1") << 1 << L{"changeChanDelay cmd: " + delayCmd(3, 50)};
        QTest::newRow("level 0") << 0 << L();
    }

    void lowerLevels()
    {
        QFETCH(int, level);
        QFETCH(L, lines);

        Instance quiet(level);
        card->clearLogs();
        QCOMPARE(traced([&] {
                     quiet.eq->changeDBEParams(5, 200);
                     quiet.eq->changeChanDelay(3, 50);
                 }),
                 lines);
        const L built{dbeCmd("LP FC", 200), delayCmd(3, 50)};
        QCOMPARE(card->commands(), (L{built[0] + " < /dev/null 2>&1", built[1] + " < /dev/null 2>&1"}));
        quiet.eq->saveToProfiles(0);
        const QVariantHash recorded = quiet.stored("User Profile").toHash();
        for (const QString &cmd : built)
            QCOMPARE(recorded.value(cmd.section(' ', 0, -2)).toString(), cmd);
    }
};

QTEST_GUILESS_MAIN(TstMusic)
#include "tst_music.moc"
