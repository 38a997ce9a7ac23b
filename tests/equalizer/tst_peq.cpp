// PEQ selection, switch mode, core type, gains and presets against the real amixer on the virtual
// card. One card and one controller (debug level 4: every trace, no redirection) serve every row;
// init() puts the card back to power-on (0 dB, mode 1, core type 0) and reads PEQ "User" again.

#include "support/controllerfixture.h"
#include "support/virtualcard.h"

#include <QSettings>
#include <QtTest>

#include <limits>
#include <sys/stat.h>

using namespace ControllerFixture;
using L = QStringList;
using Ints = QList<int>;

namespace {

QString gainCmd(int band, int dsp, const QString &peq = "User")
{
    return band == 0 ? QStringLiteral("amixer sset \"%1 PEQ Master Gain\" %2").arg(peq).arg(dsp)
                     : QStringLiteral("amixer sset \"%1 PEQ Band%2 Gain\" %3").arg(peq).arg(band).arg(dsp);
}

const L bandNames{"60", "170", "310", "600", "1k", "3k", "6k", "12k", "14k", "16k"};

// A preset as stored: gains by band name.
QVariantHash preset(const Ints &gains)
{
    QVariantHash hash;
    for (int i = 0; i < gains.size(); ++i)
        hash.insert(bandNames[i], gains[i]);
    return hash;
}

} // namespace

class TstPeq : public QObject
{
    Q_OBJECT

    VirtualCard card;
    Controller controller;
    Equalizer *eq = controller.get();

    // Master and band gains (dB) of PEQ "User": put on the card and read back, then the logs cleared.
    void load(const Ints &gains)
    {
        for (int band = 0; band <= 10; ++band)
            card.setValue(band ? QStringLiteral("User PEQ Band%1 Gain").arg(band) : "User PEQ Master Gain", gains[band] + 60);
        eq->changePeq(0);
        card.clearLogs();
    }

    Ints shown() const
    {
        Ints gains{eq->property("masterGain").toInt()};
        for (int band = 1; band <= 10; ++band)
            gains << eq->property(qPrintable(QStringLiteral("gain%1").arg(band))).toInt();
        return gains;
    }

private slots:
    void initTestCase() { QVERIFY2(card.isValid(), qPrintable(card.errorString())); }

    void init()
    {
        card.failWrites({});
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

        QTest::newRow("band 3 unchanged at 0: nothing sent") << 3 << 0 << true << "" << 1;
        QTest::newRow("band 10 to the lowest gain: written as 0, preset deselected") << 10 << -60 << true << gainCmd(10, 0) << -1;
        QTest::newRow("band 1 to the highest gain: written as 80") << 1 << 20 << true << gainCmd(1, 80) << -1;
        QTest::newRow("band 1 above the highest gain: refused") << 1 << 21 << false << "" << 1;
        QTest::newRow("band 1 below the lowest gain: refused") << 1 << -61 << false << "" << 1;
        QTest::newRow("master to -6: written as 54, preset kept") << 0 << -6 << true << gainCmd(0, 54) << 1;
        QTest::newRow("band 11, gain 5: refused") << 11 << 5 << false << "" << 1;
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
        Ints expected = shown();
        if (!sent.isEmpty())
            expected[band] = gain;

        QCOMPARE(eq->changeGain(band, gain), ok);
        QCOMPARE(card.commands(), sent.isEmpty() ? L() : L{sent});
        QCOMPARE(shown(), expected);
        QCOMPARE(controller.stored("PresetedId").toInt(), preset);
        L signalled = preset == -1 ? L{"activatedPresetIdChanged()"} : L();
        if (!sent.isEmpty())
            signalled << "gainChanged()";
        QCOMPARE(log.take(), signalled);
    }

    // With "PresetedId" already -1, a gain change announces it again but leaves the file alone.
    void unchangedPresetIdNotRewritten()
    {
        QVERIFY(eq->changeGain(1, 1));
        const auto inode = [&] {
            controller.stored("PresetedId"); // writes out what is pending; a rewrite replaces the file
            struct stat st = {};
            return ::stat(QFile::encodeName(controller.paths.settingsFile).constData(), &st) == 0 ? st.st_ino : 0;
        };
        const ino_t before = inode();
        SignalLog log(eq);
        QVERIFY(eq->changeGain(1, 2));
        QCOMPARE(log.take(), (L{"activatedPresetIdChanged()", "gainChanged()"}));
        QCOMPARE(inode(), before);
    }

    // Called twice with the same value: the second call is sent too, although nothing changes.
    void modeAndCoreType_data()
    {
        QTest::addColumn<QString>("control");
        QTest::addColumn<int>("value");

        QTest::newRow("mode 2") << "Switch Mode" << 2;
        QTest::newRow("core type 0, the one held") << "Core Type" << 0;
    }

    void modeAndCoreType()
    {
        QFETCH(QString, control);
        QFETCH(int, value);

        const bool mode = control == "Switch Mode";
        const QString cmd = QStringLiteral("amixer sset \"User PEQ %1\" %2").arg(control).arg(value);
        SignalLog log(eq);
        const L lines = traces([&] {
            for (int i = 0; i < 2; ++i)
                QVERIFY(mode ? eq->changeMode(value) : eq->changeCoreType(value));
        });

        QCOMPARE(card.commands(), (L{cmd, cmd}));
        QCOMPARE(eq->property(mode ? "currentModeIdx" : "currentCoreTypeIdx").toInt(), value);
        const QString signal = QStringLiteral("%1(%2)").arg(mode ? "currentModeIdxChanged" : "currentCoreTypeIdxChanged").arg(value);
        QCOMPARE(log.take(), (L{signal, signal}));
        const QString trace = (mode ? "changMode cmd: " : "changeCoreType cmd: ") + cmd;
        QCOMPARE(lines, (L{trace, trace}));
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
        QCOMPARE(shown(), gains);
    }

