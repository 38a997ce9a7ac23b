// PEQ selection, switch mode, core type and gains as the scene drives them, against the real amixer
// on the virtual card. One card and one controller (debug level 4: every trace, no redirection)
// serve every row; init() puts the card back to its power-on values (0 dB everywhere, mode 1, core
// type 0) and lets the controller read PEQ "User" again.

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

using L = QStringList;
using Ints = QList<int>;
using Signals = QList<QVariantList>;
using Action = std::function<void(Equalizer &)>;
Q_DECLARE_METATYPE(Action)

namespace {

Signals args(const QSignalSpy &spy)
{
    return spy;
}

QString gainCmd(int band, int dsp, const QString &peq = "User")
{
    return band == 0 ? QStringLiteral("amixer sset \"%1 PEQ Master Gain\" %2").arg(peq).arg(dsp)
                     : QStringLiteral("amixer sset \"%1 PEQ Band%2 Gain\" %3").arg(peq).arg(band).arg(dsp);
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

// The controller's trace lines, without their tag, while the action runs. The capture is closed
// before anything is compared, so that a failure report is not swallowed.
L traced(Equalizer &eq, const Action &action)
{
    QByteArray out;
    {
        StdoutCapture capture;
        action(eq);
        out = capture.text();
    }
    L lines;
    for (const QByteArray &line : out.split('\n'))
        if (line.startsWith("<Equalizer>"))
            lines << QString::fromUtf8(line.mid(11));
    return lines;
}

} // namespace

class TstPeq : public QObject
{
    Q_OBJECT

    std::unique_ptr<VirtualCard> card;
    std::map<int, std::unique_ptr<Instance>> instances;
    Equalizer *eq = nullptr;

    Instance &at(int level)
    {
        auto &instance = instances[level];
        if (!instance)
            instance = std::make_unique<Instance>(level);
        return *instance;
    }

    // Master, then bands 1 to 10, as the properties show them.
    Ints shownGains() const
    {
        Ints gains{eq->property("masterGain").toInt()};
        for (int band = 1; band <= 10; ++band)
            gains << eq->property(qPrintable(QStringLiteral("gain%1").arg(band))).toInt();
        return gains;
    }

    // Puts master and band gains (dB) of PEQ "User" on the card and lets the controller read them.
    void load(const Ints &gains)
    {
        for (int band = 0; band <= 10; ++band)
            card->setValue(gainCmd(band, 0).section('"', 1, 1), gains[band] + 60);
        eq->changePeq(0);
        card->clearLogs();
    }

private slots:
    void initTestCase()
    {
        card = std::make_unique<VirtualCard>();
        QVERIFY2(card->isValid(), qPrintable(card->errorString()));
        eq = at(4).eq.get();
    }

    void init()
    {
        card->failWrites({});
        card->setPowerOnState();
        eq->changePeq(0);
        card->clearLogs();
    }

    void cleanupTestCase()
    {
        instances.clear();
        card.reset();
    }

    // Preset 1 is selected before each row; every gain starts at 0 dB.
    void changeGain_data()
    {
        QTest::addColumn<int>("band");
        QTest::addColumn<int>("gain");
        QTest::addColumn<bool>("refused");
        QTest::addColumn<bool>("ok");
        QTest::addColumn<QString>("sent");
        QTest::addColumn<int>("preset");

        const int lowest = std::numeric_limits<int>::min();
        QTest::newRow("band 3 to +4: written as 64, preset deselected") << 3 << 4 << false << true << gainCmd(3, 64) << -1;
        QTest::newRow("band 3 unchanged at 0: nothing sent") << 3 << 0 << false << true << "" << 1;
        QTest::newRow("band 10 to the lowest gain: written as 0") << 10 << -60 << false << true << gainCmd(10, 0) << -1;
        QTest::newRow("band 1 to the highest gain: written as 80") << 1 << 20 << false << true << gainCmd(1, 80) << -1;
        QTest::newRow("band 1 above the highest gain: refused") << 1 << 21 << false << false << "" << 1;
        QTest::newRow("band 1 below the lowest gain: refused") << 1 << -61 << false << false << "" << 1;
        QTest::newRow("master to -6: written as 54, preset kept") << 0 << -6 << false << true << gainCmd(0, 54) << 1;
        QTest::newRow("band 11, gain 5: refused") << 11 << 5 << false << false << "" << 1;
        QTest::newRow("band -1, gain 5: refused") << -1 << 5 << false << false << "" << 1;
        QTest::newRow("lowest int as band, gain 5: refused") << lowest << 5 << false << false << "" << 1;
        QTest::newRow("band 11, gain 0: unchanged, nothing sent") << 11 << 0 << false << true << "" << 1;
        QTest::newRow("band 3 refused by the card: nothing changes") << 3 << 4 << true << false << gainCmd(3, 64) << 1;
        QTest::newRow("master refused by the card: nothing changes") << 0 << 4 << true << false << gainCmd(0, 64) << 1;
    }

