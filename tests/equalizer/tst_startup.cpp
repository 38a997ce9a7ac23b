// The controller's construction against the real amixer on the virtual card: the band frequencies,
// the restore of the saved preset, sweet spot and profile, and the read-back of the whole card.

#include "equalizer/equalizer.h"
#include "mixer/controls.h"
#include "support/stdoutcapture.h"
#include "support/virtualcard.h"

#include <QSettings>
#include <QTemporaryDir>
#include <QtTest>

namespace {

const char *const peqs[] = {"User", "Spk1", "Spk2", "Spk3", "Spk4"};
const int bandFc[] = {60, 170, 310, 600, 1000, 3000, 6000, 12000, 14000, 16000};

// The 29 reads that end every profile, in their order.
QStringList readBack()
{
    const QString peq = QStringLiteral("User");
    QStringList reads{MixerControls::readPeqSwitchMode(peq)};
    for (const char *word : {"Switch Mode", "Xover FC", "Mix Balance", "Effect Strength", "Amp Limit", "LP FC", "HP FC", "Harm Content"})
        reads << MixerControls::readDbe(word);
    reads << MixerControls::readPeqCoreType(peq) << MixerControls::readPeqMasterGain(peq);
    for (int band = 1; band <= 10; ++band)
        reads << MixerControls::readPeqBandGain(peq, band);
    for (int chan = 1; chan <= 4; ++chan)
        reads << MixerControls::readChanDelay(chan);
    return reads << MixerControls::readCvcSendMode() << MixerControls::readCvcRecvMode()
                 << MixerControls::readCvcTwoMic() << MixerControls::readMainVolume();
}

struct Start {
    QStringList commands;
    QStringList traces; // the profile lines only
    QVariantMap properties;
    QVariantMap stored; // read after the controller is gone
};

Start construct(VirtualCard &card, const QVariantMap &settings, const QStringList &properties)
{
    QTemporaryDir dir;
    const QString file = dir.filePath("Equalizer.conf");
    if (!settings.isEmpty()) {
        QSettings pre(file, QSettings::NativeFormat);
        for (auto it = settings.cbegin(); it != settings.cend(); ++it)
            pre.setValue(it.key(), it.value());
    }
    EqualizerPaths paths;
    paths.settingsFile = file;
    paths.settingsLock = dir.filePath("Equalizer.conf.lock");
    paths.keyDevice = dir.filePath("no-keys");
    card.clearLogs();

    Start start;
    {
        QByteArray out;
        StdoutCapture capture;
        Equalizer eq(nullptr, paths);
        out = capture.text();
        start.commands = card.commands();
        for (const QByteArray &line : out.split('\n'))
            if (line.startsWith("<Equalizer>") && line.contains("Profile"))
                start.traces << QString::fromUtf8(line.mid(11));
        for (const QString &name : properties)
            start.properties[name] = eq.property(qPrintable(name));
    }
    const QSettings stored(file, QSettings::NativeFormat);
    for (const char *key : {"PresetedId", "Sweetspot", "ProfileId"})
        start.stored[key] = stored.value(key).toInt();
    return start;
}

} // namespace

