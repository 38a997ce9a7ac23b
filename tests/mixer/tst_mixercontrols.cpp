#include "mixer/controls.h"

#include <QtTest>

using namespace MixerControls;

// Every control template, filled, against the line that must reach amixer.
class TestMixerControls : public QObject
{
    Q_OBJECT

private slots:
    void commandLine_data();
    void commandLine();
};

void TestMixerControls::commandLine_data()
{
    QTest::addColumn<QString>("line");
    QTest::addColumn<QString>("expected");

    QTest::newRow("read switch mode") << readPeqSwitchMode("User") << R"(amixer sget "User PEQ Switch Mode")";
    QTest::newRow("write switch mode") << writePeqSwitchMode("Spk1", 2) << R"(amixer sset "Spk1 PEQ Switch Mode" 2)";
    QTest::newRow("read core type") << readPeqCoreType("Spk2") << R"(amixer sget "Spk2 PEQ Core Type")";
    QTest::newRow("write core type") << writePeqCoreType("Spk3", 1) << R"(amixer sset "Spk3 PEQ Core Type" 1)";
    QTest::newRow("read master gain") << readPeqMasterGain("Spk4") << R"(amixer sget "Spk4 PEQ Master Gain")";
    QTest::newRow("write master gain 0 dB as 60")
        << writePeqMasterGain("User", gainToDsp(0)) << R"(amixer sset "User PEQ Master Gain" 60)";
    QTest::newRow("read band 1") << readPeqBandGain("User", 1) << R"(amixer sget "User PEQ Band1 Gain")";
    QTest::newRow("read band 10: no leading zero") << readPeqBandGain("User", 10) << R"(amixer sget "User PEQ Band10 Gain")";
    QTest::newRow("write band 7, -60 dB as 0")
        << writePeqBandGain("Spk2", 7, gainToDsp(-60)) << R"(amixer sset "Spk2 PEQ Band7 Gain" 0)";
    QTest::newRow("write band 10, 20 dB as 80")
        << writePeqBandGain("User", 10, gainToDsp(20)) << R"(amixer sset "User PEQ Band10 Gain" 80)";
    QTest::newRow("write band 3, 4 dB as 64")
        << writePeqBandGain("User", 3, gainToDsp(4)) << R"(amixer sset "User PEQ Band3 Gain" 64)";
    QTest::newRow("write band frequency") << writePeqBandFc("Spk1", 10, 16000) << R"(amixer sset "Spk1 PEQ Band10 FC" 16000)";
    QTest::newRow("read volume") << readMainVolume() << R"(amixer sget "Main Vol Master Gain")";
    QTest::newRow("write volume, raw") << writeMainVolume(87) << R"(amixer sset "Main Vol Master Gain" 87)";
    QTest::newRow("read DBE") << readDbe("Harm Content") << R"(amixer sget "Music DBE Harm Content")";
    QTest::newRow("write DBE") << writeDbe("Xover FC", 150) << R"(amixer sset "Music DBE Xover FC" 150)";
    QTest::newRow("read delay") << readChanDelay(4) << R"(amixer sget "Music Chan4 Delay")";
    QTest::newRow("write delay") << writeChanDelay(1, 12) << R"(amixer sset "Music Chan1 Delay" 12)";
    QTest::newRow("read CVC send") << readCvcSendMode() << R"(amixer sget "Voicecall CVC Send Mode")";
    QTest::newRow("write CVC send") << writeCvcSendMode(3) << R"(amixer sset "Voicecall CVC Send Mode" 3)";
    QTest::newRow("read CVC recv") << readCvcRecvMode() << R"(amixer sget "Voicecall CVC Recv Mode")";
    QTest::newRow("write CVC recv") << writeCvcRecvMode(0) << R"(amixer sset "Voicecall CVC Recv Mode" 0)";
    QTest::newRow("read 2Mic") << readCvcTwoMic() << R"(amixer sget "Voicecall CVC 2Mic")";
    QTest::newRow("write 2Mic") << writeCvcTwoMic("off") << R"(amixer sset "Voicecall CVC 2Mic" off)";
    QTest::newRow("negative value, base 10") << writeChanDelay(2, -5) << R"(amixer sset "Music Chan2 Delay" -5)";
}

void TestMixerControls::commandLine()
{
    QFETCH(QString, line);
    QFETCH(QString, expected);
    QCOMPARE(line, expected);
}

QTEST_APPLESS_MAIN(TestMixerControls)
#include "tst_mixercontrols.moc"