    // Only the bands off 0 dB are written, in band order; the master gain stays.
    void resetGains()
    {
        load({-5, 0, 5, 0, 0, -12, 0, 0, 0, 0, 20});

        eq->resetGains();

        QCOMPARE(card.commands(), (L{gainCmd(2, 60), gainCmd(5, 60), gainCmd(10, 60)}));
        QCOMPARE(shown(), (Ints{-5, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}));
        QCOMPARE(card.value("User PEQ Master Gain"), 55);
        QCOMPARE(eq->property("activatedPresetId").toInt(), -1);
    }

    // Saving stores the ten gains shown under the preset's name, by band name, without a write.
    void saveToPresets()
    {
        const Ints gains{-12, -9, -6, -3, 3, 6, 9, 12, 15, 16};
        load(Ints{0} + gains);
        SignalLog log(eq);

        const L lines = traces([&] { eq->saveToPresets(0); });

        QCOMPARE(card.commands(), L());
        QCOMPARE(controller.stored("Bass").toHash(), preset(gains));
        QCOMPARE(controller.stored("PresetedId").toInt(), 0);
        QCOMPARE(log.take(), L{"activatedPresetIdChanged()"});
        L expected{"saveToPresets(id=0)"};
        for (int i = 0; i < 10; ++i)
            expected << QStringLiteral("insert gain: %1, %2").arg(bandNames[i]).arg(gains[i]);
        QCOMPARE(lines, expected << "updatePresetedId(0)");
    }

    // Preset 1 is selected before each row, through a "Rock" that was never saved.
    void setToPreset_data()
    {
        QTest::addColumn<int>("id");
        QTest::addColumn<QVariantHash>("entry"); // empty: never saved
        QTest::addColumn<Ints>("current");
        QTest::addColumn<bool>("band3Refused");
        QTest::addColumn<L>("sent");
        QTest::addColumn<int>("preset");
        QTest::addColumn<Ints>("gains");
        QTest::addColumn<int>("announced"); // activatedPresetIdChanged

        const Ints flat{0, 0, 0, 0, 0, 0, 0, 0, 0, 0};
        const Ints rising{1, 2, 3, 4, 5, 6, 7, 8, 9, 10};
        const Ints risingBut3{1, 2, 0, 4, 5, 6, 7, 8, 9, 10};
        const Ints fives{5, 5, 5, 5, 5, 5, 5, 5, 5, 5};
        L risingSent;
        for (int band = 1; band <= 10; ++band)
            risingSent << gainCmd(band, band + 60);

        QTest::newRow("Cust never saved: nothing sent, id 3") << 3 << QVariantHash() << rising << false << L() << 3 << rising << 1;
        QTest::newRow("-1, the start-up default: nothing sent, id -1") << -1 << QVariantHash() << rising << false << L() << -1 << rising << 1;
        QTest::newRow("gains as they are: nothing sent, id 2") << 2 << preset(rising) << rising << false << L() << 2 << rising << 1;
        QTest::newRow("third band refused: bands 4 to 10 still written, id -1")
                << 0 << preset(rising) << flat << true << risingSent << -1 << risingBut3 << 9;
        QTest::newRow("only the third band differs and is refused: id stays 1")
                << 0 << preset(rising) << risingBut3 << true << L{gainCmd(3, 63)} << 1 << risingBut3 << 0;
        QTest::newRow("bands 9 and 10 missing from the entry: set to 0")
                << 2 << preset(fives.mid(0, 8)) << fives << false << L{gainCmd(9, 60), gainCmd(10, 60)} << 2
                << Ints{5, 5, 5, 5, 5, 5, 5, 5, 0, 0} << 3;
    }

    void setToPreset()
    {
        QFETCH(int, id);
        QFETCH(QVariantHash, entry);
        QFETCH(Ints, current);
        QFETCH(bool, band3Refused);
        QFETCH(L, sent);
        QFETCH(int, preset);
        QFETCH(Ints, gains);
        QFETCH(int, announced);

        eq->setToPreset(1);
        if (id >= 0) {
            QSettings file(controller.paths.settingsFile, QSettings::NativeFormat);
            const QString key = L{"Bass", "Rock", "Vocal", "Cust"}.at(id);
            entry.isEmpty() ? file.remove(key) : file.setValue(key, entry);
        }
        load(Ints{0} + current);
        if (band3Refused)
            card.failWrites({"User PEQ Band3 Gain"});
        SignalLog log(eq);

        const L lines = traces([&] { eq->setToPreset(id); });

        QCOMPARE(card.commands(), sent);
        QCOMPARE(shown().mid(1), gains);
        QCOMPARE(controller.stored("PresetedId").toInt(), preset);
        QCOMPARE(log.take().count("activatedPresetIdChanged()"), announced);
        QCOMPARE(lines.value(0), QStringLiteral("setToPresets(id=%1)").arg(id));
    }
};

QTEST_GUILESS_MAIN(TstPeq)
#include "tst_peq.moc"
