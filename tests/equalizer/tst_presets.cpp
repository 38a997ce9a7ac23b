// Saving and applying presets as the scene does, against the real amixer on the virtual card. One
// card and one controller (debug level 4) serve every row; init() puts the card back to its
// power-on values (every gain 0 dB).

#include "support/controllerfixture.h"
#include "support/virtualcard.h"

#include <QSettings>
#include <QtTest>

using namespace ControllerFixture;
using L = QStringList;
using Ints = QList<int>;

namespace {

const L bandNames{"60", "170", "310", "600", "1k", "3k", "6k", "12k", "14k", "16k"};

QString bandCmd(int band, int dB)
{
    return QStringLiteral("amixer sset \"User PEQ Band%1 Gain\" %2").arg(band).arg(dB + 60);
}

QVariantHash preset(const Ints &gains)
{
    QVariantHash hash;
    for (int i = 0; i < gains.size(); ++i)
        hash.insert(bandNames[i], gains[i]);
    return hash;
}

} // namespace

class TstPresets : public QObject
{
    Q_OBJECT

    VirtualCard card;
    Controller controller;
    Equalizer *eq = controller.get();

    // The ten band gains (dB) of PEQ "User", on the card and as shown.
    void load(const Ints &gains) { loadGains(card, *eq, Ints{0} + gains); }
    Ints shownBands() const { return shownGains(*eq).mid(1); }

private slots:
    void initTestCase() { QVERIFY2(card.isValid(), qPrintable(card.errorString())); }

    void init()
    {
        card.failWrites({});
        card.setPowerOnState();
    }

    // Saving stores the ten gains shown, by band name, without a write; applying after a reset
    // writes the same ten gains back in band order.
    void saveAndApply()
    {
        const int id = 0;
        const Ints gains{-12, -9, -6, -3, 3, 6, 9, 12, 15, 16};
        load(gains);
        SignalLog log(eq);

        L lines = traces([&] { eq->saveToPresets(id); });

        QCOMPARE(card.commands(), L());
        QCOMPARE(controller.stored("Bass").toHash(), preset(gains));
        QCOMPARE(controller.stored("PresetedId").toInt(), id);
        QCOMPARE(log.take(), L{"activatedPresetIdChanged()"});
        L expected{QStringLiteral("saveToPresets(id=%1)").arg(id)};
        for (int i = 0; i < 10; ++i)
            expected << QStringLiteral("insert gain: %1, %2").arg(bandNames[i]).arg(gains[i]);
        QCOMPARE(lines, expected << QStringLiteral("updatePresetedId(%1)").arg(id));

        eq->resetGains();
        card.clearLogs();
        lines = traces([&] { eq->setToPreset(id); });

        L sent;
        for (int band = 1; band <= 10; ++band)
            sent << bandCmd(band, gains[band - 1]);
        QCOMPARE(card.commands(), sent);
        QCOMPARE(shownBands(), gains);
        QCOMPARE(eq->property("activatedPresetId").toInt(), id);
        QCOMPARE(controller.stored("PresetedId").toInt(), id);
        QCOMPARE(lines.first(), QStringLiteral("setToPresets(id=%1)").arg(id));
        QCOMPARE(lines.last(), QStringLiteral("updatePresetedId(%1)").arg(id));

        // "PresetedId" -1 again at the next gain change: announced, but the file is not rewritten.
        QVERIFY(eq->changeGain(1, 1));
        const QFileInfo file(controller.paths.settingsFile);
        const auto written = [&] { controller.stored("PresetedId"); return QFileInfo(file.filePath()).fileTime(QFileDevice::FileMetadataChangeTime); };
        const QDateTime before = written();
        log.take();
        QTest::qSleep(20);
        QVERIFY(eq->changeGain(1, 2));
        QCOMPARE(log.take(), (L{"activatedPresetIdChanged()", "gainChanged()"}));
        QCOMPARE(written(), before);
    }

    // Preset 1 is selected before each row, through a "Rock" that was never saved.
    void apply_data()
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
            risingSent << bandCmd(band, band);

        QTest::newRow("Cust never saved: nothing sent, id 3") << 3 << QVariantHash() << rising << false << L() << 3 << rising << 1;
        QTest::newRow("-1, the start-up default: nothing sent, id -1") << -1 << QVariantHash() << rising << false << L() << -1 << rising << 1;
        QTest::newRow("gains as they are: nothing sent, id 2") << 2 << preset(rising) << rising << false << L() << 2 << rising << 1;
        QTest::newRow("third band refused: bands 4 to 10 still written, id -1")
                << 0 << preset(rising) << flat << true << risingSent << -1 << risingBut3 << 9;
        QTest::newRow("only the third band differs and is refused: id stays 1")
                << 0 << preset(rising) << risingBut3 << true << L{bandCmd(3, 3)} << 1 << risingBut3 << 0;
        QTest::newRow("bands 9 and 10 missing from the entry: set to 0")
                << 2 << preset(fives.mid(0, 8)) << fives << false << L{bandCmd(9, 0), bandCmd(10, 0)} << 2
                << Ints{5, 5, 5, 5, 5, 5, 5, 5, 0, 0} << 3;
    }

    void apply()
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
        load(current);
        if (band3Refused)
            card.failWrites({"User PEQ Band3 Gain"});
        SignalLog log(eq);

        eq->setToPreset(id);

        QCOMPARE(card.commands(), sent);
        QCOMPARE(shownBands(), gains);
        QCOMPARE(controller.stored("PresetedId").toInt(), preset);
        QCOMPARE(log.take().count("activatedPresetIdChanged()"), announced);
    }
};

QTEST_GUILESS_MAIN(TstPresets)
#include "tst_presets.moc"
