// Profiles as the scene applies and saves them, and the controller's start, which writes the band
// frequencies and restores the saved preset, sweet spot and profile; against the real amixer on
// the virtual card and the tuning scripts found on PATH. init() puts the card back to its power-on
// values.

#include "support/controllerfixture.h"
#include "support/virtualcard.h"

#include <QtTest>

using namespace ControllerFixture;
using L = QStringList;
using M = QVariantMap;

namespace {

const QString chan1 = QStringLiteral("amixer sset \"Music Chan1 Delay\" 100");
const QString chan3 = QStringLiteral("amixer sset \"Music Chan3 Delay\" 400");
const QString twoMicOn = QStringLiteral("amixer sset \"Voicecall CVC 2Mic\" on");

QString bandGain(int band, int dsp)
{
    return QStringLiteral("amixer sset \"User PEQ Band%1 Gain\" %2").arg(band).arg(dsp);
}

QString delay(int chan, int value)
{
    return QStringLiteral("amixer sset \"Music Chan%1 Delay\" %2").arg(chan).arg(value);
}

// The 29 reads that end every profile application, in their order (PEQ "User"). Spelt out rather
// than built from the control catalogue, so that a wrong template shows here.
L readBack()
{
    L reads{"amixer sget \"User PEQ Switch Mode\""};
    for (const char *word : {"Switch Mode", "Xover FC", "Mix Balance", "Effect Strength", "Amp Limit", "LP FC",
                             "HP FC", "Harm Content"})
        reads << QStringLiteral("amixer sget \"Music DBE %1\"").arg(word);
    reads << "amixer sget \"User PEQ Core Type\"" << "amixer sget \"User PEQ Master Gain\"";
    for (int band = 1; band <= 10; ++band)
        reads << QStringLiteral("amixer sget \"User PEQ Band%1 Gain\"").arg(band);
    for (int chan = 1; chan <= 4; ++chan)
        reads << QStringLiteral("amixer sget \"Music Chan%1 Delay\"").arg(chan);
    return reads << "amixer sget \"Voicecall CVC Send Mode\"" << "amixer sget \"Voicecall CVC Recv Mode\""
                 << "amixer sget \"Voicecall CVC 2Mic\"" << "amixer sget \"Main Vol Master Gain\"";
}

} // namespace

class TstProfiles : public QObject
{
    Q_OBJECT

    VirtualCard card;
    // Serves every row of setToProfiles.
    Controller controller{{{"ProfileId", 1},
                           {"User Profile", recording({chan1, twoMicOn})},
                           {"Velto Profile", recording({"amixer sset \"Music Chan2 Delay\" 300"})},
                           {"Default Profile", recording({chan3})}}};
    Equalizer *eq = controller.get();

private slots:
    void initTestCase() { QVERIFY2(card.isValid(), qPrintable(card.errorString())); }
    void init() { card.setPowerOnState(); }

    void setToProfiles_data()
    {
        QTest::addColumn<int>("id");
        QTest::addColumn<QByteArray>("standIn"); // body of a SetAlsaVelto.sh put first on PATH
        QTest::addColumn<L>("refused");
        QTest::addColumn<QString>("script");
        QTest::addColumn<L>("replayed");
        QTest::addColumn<int>("result");
        QTest::addColumn<int>("volume"); // what the script leaves on the card, 10 before

        QTest::newRow("0, User Profile: default script, then the stored user commands")
                << 0 << QByteArray() << L() << "SetAlsaDefault.sh" << L{chan1, twoMicOn} << 1 << 80;
        QTest::newRow("1, Velto Profile: its own script, its stored commands not replayed")
                << 1 << QByteArray() << L() << "SetAlsaVelto.sh" << L() << 1 << 96;
        QTest::newRow("2, Default Profile: default script, its stored commands not replayed")
                << 2 << QByteArray() << L() << "SetAlsaDefault.sh" << L() << 1 << 80;
        QTest::newRow("0, one stored command refused: the other still replayed, result 0")
                << 0 << QByteArray() << L{"Music Chan1 Delay"} << "SetAlsaDefault.sh" << L{chan1, twoMicOn} << 0 << 80;
        QTest::newRow("1, script fails: id kept, result 0, card still read back")
                << 1 << QByteArray("#!/bin/sh\nexit 3\n") << L() << "SetAlsaVelto.sh" << L() << 0 << 10;
        QTest::newRow("7, no such profile: empty script, nothing run, id still stored, result 0")
                << 7 << QByteArray() << L() << QString() << L() << 0 << 10;
    }

