// The virtual card driven by the real amixer: what is written reaches the card once, what the card
// replies is what the controller's parser expects, faults and damage behave as documented, and the
// stand-in tuning scripts set what their table says. The runner on top is tested in tests/mixer.

#include "mixer/reply.h"
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
    void failures_data();
    void failures();
    void damagedState_data();
    void damagedState();
    void unwritableCard_data();
    void unwritableCard();
    void concurrentWriters();
    void tuningScripts_data();
    void tuningScripts();

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
    QTest::newRow("band 10 gain -60 dB") << "Spk2 PEQ Band10 Gain" << "0" << 0 << QByteArray("Mono: 0 [0%]");
    QTest::newRow("band FC") << "Spk3 PEQ Band7 FC" << "5000" << 5000 << QByteArray("Mono: 5000 [21%]");
    QTest::newRow("DBE crossover") << "Music DBE Xover FC" << "100" << 100 << QByteArray("Mono: 100 [17%]");
    QTest::newRow("channel delay at its bound") << "Music Chan4 Delay" << "768" << 768 << QByteArray("Mono: 768 [100%]");
    QTest::newRow("CVC send mode off") << "Voicecall CVC Send Mode" << "2" << 2 << QByteArray("Mono: 2 [29%]");
    QTest::newRow("gain above maximum: clamped") << "User PEQ Band1 Gain" << "200" << 80 << QByteArray("Mono: 80 [100%]");
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
    QTest::newRow("negative value: taken for an option")
            << none << none << QStringList{"sset", "Main Vol Master Gain", "-5"} << 1 << none;
    QTest::newRow("write fault") << band2 << none << QStringList{"sset", "Spk1 PEQ Band2 Gain", "61"} << 1 << none;
    QTest::newRow("write fault, controller's suffix")
            << band2 << none << QStringList{"sset", "Spk1 PEQ Band2 Gain", "61", "<", "/dev/null", "2>&1"} << 1 << none;
    QTest::newRow("write fault, read") << band2 << none << QStringList{"sget", "Spk1 PEQ Band2 Gain"} << 0 << none;
    QTest::newRow("read fault, read") << none << band2 << QStringList{"sget", "Spk1 PEQ Band2 Gain"} << 1 << none;
    QTest::newRow("read fault, write: the control is gone")
            << none << band2 << QStringList{"sset", "Spk1 PEQ Band2 Gain", "61"} << 1 << none;
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

    QTest::newRow("truncated in a line") << QByteArray("User PEQ Switch Mode=1\nUser PEQ Core Ty");
    QTest::newRow("value not a number") << QByteArray("User PEQ Switch Mode=one\n");
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
    QTest::newRow("state file cannot be replaced, controller's suffix") << "state" << controller;
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

QTEST_GUILESS_MAIN(TestVirtualCard)
#include "tst_virtualcard.moc"
