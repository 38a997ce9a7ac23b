// PEQ selection, switch mode, core type and gains as the scene drives them, against the real amixer
// on the virtual card. One card and one controller (debug level 4: every trace, no redirection)
// serve every row; init() puts the card back to its power-on values (0 dB everywhere, mode 1, core
// type 0) and lets the controller read PEQ "User" again. A write the card refuses is covered for
// every writer at once in tst_mixerrunner.

#include "support/controllerfixture.h"
#include "support/virtualcard.h"

#include <QtTest>

#include <limits>

using namespace ControllerFixture;
using L = QStringList;
using Ints = QList<int>;

namespace {

QString gainCmd(int band, int dsp, const QString &peq = "User")
{
    return band == 0 ? QStringLiteral("amixer sset \"%1 PEQ Master Gain\" %2").arg(peq).arg(dsp)
                     : QStringLiteral("amixer sset \"%1 PEQ Band%2 Gain\" %3").arg(peq).arg(band).arg(dsp);
}

} // namespace

class TstPeq : public QObject
{
    Q_OBJECT

    VirtualCard card;
    Controller controller;
    Equalizer *eq = controller.get();

private slots:
    void initTestCase() { QVERIFY2(card.isValid(), qPrintable(card.errorString())); }

    void init()
    {
        card.setPowerOnState();
        eq->changePeq(0);
        card.clearLogs();
    }

    // Preset 1 is selected before each row; every gain starts at 0 dB.
    void changeGain_data()
    {
        QTest::addColumn<int>("band");
        QTest::addColumn<int>("gain");
        QTest::addColumn<bool>("ok");
        QTest::addColumn<QString>("sent");
        QTest::addColumn<int>("preset");

        QTest::newRow("band 3 to +4: written as 64, preset deselected") << 3 << 4 << true << gainCmd(3, 64) << -1;
        QTest::newRow("band 3 unchanged at 0: nothing sent") << 3 << 0 << true << "" << 1;
        QTest::newRow("band 10 to the lowest gain: written as 0") << 10 << -60 << true << gainCmd(10, 0) << -1;
        QTest::newRow("band 1 to the highest gain: written as 80") << 1 << 20 << true << gainCmd(1, 80) << -1;
        QTest::newRow("band 1 above the highest gain: refused") << 1 << 21 << false << "" << 1;
        QTest::newRow("band 1 below the lowest gain: refused") << 1 << -61 << false << "" << 1;
        QTest::newRow("master to -6: written as 54, preset kept") << 0 << -6 << true << gainCmd(0, 54) << 1;
        QTest::newRow("band 11, gain 5: refused") << 11 << 5 << false << "" << 1;
        QTest::newRow("band -1, gain 5: refused") << -1 << 5 << false << "" << 1;
        QTest::newRow("lowest int as band, gain 5: refused") << std::numeric_limits<int>::min() << 5 << false << "" << 1;
        QTest::newRow("band 11, gain 0: unchanged, nothing sent") << 11 << 0 << true << "" << 1;
    }

    void changeGain()
    {
        QFETCH(int, band);
        QFETCH(int, gain);
        QFETCH(bool, ok);
        QFETCH(QString, sent);
        QFETCH(int, preset);

        eq->setToPreset(1); // never saved: selected without a write
        SignalLog log(eq);
        Ints expected = shownGains(*eq);
        if (!sent.isEmpty())
            expected[band] = gain;

        QCOMPARE(eq->changeGain(band, gain), ok);
        QCOMPARE(card.commands(), sent.isEmpty() ? L() : L{sent});
        QCOMPARE(card.journal().size(), sent.isEmpty() ? 0 : 1);
        QCOMPARE(shownGains(*eq), expected);
        QCOMPARE(controller.stored("PresetedId").toInt(), preset);
        L signalled = preset == -1 ? L{"activatedPresetIdChanged()"} : L();
        if (!sent.isEmpty())
            signalled << "gainChanged()";
        QCOMPARE(log.take(), signalled);
    }

    // Called twice with the same value: the second call is sent too, although nothing changes.
    void modeAndCoreType_data()
    {
        QTest::addColumn<bool>("mode");
        QTest::addColumn<int>("value");

        QTest::newRow("mode 2") << true << 2;
        QTest::newRow("core type 0, the one held") << false << 0;
    }

    void modeAndCoreType()
    {
        QFETCH(bool, mode);
        QFETCH(int, value);

        const QString cmd = QStringLiteral("amixer sset \"User PEQ %1\" %2").arg(mode ? "Switch Mode" : "Core Type").arg(value);
        SignalLog log(eq);

        QList<bool> results;
        const L lines = traces([&] {
            for (int i = 0; i < 2; ++i)
                results << (mode ? eq->changeMode(value) : eq->changeCoreType(value));
        });

        QCOMPARE(results, (QList<bool>{true, true}));
        QCOMPARE(card.commands(), (L{cmd, cmd}));
        QCOMPARE(eq->property(mode ? "currentModeIdx" : "currentCoreTypeIdx").toInt(), value);
        const QString signal = QStringLiteral("%1(%2)").arg(mode ? "currentModeIdxChanged" : "currentCoreTypeIdxChanged").arg(value);
        QCOMPARE(log.take(), (L{signal, signal}));
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
            card.setValue(name + " PEQ Switch Mode", 2);
            card.setValue(name + " PEQ Core Type", 1);
            for (int band = 0; band <= 10; ++band)
                card.setValue(reads[band + 2].section('"', 1, 1), gains[band] + 60);
        }
        SignalLog log(eq);

        QVERIFY(eq->setProperty("currentPeqIdx", idx)); // as a QML binding writes it

        QCOMPARE(card.commands(), reads);
        QCOMPARE(eq->property("currentPeqName").toString(), name);
        // The core type is announced through the mode signal, never through its own.
        QCOMPARE(log.take(), (L{QStringLiteral("currentPeqIdxChanged(%1)").arg(idx), "currentPeqNameChanged()",
                                QStringLiteral("currentModeIdxChanged(%1)").arg(mode),
                                QStringLiteral("currentModeIdxChanged(%1)").arg(coreType), "gainChanged()"}));
        QCOMPARE(eq->property("currentCoreTypeIdx").toInt(), coreType);
        QCOMPARE(shownGains(*eq), gains);
    }

    // Only the bands off 0 dB are written, in band order; the master gain stays.
    void resetGains()
    {
        loadGains(card, *eq, {-5, 0, 5, 0, 0, -12, 0, 0, 0, 0, 20});

        eq->resetGains();

        QCOMPARE(card.commands(), (L{gainCmd(2, 60), gainCmd(5, 60), gainCmd(10, 60)}));
        QCOMPARE(shownGains(*eq), (Ints{-5, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}));
        QCOMPARE(card.value("User PEQ Master Gain"), 55);
        QCOMPARE(eq->property("activatedPresetId").toInt(), -1);
    }
};

QTEST_GUILESS_MAIN(TstPeq)
#include "tst_peq.moc"