    void changeGain()
    {
        QFETCH(int, band);
        QFETCH(int, gain);
        QFETCH(bool, refused);
        QFETCH(bool, ok);
        QFETCH(QString, sent);
        QFETCH(int, preset);

        eq->setToPreset(1); // never saved: selected without a write
        if (refused)
            card->failWrites({"User PEQ Band3 Gain", "User PEQ Master Gain"});
        QSignalSpy gainChanged(eq, &Equalizer::gainChanged);
        const bool written = ok && !sent.isEmpty();
        Ints expected = shownGains();
        if (written)
            expected[band] = gain;

        bool result = !ok;
        const L lines = traced(*eq, [&](Equalizer &e) { result = e.changeGain(band, gain); });

        QCOMPARE(result, ok);
        QCOMPARE(card->commands(), sent.isEmpty() ? L() : L{sent});
        QCOMPARE(card->journal().size(), written ? 1 : 0);
        QCOMPARE(gainChanged.count(), written ? 1 : 0);
        QCOMPARE(shownGains(), expected);
        QCOMPARE(eq->property("activatedPresetId").toInt(), preset);
        L expectedLines{QStringLiteral("changeGain(%1, %2)").arg(band).arg(gain)};
        if (!sent.isEmpty())
            expectedLines << "changeGain cmd: " + sent;
        if (preset == -1)
            expectedLines << "updatePresetedId(-1)";
        QCOMPARE(lines, expectedLines);
    }

    // Called twice with the same value: both are sent, even the value the card already holds.
    void modeAndCoreType_data()
    {
        QTest::addColumn<QByteArray>("property");
        QTest::addColumn<int>("value");
        QTest::addColumn<bool>("refused");

        QTest::newRow("mode 2") << QByteArray("currentModeIdx") << 2 << false;
        QTest::newRow("mode 1, the one held") << QByteArray("currentModeIdx") << 1 << false;
        QTest::newRow("core type 2") << QByteArray("currentCoreTypeIdx") << 2 << false;
        QTest::newRow("core type 0, the one held") << QByteArray("currentCoreTypeIdx") << 0 << false;
        QTest::newRow("mode 0 refused by the card: nothing changes") << QByteArray("currentModeIdx") << 0 << true;
        QTest::newRow("core type 1 refused by the card: nothing changes") << QByteArray("currentCoreTypeIdx") << 1 << true;
    }

    void modeAndCoreType()
    {
        QFETCH(QByteArray, property);
        QFETCH(int, value);
        QFETCH(bool, refused);

        const bool mode = property == "currentModeIdx";
        const QString cmd = QStringLiteral("amixer sset \"User PEQ %1\" %2").arg(mode ? "Switch Mode" : "Core Type").arg(value);
        if (refused)
            card->failWrites({"User PEQ Switch Mode", "User PEQ Core Type"});
        const int before = eq->property(property).toInt();
        QSignalSpy modeChanged(eq, &Equalizer::currentModeIdxChanged);
        QSignalSpy coreTypeChanged(eq, &Equalizer::currentCoreTypeIdxChanged);

        QList<bool> results;
        const L lines = traced(*eq, [&](Equalizer &e) {
            for (int i = 0; i < 2; ++i)
                results << (mode ? e.changeMode(value) : e.changeCoreType(value));
        });

        QCOMPARE(results, (QList<bool>{!refused, !refused}));
        QCOMPARE(card->commands(), (L{cmd, cmd}));
        QCOMPARE(eq->property(property).toInt(), refused ? before : value);
        const Signals announced = refused ? Signals() : Signals{{value}, {value}};
        QCOMPARE(args(mode ? modeChanged : coreTypeChanged), announced);
        QCOMPARE((mode ? coreTypeChanged : modeChanged).count(), 0);
        const QString label = mode ? "changMode cmd: " : "changeCoreType cmd: ";
        QCOMPARE(lines, (L{label + cmd, label + cmd}));
    }

    void changePeq_data()
    {
        QTest::addColumn<int>("idx");
        QTest::addColumn<QString>("name");
        QTest::addColumn<int>("mode");
        QTest::addColumn<int>("coreType");
        QTest::addColumn<Ints>("gains");

        // A named PEQ is set on the card to mode 2, core type 1, master -10 dB and band n to n dB.
        QTest::newRow("Spk2: mode, core type and eleven gains read back")
                << 2 << "Spk2" << 2 << 1 << Ints{-10, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10};
        QTest::newRow("7: empty PEQ name, every read fails") << 7 << "" << -1 << -1 << QVector<int>(11, -61).toList();
    }

