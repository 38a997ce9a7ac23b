// The virtual card driven by the real amixer: what is written reaches the card once, replies carry
// no dB bracket, a damaged state is repaired. Its injected faults are seen
// by every suite that has the card refuse a write or a read; the runner and its parser on top are
// tested in tests/mixer.

#include "support/virtualcard.h"

#include <QFile>
#include <QProcess>
#include <QtTest>

#include <memory>

using L = QStringList;

namespace {

struct Run {
    int exitCode = -1;
    QByteArray out;
    QByteArray err;
};

// amixer as the controller runs it: found on PATH (the card's logging wrapper), no shell.
Run amixer(const L &args)
{
    QProcess process;
    process.start(QStringLiteral("amixer"), args);
    process.waitForFinished(60000);
    return {process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1,
            process.readAllStandardOutput(), process.readAllStandardError()};
}

QByteArray lastLine(const QByteArray &reply)
{
    return reply.trimmed().split('\n').last().trimmed();
}

} // namespace

class TestVirtualCard : public QObject
{
    Q_OBJECT

    std::unique_ptr<VirtualCard> card;

private slots:
    void init()
    {
        card = std::make_unique<VirtualCard>();
        QVERIFY2(card->isValid(), qPrintable(card->errorString()));
    }
    void cleanup() { card.reset(); }

    void roundTrip_data()
    {
        QTest::addColumn<QString>("control");
        QTest::addColumn<QString>("written");
        QTest::addColumn<L>("journal");
        QTest::addColumn<QByteArray>("replyLine");

        QTest::newRow("PEQ switch mode") << "Spk1 PEQ Switch Mode" << "2" << L{"Spk1 PEQ Switch Mode=2"} << QByteArray("Mono: 2 [100%]");
        QTest::newRow("band 10 gain -60 dB") << "Spk2 PEQ Band10 Gain" << "0" << L{"Spk2 PEQ Band10 Gain=0"} << QByteArray("Mono: 0 [0%]");
        QTest::newRow("band FC") << "Spk3 PEQ Band7 FC" << "5000" << L{"Spk3 PEQ Band7 FC=5000"} << QByteArray("Mono: 5000 [21%]");
        QTest::newRow("channel delay at its bound") << "Music Chan4 Delay" << "768" << L{"Music Chan4 Delay=768"} << QByteArray("Mono: 768 [100%]");
        QTest::newRow("gain above maximum: clamped") << "User PEQ Band1 Gain" << "200" << L{"User PEQ Band1 Gain=80"} << QByteArray("Mono: 80 [100%]");
        QTest::newRow("FC below minimum: clamped") << "Spk1 PEQ Band2 FC" << "5" << L{"Spk1 PEQ Band2 FC=20"} << QByteArray("Mono: 20 [0%]");
        QTest::newRow("2Mic on") << "Voicecall CVC 2Mic" << "on" << L{"Voicecall CVC 2Mic=1"} << QByteArray("Mono: Playback [on]");
        QTest::newRow("2Mic off, already off: nothing reaches the card") << "Voicecall CVC 2Mic" << "off" << L() << QByteArray("Mono: Playback [off]");
    }

    // Written in one amixer process, read back in another: the value persisted in between and
    // reached the card once.
    void roundTrip()
    {
        QFETCH(QString, control);
        QFETCH(QString, written);
        QFETCH(L, journal);
        QFETCH(QByteArray, replyLine);

        QCOMPARE(amixer({"sset", control, written}).exitCode, 0);
        QCOMPARE(card->journal(), journal);
        const Run get = amixer({"sget", control});
        QCOMPARE(get.exitCode, 0);
        QCOMPARE(lastLine(get.out), replyLine);
        QVERIFY2(!get.out.contains("dB"), get.out.constData());
        if (!journal.isEmpty())
            QCOMPARE(card->value(control), journal.first().section('=', 1).toInt());
    }

    void damagedState_data()
    {
        QTest::addColumn<QByteArray>("state");

        QTest::newRow("truncated in a line") << QByteArray("User PEQ Switch Mode=1\nUser PEQ Core Ty");
        QTest::newRow("value not a number") << QByteArray("User PEQ Switch Mode=one\n");
        QTest::newRow("binary") << QByteArray("\0\xff=\n=\n\n\x01\x80\xfe", 11);
        QTest::newRow("larger than any state") << QByteArray(200000, 'x');
    }

    // Reported once, then the card runs from its power-on values: the first run repairs the file.
    void damagedState()
    {
        QFETCH(QByteArray, state);

        card->setValue("Main Vol Master Gain", 5);
        QFile file(card->dir() + "/state");
        QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate) && file.write(state) == state.size());
        file.close();

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
};

QTEST_GUILESS_MAIN(TestVirtualCard)
#include "tst_virtualcard.moc"