    void setToProfiles()
    {
        QFETCH(int, id);
        QFETCH(QByteArray, standIn);
        QFETCH(L, refused);
        QFETCH(QString, script);
        QFETCH(L, replayed);
        QFETCH(int, result);
        QFETCH(int, volume);

        QTemporaryDir scripts;
        const QByteArray path = qgetenv("PATH");
        if (!standIn.isEmpty()) {
            QFile stand(scripts.filePath("SetAlsaVelto.sh"));
            QVERIFY(stand.open(QIODevice::WriteOnly) && stand.write(standIn) == standIn.size());
            stand.setPermissions(stand.permissions() | QFile::ExeOwner);
            qputenv("PATH", QFile::encodeName(scripts.path()) + ':' + path);
        }
        // Values the replay and the script change, so that the card can refuse them.
        card.setValue("Main Vol Master Gain", 10);
        card.failWrites(refused);
        card.clearLogs();

        // The id is stored and announced before the script runs.
        L announced;
        QObject row;
        connect(eq, &Equalizer::activatedProfileIdChanged, &row, [&] {
            announced << QStringLiteral("%1 stored, %2 commands run")
                    .arg(controller.stored("ProfileId").toInt()).arg(card.commands().size());
        });
        SignalLog log(eq);
        const L lines = traces([&] { eq->setToProfiles(id); });
        qputenv("PATH", path);
        card.failWrites({});

        QCOMPARE(announced, L{QStringLiteral("%1 stored, 0 commands run").arg(id)});
        QCOMPARE(eq->property("activatedProfileId").toInt(), id);
        QCOMPARE(lines.filter(QRegularExpression("^setToProfiles")),
                 L({QStringLiteral("setToProfiles(id=%1)").arg(id), "setToProfiles, cmd : " + script,
                    QStringLiteral("setToProfiles, result=%1").arg(result)}));

        // The script's own amixer runs (-q) come first, then the replay (in the stored hash's order),
        // then the read-back.
        L cmds = card.commands();
        QCOMPARE(cmds.mid(cmds.size() - 29), readBack());
        cmds = cmds.mid(0, cmds.size() - 29);
        L replay = cmds.mid(cmds.size() - replayed.size());
        replay.sort();
        replayed.sort();
        QCOMPARE(replay, replayed);
        for (const QString &cmd : cmds.mid(0, cmds.size() - replayed.size()))
            QVERIFY2(cmd.startsWith("amixer -q sset "), qPrintable(cmd));
        QCOMPARE(eq->property("Volume").toInt(), volume);
        QCOMPARE(log.take().last(), "volumeChanged()");
    }

    void start_data()
    {
        QTest::addColumn<M>("settings");
        QTest::addColumn<L>("restored"); // preset and sweet-spot writes
        QTest::addColumn<M>("properties");
        QTest::addColumn<M>("stored");

        QTest::newRow("cold, no settings file: no preset, no sweet spot, Default Profile")
                << M() << L()
                << M{{"activatedPresetId", -1}, {"sweetspotId", -1}, {"activatedProfileId", 2}, {"Volume", 80}, {"gain1", 0}}
                << M{{"PresetedId", -1}, {"Sweetspot", -1}, {"ProfileId", 2}};

        // Bands 3 and 8 already hold the stored gain before the read-back, so they are not written.
        const QVariantHash bass{{"60", 6}, {"170", 4}, {"310", -40}, {"600", 0}, {"1k", 0},
                                {"3k", 0}, {"6k", 0}, {"12k", 0}, {"14k", 0}, {"16k", 0}};
        L restored{bandGain(1, 66), bandGain(2, 64)};
        for (int band : {4, 5, 6, 7, 9, 10})
            restored << bandGain(band, 60);
        restored << delay(1, 203) << delay(2, 272) << delay(3, 91) << delay(4, 203);
        QTest::newRow("warm: preset 0, sweet spot 3, User Profile replayed over both")
                << M{{"PresetedId", 0}, {"Bass", bass}, {"Sweetspot", 3}, {"ProfileId", 0},
                     {"User Profile", recording({bandGain(1, 70), delay(2, 500)})}}
                << restored
                << M{{"activatedPresetId", 0}, {"sweetspotId", 3}, {"activatedProfileId", 0}, {"gain1", 10}, {"gain2", 0},
                     {"chan1Delay", 203}, {"chan2Delay", 500}}
                << M{{"PresetedId", 0}, {"Sweetspot", 3}, {"ProfileId", 0}};
    }

    // A cold start runs amixer 154 times: 1 volume read, 50 band frequencies (5 PEQs x 10 bands),
    // 74 runs of SetAlsaDefault.sh (5 PEQs x 13 controls, 8 DBE, 1 volume) and the 29 reads back.
    void start()
    {
        QFETCH(M, settings);
        QFETCH(L, restored);
        QFETCH(M, properties);
        QFETCH(M, stored);

        card.clearLogs();
        Controller started(settings, false);
        const L lines = traces([&] { started.start(); });

        L head{"amixer sget \"Main Vol Master Gain\""};
        const int bandFc[] = {60, 170, 310, 600, 1000, 3000, 6000, 12000, 14000, 16000};
        for (const char *peq : {"User", "Spk1", "Spk2", "Spk3", "Spk4"})
            for (int band = 1; band <= 10; ++band)
                head << QStringLiteral("amixer sset \"%1 PEQ Band%2 FC\" %3").arg(peq).arg(band).arg(bandFc[band - 1]);
        head << restored;
        const L cmds = card.commands();
        QCOMPARE(cmds.mid(0, head.size()), head);
        if (settings.isEmpty())
            QCOMPARE(cmds.size(), 154);
        const int profile = stored["ProfileId"].toInt();
        QCOMPARE(lines.filter("Profile"),
                 (L{QStringLiteral("setToProfiles(id=%1)").arg(profile), QStringLiteral("updateProfileId(%1)").arg(profile),
                    "setToProfiles, cmd : SetAlsaDefault.sh", "setToProfiles, result=1"}));
        for (auto it = properties.cbegin(); it != properties.cend(); ++it)
            QCOMPARE(started->property(qPrintable(it.key())), it.value());
        for (auto it = stored.cbegin(); it != stored.cend(); ++it)
            QCOMPARE(started.stored(it.key()).toInt(), it.value().toInt());
        if (settings.isEmpty()) // a start stores the three ids and nothing else
            QCOMPARE(started.storedAll().keys(), stored.keys());
    }
};

QTEST_GUILESS_MAIN(TstProfiles)
#include "tst_profiles.moc"