    void changePeq()
    {
        QFETCH(int, idx);
        QFETCH(QString, name);
        QFETCH(int, mode);
        QFETCH(int, coreType);
        QFETCH(Ints, gains);

        L reads{QStringLiteral("amixer sget \"%1 PEQ Switch Mode\"").arg(name),
                QStringLiteral("amixer sget \"%1 PEQ Core Type\"").arg(name)};
        for (int band = 0; band <= 10; ++band)
            reads << gainCmd(band, 0, name).replace("sset", "sget").section(' ', 0, -2);
        if (!name.isEmpty()) {
            card->setValue(name + " PEQ Switch Mode", 2);
            card->setValue(name + " PEQ Core Type", 1);
            for (int band = 0; band <= 10; ++band)
                card->setValue(reads[band + 2].section('"', 1, 1), gains[band] + 60);
        }
        QSignalSpy peqChanged(eq, &Equalizer::currentPeqIdxChanged);
        QSignalSpy nameChanged(eq, &Equalizer::currentPeqNameChanged);
        QSignalSpy modeChanged(eq, &Equalizer::currentModeIdxChanged);
        QSignalSpy coreTypeChanged(eq, &Equalizer::currentCoreTypeIdxChanged);
        QSignalSpy gainChanged(eq, &Equalizer::gainChanged);

        QVERIFY(eq->setProperty("currentPeqIdx", idx)); // as a QML binding writes it

        QCOMPARE(card->commands(), reads);
        QCOMPARE(eq->property("currentPeqName").toString(), name);
        QCOMPARE(args(peqChanged), Signals{{idx}});
        QCOMPARE(nameChanged.count(), 1);
        // The core type is announced through the mode signal, never through its own.
        QCOMPARE(args(modeChanged), (Signals{{mode}, {coreType}}));
        QCOMPARE(coreTypeChanged.count(), 0);
        QCOMPARE(gainChanged.count(), 1);
        QCOMPARE(eq->property("currentModeIdx").toInt(), mode);
        QCOMPARE(eq->property("currentCoreTypeIdx").toInt(), coreType);
        QCOMPARE(shownGains(), gains);
    }

    void resetGains_data()
    {
        QTest::addColumn<Ints>("gains"); // master, bands 1 to 10
        QTest::addColumn<L>("sent");
        QTest::addColumn<int>("preset");

        QTest::newRow("three bands off 0: only those written, in band order, master kept")
                << Ints{-5, 0, 5, 0, 0, -12, 0, 0, 0, 0, 20} << L{gainCmd(2, 60), gainCmd(5, 60), gainCmd(10, 60)} << -1;
        QTest::newRow("all bands flat: nothing sent, preset kept") << Ints{-5, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0} << L() << 1;
    }

    void resetGains()
    {
        QFETCH(Ints, gains);
        QFETCH(L, sent);
        QFETCH(int, preset);

        load(gains);
        eq->setToPreset(1);
        eq->resetGains();

        QCOMPARE(card->commands(), sent);
        QCOMPARE(shownGains(), (Ints{-5, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}));
        QCOMPARE(card->value("User PEQ Master Gain"), 55);
        QCOMPARE(eq->property("activatedPresetId").toInt(), preset);
    }

    // Below level 4 the runner redirects its own copy of a write; the user profile records the
    // command as built. Each level shows only the traces of its letters.
    void lowerLevels_data()
    {
        QTest::addColumn<int>("level");
        QTest::addColumn<Action>("action");
        QTest::addColumn<QString>("sent");
        QTest::addColumn<L>("lines");

        const QString mode = "amixer sset \"User PEQ Switch Mode\" 0";
        QTest::newRow("level 2, band: entry and preset, no command")
                << 2 << Action([](Equalizer &e) { e.changeGain(7, -9); }) << gainCmd(7, 51)
                << L{"changeGain(7, -9)", "updatePresetedId(-1)"};
        QTest::newRow("level 1, master: nothing") << 1 << Action([](Equalizer &e) { e.changeGain(0, 9); }) << gainCmd(0, 69) << L();
        QTest::newRow("level 1, mode: command") << 1 << Action([](Equalizer &e) { e.changeMode(0); }) << mode << L{"changMode cmd: " + mode};
        QTest::newRow("level 0, core type: nothing")
                << 0 << Action([](Equalizer &e) { e.changeCoreType(2); }) << "amixer sset \"User PEQ Core Type\" 2" << L();
    }

    void lowerLevels()
    {
        QFETCH(int, level);
        QFETCH(Action, action);
        QFETCH(QString, sent);
        QFETCH(L, lines);

        Instance &quiet = at(level);
        card->clearLogs();
        QCOMPARE(traced(*quiet.eq, action), lines);
        QCOMPARE(card->commands(), L{sent + " < /dev/null 2>&1"});
        quiet.eq->saveToProfiles(0);
        QCOMPARE(quiet.stored("User Profile").toHash().value(sent.section(' ', 0, -2)).toString(), sent);
    }
};

QTEST_GUILESS_MAIN(TstPeq)
#include "tst_peq.moc"
