// The controller's construction against the real amixer on the virtual card: the band frequencies,
// the restore of the saved preset, sweet spot and profile, and the read-back of the whole card.

#include "support/controllerfixture.h"
#include "support/virtualcard.h"

#include <QtTest>

using namespace ControllerFixture;
using L = QStringList;
using M = QVariantMap;

namespace {

QString bandGain(int band, int dsp)
{
    return QStringLiteral("amixer sset \"User PEQ Band%1 Gain\" %2").arg(band).arg(dsp);
}

QString delay(int chan, int value)
{
    return QStringLiteral("amixer sset \"Music Chan%1 Delay\" %2").arg(chan).arg(value);
}

} // namespace

class TstStartup : public QObject
{
    Q_OBJECT

private slots:
    void restore_data()
    {
        QTest::addColumn<M>("settings");
        QTest::addColumn<L>("restored"); // preset and sweet-spot writes
        QTest::addColumn<L>("replayed");
        QTest::addColumn<M>("properties");
        QTest::addColumn<M>("stored");

        QTest::newRow("cold, no settings file: no preset, no sweet spot, Default Profile")
                << M() << L() << L()
                << M{{"activatedPresetId", -1}, {"sweetspotId", -1}, {"activatedProfileId", 2}, {"Volume", 80}, {"gain1", 0}}
                << M{{"PresetedId", -1}, {"Sweetspot", -1}, {"ProfileId", 2}};

        // Bands 3 and 8 already hold the stored gain before the read-back, so they are not written.
        const QVariantHash bass{{"60", 6}, {"170", 4}, {"310", -40}, {"600", 0}, {"1k", 0},
                                {"3k", 0}, {"6k", 0}, {"12k", 0}, {"14k", 0}, {"16k", 0}};
        L restored{bandGain(1, 66), bandGain(2, 64)};
        for (int band : {4, 5, 6, 7, 9, 10})
            restored << bandGain(band, 60);
        restored << delay(1, 203) << delay(2, 272) << delay(3, 91) << delay(4, 203);
        const L replayed{bandGain(1, 70), delay(2, 500)};
        QTest::newRow("warm: preset 0, sweet spot 3, User Profile replayed over the script")
                << M{{"PresetedId", 0}, {"Bass", bass}, {"Sweetspot", 3}, {"ProfileId", 0}, {"User Profile", recording(replayed)}}
                << restored << replayed
                << M{{"activatedPresetId", 0}, {"sweetspotId", 3}, {"activatedProfileId", 0}, {"gain1", 10}, {"gain2", 0},
                     {"chan1Delay", 203}, {"chan2Delay", 500}}
                << M{{"PresetedId", 0}, {"Sweetspot", 3}, {"ProfileId", 0}};
    }

    // What a start costs: 1 volume read + 50 band frequencies (5 PEQs x 10 bands) + the preset's and
    // sweet spot's writes + 74 runs of SetAlsaDefault.sh (5 PEQs x 13 controls, 8 DBE, 1 volume) + the
    // replay + 29 read-back = 154 amixer runs for a cold start.
    void restore()
    {
        QFETCH(M, settings);
        QFETCH(L, restored);
        QFETCH(L, replayed);
        QFETCH(M, properties);
        QFETCH(M, stored);

        VirtualCard card;
        QVERIFY2(card.isValid(), qPrintable(card.errorString()));
        Controller eq(settings, false);
        const L lines = traces([&] { eq.start(); });

        L head{"amixer sget \"Main Vol Master Gain\""};
        const int bandFc[] = {60, 170, 310, 600, 1000, 3000, 6000, 12000, 14000, 16000};
        for (const char *peq : {"User", "Spk1", "Spk2", "Spk3", "Spk4"})
            for (int band = 1; band <= 10; ++band)
                head << QStringLiteral("amixer sset \"%1 PEQ Band%2 FC\" %3").arg(peq).arg(band).arg(bandFc[band - 1]);
        head << restored;
        const L cmds = card.commands();
        QCOMPARE(cmds.mid(0, head.size()), head);
        // Then the default script's own runs (74, ending with its volume), the replay in the stored
        // hash's order, and the read-back.
        const L script = cmds.mid(head.size(), 74);
        QCOMPARE(script.filter(QRegularExpression("^amixer -q sset ")).size(), 74);
        QCOMPARE(script.last(), QString("amixer -q sset \"Main Vol Master Gain\" 80"));
        L replay = cmds.mid(head.size() + 74, replayed.size());
        replay.sort();
        replayed.sort();
        QCOMPARE(replay, replayed);
        QCOMPARE(cmds.mid(head.size() + 74 + replayed.size()), profileReadBack());
        if (settings.isEmpty())
            QCOMPARE(cmds.size(), 154);
        const int profile = stored["ProfileId"].toInt();
        QCOMPARE(lines.filter("Profile"),
                 (L{QStringLiteral("setToProfiles(id=%1)").arg(profile), QStringLiteral("updateProfileId(%1)").arg(profile),
                    "setToProfiles, cmd : SetAlsaDefault.sh", "setToProfiles, result=1"}));
        for (auto it = properties.cbegin(); it != properties.cend(); ++it)
            QCOMPARE(eq->property(qPrintable(it.key())), it.value());
        for (auto it = stored.cbegin(); it != stored.cend(); ++it)
            QCOMPARE(eq.stored(it.key()).toInt(), it.value().toInt());
    }
};

QTEST_GUILESS_MAIN(TstStartup)
#include "tst_startup.moc"
