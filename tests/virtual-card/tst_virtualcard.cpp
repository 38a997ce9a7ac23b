// The virtual card driven by the real amixer: what the controller sends reaches the card, and what
// the card replies is what the controller's parser expects.

#include "mixer/controls.h"
#include "mixer/reply.h"
#include "mixer/runner.h"
#include "support/virtualcard.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QtTest>

#include <memory>
#include <vector>

namespace {

struct Run {
    int exitCode = -1;
    QByteArray out;
    QByteArray err;
};

// amixer as the controller runs it: found on PATH (the logging wrapper), no shell.
Run amixer(const QStringList &args)
{
    QProcess process;
    process.start(QStringLiteral("amixer"), args);
    process.waitForFinished(30000);
    return {process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1,
            process.readAllStandardOutput(), process.readAllStandardError()};
}

QByteArray lastLine(const QByteArray &reply)
{
    return reply.trimmed().split('\n').last().trimmed();
}

void writeFile(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    file.write(bytes);
}

} // namespace

class TestVirtualCard : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void integerRoundTrip_data();
    void integerRoundTrip();
    void twoMicSwitch_data();
    void twoMicSwitch();
    void controllerRunner();
    void everyCatalogueControlExists();
    void unchangedValueNeverReachesTheCard();
    void failures_data();
    void failures();
    void damagedState_data();
    void damagedState();
    void unwritableCard_data();
    void unwritableCard();
    void concurrentWriters();
    void tuningScripts_data();
    void tuningScripts();
    void fixtureSetup();

private:
    std::unique_ptr<VirtualCard> card;
};

void TestVirtualCard::init()
{
    card = std::make_unique<VirtualCard>();
    QVERIFY2(card->isValid(), qPrintable(card->errorString()));
}

void TestVirtualCard::cleanup()
{
    card.reset();
}

void TestVirtualCard::integerRoundTrip_data()
{
    QTest::addColumn<QString>("control");
    QTest::addColumn<QString>("written");
    QTest::addColumn<int>("held");
    QTest::addColumn<QByteArray>("replyLine");

    QTest::newRow("PEQ switch mode") << "Spk1 PEQ Switch Mode" << "2" << 2 << QByteArray("Mono: 2 [100%]");
    QTest::newRow("PEQ core type") << "Spk4 PEQ Core Type" << "1" << 1 << QByteArray("Mono: 1 [50%]");
    QTest::newRow("PEQ master gain -3 dB") << "User PEQ Master Gain" << "57" << 57 << QByteArray("Mono: 57 [71%]");
    QTest::newRow("band 10 gain -60 dB") << "Spk2 PEQ Band10 Gain" << "0" << 0 << QByteArray("Mono: 0 [0%]");
    QTest::newRow("band FC") << "Spk3 PEQ Band7 FC" << "5000" << 5000 << QByteArray("Mono: 5000 [21%]");
    QTest::newRow("main volume") << "Main Vol Master Gain" << "96" << 96 << QByteArray("Mono: 96 [76%]");
    QTest::newRow("DBE crossover") << "Music DBE Xover FC" << "100" << 100 << QByteArray("Mono: 100 [17%]");
    QTest::newRow("DBE harmonics") << "Music DBE Harm Content" << "65" << 65 << QByteArray("Mono: 65 [65%]");
    QTest::newRow("channel delay at its bound") << "Music Chan4 Delay" << "768" << 768 << QByteArray("Mono: 768 [100%]");
    QTest::newRow("CVC send mode off") << "Voicecall CVC Send Mode" << "2" << 2 << QByteArray("Mono: 2 [29%]");
    QTest::newRow("CVC receive mode 3") << "Voicecall CVC Recv Mode" << "3" << 3 << QByteArray("Mono: 3 [43%]");
    QTest::newRow("gain above maximum: clamped") << "User PEQ Band1 Gain" << "200" << 80 << QByteArray("Mono: 80 [100%]");
    QTest::newRow("delay above maximum: clamped") << "Music Chan2 Delay" << "1000" << 768 << QByteArray("Mono: 768 [100%]");
    QTest::newRow("FC below minimum: clamped") << "Spk1 PEQ Band2 FC" << "5" << 20 << QByteArray("Mono: 20 [0%]");
}