class TstStartup : public QObject
{
    Q_OBJECT

private slots:
    void restore_data()
    {
        QTest::addColumn<QVariantMap>("settings");
        QTest::addColumn<QString>("writeTail"); // what the runner appends to writes below debug level 4
        QTest::addColumn<QStringList>("restored"); // preset and sweet-spot writes
        QTest::addColumn<QStringList>("replayed");
        QTest::addColumn<QStringList>("traces");
        QTest::addColumn<QVariantMap>("properties");
        QTest::addColumn<QVariantMap>("stored");

        const QVariantMap defaults{{"PresetedId", -1}, {"Sweetspot", -1}, {"ProfileId", 2}};
        QTest::newRow("cold, no settings file: no preset, no sweet spot, Default Profile")
                << QVariantMap() << QString() << QStringList() << QStringList()
                << QStringList{"setToProfiles(id=2)", "updateProfileId(2)", "setToProfiles, cmd : SetAlsaDefault.sh", "setToProfiles, result=1"}
                << QVariantMap{{"activatedPresetId", -1}, {"sweetspotId", -1}, {"activatedProfileId", 2}, {"Volume", 80}, {"gain1", 0}}
                << defaults;
        QTest::newRow("cold, debug level 1: writes redirected, only the e lines")
                << QVariantMap{{"DebugLevel", 1}} << " < /dev/null 2>&1" << QStringList() << QStringList()
                << QStringList{"setToProfiles, cmd : SetAlsaDefault.sh", "setToProfiles, result=1"}
                << QVariantMap{{"activatedProfileId", 2}, {"Volume", 80}} << defaults;

        // Bands 3 and 8 already hold the stored gain before the read-back, so they are not written.
        QVariantHash bass{{"60", 6}, {"170", 4}, {"310", -40}, {"600", 0}, {"1k", 0}, {"3k", 0}, {"6k", 0}, {"12k", 0}, {"14k", 0}, {"16k", 0}};
        QStringList restored;
        for (int band : {1, 2, 4, 5, 6, 7, 9, 10})
            restored << MixerControls::writePeqBandGain("User", band, band == 1 ? 66 : band == 2 ? 64 : 60);
        restored << MixerControls::writeChanDelay(1, 203) << MixerControls::writeChanDelay(2, 272)
                 << MixerControls::writeChanDelay(3, 91) << MixerControls::writeChanDelay(4, 203);
        const QStringList replayed{MixerControls::writePeqBandGain("User", 1, 70), MixerControls::writeChanDelay(2, 500)};
        QVariantHash user;
        for (const QString &cmd : replayed)
            user.insert(cmd.left(cmd.lastIndexOf(' ')), cmd);
        QTest::newRow("warm: preset 0, sweet spot 3, User Profile replayed over the script")
                << QVariantMap{{"PresetedId", 0}, {"Bass", bass}, {"Sweetspot", 3}, {"ProfileId", 0}, {"User Profile", user}}
                << QString() << restored << replayed
                << QStringList{"setToProfiles(id=0)", "updateProfileId(0)", "setToProfiles, cmd : SetAlsaDefault.sh", "setToProfiles, result=1"}
                << QVariantMap{{"activatedPresetId", 0}, {"sweetspotId", 3}, {"activatedProfileId", 0}, {"gain1", 10}, {"gain2", 0}, {"chan1Delay", 203}, {"chan2Delay", 500}}
                << QVariantMap{{"PresetedId", 0}, {"Sweetspot", 3}, {"ProfileId", 0}};
    }

    void restore()
    {
        QFETCH(QVariantMap, settings);
        QFETCH(QString, writeTail);
        QFETCH(QStringList, restored);
        QFETCH(QStringList, replayed);
        QFETCH(QStringList, traces);
        QFETCH(QVariantMap, properties);
        QFETCH(QVariantMap, stored);

        VirtualCard card;
        QVERIFY2(card.isValid(), qPrintable(card.errorString()));
        const Start start = construct(card, settings, properties.keys());

        QStringList head{MixerControls::readMainVolume()};
        for (const char *peq : peqs)
            for (int band = 1; band <= 10; ++band)
                head << MixerControls::writePeqBandFc(peq, band, bandFc[band - 1]) + writeTail;
        head << restored;
        QCOMPARE(start.commands.mid(0, head.size()), head);
        // Then the default script's own runs (74, ending with its volume), the replay in the stored
        // hash's order, and the read-back.
        const QStringList script = start.commands.mid(head.size(), 74);
        QCOMPARE(script.filter(QRegularExpression("^amixer -q sset ")).size(), 74);
        QCOMPARE(script.last(), QString("amixer -q sset \"Main Vol Master Gain\" 80"));
        QStringList replay = start.commands.mid(head.size() + 74, replayed.size());
        replay.sort();
        replayed.sort();
        QCOMPARE(replay, replayed);
        QCOMPARE(start.commands.mid(head.size() + 74 + replayed.size()), readBack());
        QCOMPARE(start.traces, traces);
        QCOMPARE(start.properties, properties);
        QCOMPARE(start.stored, stored);
    }

    void coldStartCost()
    {
        VirtualCard card;
        QVERIFY2(card.isValid(), qPrintable(card.errorString()));
        // 1 volume read + 50 band frequencies (5 PEQs x 10 bands) + 74 runs of SetAlsaDefault.sh
        // (5 PEQs x 13 controls, 8 DBE, 1 volume) + 29 read-back (1 switch mode, 8 DBE, 1 core type,
        // 11 gains, 4 delays, 2 CVC modes, 1 two-mic switch, 1 volume) = 154 amixer runs.
        QCOMPARE(construct(card, {}, {}).commands.size(), 1 + 50 + 74 + 29);
    }
};

QTEST_GUILESS_MAIN(TstStartup)
#include "tst_startup.moc"