// Written in one amixer process, read back in another: the value persisted in between, reached the
// card once, and the reply parses to it.
void TestVirtualCard::integerRoundTrip()
{
    QFETCH(QString, control);
    QFETCH(QString, written);
    QFETCH(int, held);
    QFETCH(QByteArray, replyLine);

    const Run set = amixer({"sset", control, written});
    QCOMPARE(set.exitCode, 0);
    QCOMPARE(card->journal(), QStringList{control + '=' + QString::number(held)});
    QCOMPARE(card->value(control), held);

    const Run get = amixer({"sget", control});
    QCOMPARE(get.exitCode, 0);
    QCOMPARE(lastLine(get.out), replyLine);
    QVERIFY2(!get.out.contains("dB"), get.out.constData());
    QCOMPARE(MixerReply::integerValue(get.out).value, held);
    QCOMPARE(MixerReply::volumeValue(get.out).value, held);
}

void TestVirtualCard::twoMicSwitch_data()
{
    QTest::addColumn<QString>("written");
    QTest::addColumn<QStringList>("journal");
    QTest::addColumn<QByteArray>("replyLine");

    QTest::newRow("on") << "on" << QStringList{"Voicecall CVC 2Mic=1"} << QByteArray("Mono: Playback [on]");
    QTest::newRow("off, already off: nothing reaches the card")
            << "off" << QStringList{} << QByteArray("Mono: Playback [off]");
}

void TestVirtualCard::twoMicSwitch()
{
    QFETCH(QString, written);
    QFETCH(QStringList, journal);
    QFETCH(QByteArray, replyLine);

    QCOMPARE(amixer({"sset", "Voicecall CVC 2Mic", written}).exitCode, 0);
    QCOMPARE(card->journal(), journal);
    const Run get = amixer({"sget", "Voicecall CVC 2Mic"});
    QCOMPARE(get.exitCode, 0);
    QCOMPARE(lastLine(get.out), replyLine);
    QCOMPARE(MixerReply::bracketText(get.out).text, written.toLatin1());
}

// The controller's own runner, command lines and parser against the card, suffix included.
void TestVirtualCard::controllerRunner()
{
    QProcess process;
    QString write = MixerControls::writePeqBandGain("User", 3, 64);
    QVERIFY(MixerRunner::set(process, write, false));
    QCOMPARE(card->commands(), QStringList{"amixer sset \"User PEQ Band3 Gain\" 64 < /dev/null 2>&1"});
    QCOMPARE(card->journal(), QStringList{"User PEQ Band3 Gain=64"});
    QCOMPARE(MixerRunner::get(process, MixerControls::readPeqBandGain("User", 3), false), 64);

    QString twoMic = MixerControls::writeCvcTwoMic("on");
    QVERIFY(MixerRunner::set(process, twoMic, false));
    QCOMPARE(MixerRunner::getString(process, MixerControls::readCvcTwoMic(), false), QStringLiteral("on"));

    QString volume = MixerControls::writeMainVolume(87);
    QVERIFY(MixerRunner::set(process, volume, true));
    QCOMPARE(MixerRunner::getVolume(MixerControls::readMainVolume(), false), 87);
    QCOMPARE(card->commands().at(4), QStringLiteral("amixer sset \"Main Vol Master Gain\" 87"));

    card->failReads({"Voicecall CVC 2Mic", "Music Chan1 Delay", "Main Vol Master Gain"});
    card->failWrites({"Music DBE Mix Balance"});
    QString dbe = MixerControls::writeDbe("Mix Balance", 51);
    QVERIFY(!MixerRunner::set(process, dbe, false));
    QCOMPARE(MixerRunner::get(process, MixerControls::readChanDelay(1), false), -1);
    QCOMPARE(MixerRunner::getString(process, MixerControls::readCvcTwoMic(), false), QString());
    QCOMPARE(MixerRunner::getVolume(MixerControls::readMainVolume(), false), 0);
    QCOMPARE(card->value("Music DBE Mix Balance"), 50);
}

// Every name the controller builds is a control of the card.
void TestVirtualCard::everyCatalogueControlExists()
{
    QStringList reads;
    for (const QString peq : {"User", "Spk1", "Spk2", "Spk3", "Spk4"}) {
        reads << MixerControls::readPeqSwitchMode(peq) << MixerControls::readPeqCoreType(peq)
              << MixerControls::readPeqMasterGain(peq);
        for (int band = 1; band <= 10; ++band)
            reads << MixerControls::readPeqBandGain(peq, band) << MixerControls::writePeqBandFc(peq, band, 1000);
    }
    for (const QString word : {"Switch Mode", "Xover FC", "Mix Balance", "Effect Strength", "Amp Limit",
                               "LP FC", "HP FC", "Harm Content"})
        reads << MixerControls::readDbe(word);
    for (int channel = 1; channel <= 4; ++channel)
        reads << MixerControls::readChanDelay(channel);
    reads << MixerControls::readMainVolume() << MixerControls::readCvcSendMode()
          << MixerControls::readCvcRecvMode() << MixerControls::readCvcTwoMic();

    for (const QString &read : reads) {
        QStringList args = QProcess::splitCommand(read);
        args.removeFirst();
        QVERIFY2(amixer(args).exitCode == 0, qPrintable(read));
    }
}

// alsa-lib's simple mixer writes only a changed value: the command ran, the card saw nothing.
void TestVirtualCard::unchangedValueNeverReachesTheCard()
{
    QCOMPARE(amixer({"sset", "User PEQ Band5 Gain", "60"}).exitCode, 0);
    QCOMPARE(card->commands(), QStringList{"amixer sset \"User PEQ Band5 Gain\" 60"});
    QCOMPARE(card->journal(), QStringList{});
}

void TestVirtualCard::failures_data()
{
    QTest::addColumn<QStringList>("failWrites");
    QTest::addColumn<QStringList>("failReads");
    QTest::addColumn<QStringList>("args");
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<QStringList>("journal");

    const QStringList none;
    const QStringList band2 = {"Spk1 PEQ Band2 Gain"};
    QTest::newRow("unknown control, read") << none << none << QStringList{"sget", "Spk5 PEQ Band2 Gain"} << 1 << none;
    QTest::newRow("unknown control, write")
            << none << none << QStringList{"sset", "User PEQ Band11 Gain", "60"} << 1 << none;
    QTest::newRow("negative value: taken for an option")
            << none << none << QStringList{"sset", "Main Vol Master Gain", "-5"} << 1 << none;
    QTest::newRow("write fault") << band2 << none << QStringList{"sset", "Spk1 PEQ Band2 Gain", "61"} << 1 << none;
    QTest::newRow("write fault, controller's suffix")
            << band2 << none << QStringList{"sset", "Spk1 PEQ Band2 Gain", "61", "<", "/dev/null", "2>&1"} << 1 << none;
    QTest::newRow("write fault, value unchanged")
            << band2 << none << QStringList{"sset", "Spk1 PEQ Band2 Gain", "60"} << 1 << none;
    QTest::newRow("write fault, read") << band2 << none << QStringList{"sget", "Spk1 PEQ Band2 Gain"} << 0 << none;
    QTest::newRow("write fault elsewhere")
            << band2 << none << QStringList{"sset", "Spk1 PEQ Band3 Gain", "61"} << 0
            << QStringList{"Spk1 PEQ Band3 Gain=61"};
    QTest::newRow("read fault, read") << none << band2 << QStringList{"sget", "Spk1 PEQ Band2 Gain"} << 1 << none;
    QTest::newRow("read fault, write: the control is gone")
            << none << band2 << QStringList{"sset", "Spk1 PEQ Band2 Gain", "61"} << 1 << none;
    QTest::newRow("read fault elsewhere") << none << band2 << QStringList{"sget", "Spk1 PEQ Band1 Gain"} << 0 << none;
    QTest::newRow("faults cleared")
            << none << none << QStringList{"sset", "Spk1 PEQ Band2 Gain", "61"} << 0 << QStringList{"Spk1 PEQ Band2 Gain=61"};
}

void TestVirtualCard::failures()
{
    QFETCH(QStringList, failWrites);
    QFETCH(QStringList, failReads);
    QFETCH(QStringList, args);
    QFETCH(int, exitCode);
    QFETCH(QStringList, journal);

    // Faults set by an earlier run must be gone for the next one.
    card->failWrites({"Spk1 PEQ Band2 Gain"});
    card->failReads({"Spk1 PEQ Band2 Gain"});
    card->failWrites(failWrites);
    card->failReads(failReads);
    QCOMPARE(amixer(args).exitCode, exitCode);
    QCOMPARE(card->journal(), journal);
}

void TestVirtualCard::damagedState_data()
{
    QTest::addColumn<QByteArray>("state");

    QTest::newRow("empty") << QByteArray();
    QTest::newRow("truncated in a line") << QByteArray("User PEQ Switch Mode=1\nUser PEQ Core Ty");
    QTest::newRow("value out of range") << QByteArray("User PEQ Switch Mode=9\n");
    QTest::newRow("value not a number") << QByteArray("User PEQ Switch Mode=one\n");
    QTest::newRow("unknown control") << QByteArray("User PEQ Band11 Gain=60\n");
    QTest::newRow("binary") << QByteArray("\0\xff=\n=\n\n\x01\x80\xfe", 11);
    QTest::newRow("larger than any state") << QByteArray(200000, 'x');
}

// Reported once, then the card runs from its power-on values: the first run repairs the file.
void TestVirtualCard::damagedState()
{
    QFETCH(QByteArray, state);

    card->setValue("Main Vol Master Gain", 5);
    writeFile(card->dir() + "/state", state);

    const Run first = amixer({"sget", "Main Vol Master Gain"});
    QCOMPARE(first.exitCode, 0);
    QCOMPARE(lastLine(first.out), QByteArray("Mono: 80 [63%]"));
    QCOMPARE(first.err.count("virtual card: state file"), 1);
    QVERIFY2(first.err.contains("damaged"), first.err.constData());

    const Run second = amixer({"sset", "User PEQ Switch Mode", "2"});
    QCOMPARE(second.exitCode, 0);
    QCOMPARE(second.err, QByteArray());
    QCOMPARE(card->value("User PEQ Switch Mode"), 2);
    QCOMPARE(card->value("Spk4 PEQ Band10 FC"), 16000);
}

void TestVirtualCard::unwritableCard_data()
{
    QTest::addColumn<QString>("blocked");
    QTest::addColumn<QStringList>("suffix");

    // Root writes through any permission bits, so the paths the card writes are made folders.
    const QStringList controller = {"<", "/dev/null", "2>&1"};
    QTest::newRow("state file cannot be replaced") << "state" << QStringList();
    QTest::newRow("state file cannot be replaced, controller's suffix") << "state" << controller;
    QTest::newRow("lock cannot be taken") << "state.lock" << QStringList();
    QTest::newRow("lock cannot be taken, controller's suffix") << "state.lock" << controller;
}

void TestVirtualCard::unwritableCard()
{
    QFETCH(QString, blocked);
    QFETCH(QStringList, suffix);

    const QString path = card->dir() + '/' + blocked;
    QVERIFY(QFile::remove(path));
    QVERIFY(QDir().mkpath(path + "/inside"));

    const Run set = amixer(QStringList{"sset", "Music Chan3 Delay", "100"} + suffix);
    QVERIFY2(set.exitCode != 0, set.out.constData());
    QCOMPARE(card->journal(), QStringList{});
    QCOMPARE(amixer({"sget", "Music Chan3 Delay"}).exitCode, 0);
}

// Eight processes rewriting the one state file at once: every write survives.
void TestVirtualCard::concurrentWriters()
{
    const QStringList controls = {"Music Chan1 Delay", "Music Chan2 Delay", "Music Chan3 Delay",
                                  "Music Chan4 Delay", "Spk1 PEQ Band1 FC", "Spk2 PEQ Band2 FC",
                                  "Spk3 PEQ Band3 FC", "Main Vol Master Gain"};
    const int writes = 10; // each writer sets its control to 101, 102 ... 110
    std::vector<std::unique_ptr<QProcess>> writers;
    for (const QString &control : controls) {
        writers.push_back(std::make_unique<QProcess>());
        writers.back()->start("/bin/sh", {"-c", "for v in $(seq 101 110); do amixer -q sset \"$0\" $v || exit 1; done",
                                          control});
    }
    for (const auto &writer : writers) {
        QVERIFY(writer->waitForFinished(60000));
        QCOMPARE(writer->exitCode(), 0);
    }

    const QStringList journal = card->journal();
    QCOMPARE(journal.size(), controls.size() * writes);
    for (const QString &control : controls) {
        QCOMPARE(card->value(control), 100 + writes);
        QStringList own = journal.filter(QRegularExpression('^' + QRegularExpression::escape(control) + '='));
        QCOMPARE(own.size(), writes);
        QCOMPARE(own.last(), control + '=' + QString::number(100 + writes));
    }
}

void TestVirtualCard::tuningScripts_data()
{
    QTest::addColumn<QString>("script");
    QTest::addColumn<QStringList>("failWrites");
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<QStringList>("expected"); // "Control=value" the card holds afterwards

    const QStringList none;
    QTest::newRow("default: flat and processing")
            << "SetAlsaDefault.sh" << none << 0
            << QStringList{"User PEQ Switch Mode=1", "Spk4 PEQ Band10 Gain=60", "Spk2 PEQ Master Gain=60",
                           "Spk3 PEQ Band1 Gain=60", "Main Vol Master Gain=80"};
    QTest::newRow("velto") << "SetAlsaVelto.sh" << none << 0
                           << QStringList{"User PEQ Core Type=1", "Spk4 PEQ Band1 Gain=65", "Spk1 PEQ Band5 Gain=59",
                                          "Spk2 PEQ Master Gain=57", "Main Vol Master Gain=96"};
    QTest::newRow("velto, one write fails: the rest still lands, exit 1")
            << "SetAlsaVelto.sh" << QStringList{"Spk2 PEQ Band1 Gain"} << 1
            << QStringList{"Spk2 PEQ Band1 Gain=10", "Spk4 PEQ Band1 Gain=65", "Main Vol Master Gain=96"};
}

void TestVirtualCard::tuningScripts()
{
    QFETCH(QString, script);
    QFETCH(QStringList, failWrites);
    QFETCH(int, exitCode);
    QFETCH(QStringList, expected);

    card->setValue("Spk2 PEQ Band1 Gain", 10);
    card->setValue("Spk4 PEQ Band10 Gain", 10);
    card->failWrites(failWrites);
    QProcess process;
    process.start(script, QStringList());
    QVERIFY2(process.waitForFinished(60000), qPrintable(process.errorString()));
    QCOMPARE(process.exitCode(), exitCode);
    for (const QString &entry : expected) {
        const QString control = entry.section('=', 0, 0);
        QCOMPARE(control + '=' + QString::number(card->value(control)), entry);
    }
}

void TestVirtualCard::fixtureSetup()
{
    card->setValue("Voicecall CVC 2Mic", 1);
    card->setValue("Spk3 PEQ Band4 FC", 650);
    QCOMPARE(lastLine(amixer({"sget", "Voicecall CVC 2Mic"}).out), QByteArray("Mono: Playback [on]"));
    QCOMPARE(lastLine(amixer({"sget", "Spk3 PEQ Band4 FC"}).out), QByteArray("Mono: 650 [3%]"));
    QCOMPARE(card->journal(), QStringList{});
    QCOMPARE(card->commands().size(), 2);

    card->clearLogs();
    card->setPowerOnState();
    QCOMPARE(card->value("Voicecall CVC 2Mic"), 0);
    QCOMPARE(card->value("Spk3 PEQ Band4 FC"), 600);
    QCOMPARE(card->value("No Such Control"), -1);
    QCOMPARE(card->commands(), QStringList{});

    const QByteArray path = qgetenv("PATH");
    const QByteArray config = qgetenv("ALSA_CONFIG_PATH");
    {
        VirtualCard inner;
        QVERIFY(inner.isValid());
        QVERIFY(qgetenv("ALSA_CONFIG_PATH") != config);
    }
    QCOMPARE(qgetenv("PATH"), path);
    QCOMPARE(qgetenv("ALSA_CONFIG_PATH"), config);
}

QTEST_GUILESS_MAIN(TestVirtualCard)
#include "tst_virtualcard.moc"
