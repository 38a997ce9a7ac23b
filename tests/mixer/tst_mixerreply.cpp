#include "mixer/reply.h"

#include <QtTest>

namespace {

const QByteArray bandGainReply =
    "Simple mixer control 'User PEQ Band3 Gain',0\n"
    "  Capabilities: volume volume-joined\n"
    "  Playback channels: Mono\n"
    "  Capture channels: Mono\n"
    "  Limits: 0 - 80\n"
    "  Mono: 66 [83%]\n";

} // namespace

// The slicing rules of amixer replies, on recorded and edge replies. Every slice is taken with
// QByteArray::mid(), which clamps, so a missing mark gives a defined text (the edge rows).
class TestMixerReply : public QObject
{
    Q_OBJECT

private slots:
    void integerAndVolume_data()
    {
        QTest::addColumn<QByteArray>("reply");
        QTest::addColumn<int>("integer"); // the integer reads: up to the last "["
        QTest::addColumn<int>("volume");  // the volume read: up to the first "["

        QTest::newRow("whole reply of a band gain") << bandGainReply << 66 << 66;
        QTest::newRow("Mono: 40 [50%]") << QByteArray("Mono: 40 [50%]") << 40 << 40;
        QTest::newRow("Mono: 0 [0%]: 0, like a reply that is no number") << QByteArray("Mono: 0 [0%]") << 0 << 0;
        QTest::newRow("dB bracket behind the percentage: 0 for integers, 40 for the volume")
            << QByteArray("  Mono: 40 [50%] [-20.00dB]\n") << 0 << 40;
        QTest::newRow("no Mono: and no [") << QByteArray("amixer: Unable to find simple control") << 0 << 0;
        QTest::newRow("empty reply") << QByteArray() << 0 << 0;
        QTest::newRow("number too big for an int") << QByteArray("Mono: 99999999999 [1%]") << 0 << 0;
    }

    void integerAndVolume()
    {
        QFETCH(QByteArray, reply);
        QFETCH(int, integer);
        QFETCH(int, volume);
        QCOMPARE(MixerReply::integerValue(reply).value, integer);
        QCOMPARE(MixerReply::volumeValue(reply).value, volume);
    }

    void bracketText_data()
    {
        QTest::addColumn<QByteArray>("reply");
        QTest::addColumn<QByteArray>("text");

        QTest::newRow("switch on") << QByteArray("  Mono: Playback [on]\n") << QByteArray("on");
        QTest::newRow("two brackets: first [ to last ]")
            << QByteArray("Mono: 40 [50%] [-20.00dB]") << QByteArray("50%] [-20.00dB");
        QTest::newRow("empty brackets") << QByteArray("Mono: []") << QByteArray();
        QTest::newRow("no brackets: the whole reply") << QByteArray("Mono: on") << QByteArray("Mono: on");
        QTest::newRow("empty reply") << QByteArray() << QByteArray();
    }

    void bracketText()
    {
        QFETCH(QByteArray, reply);
        QFETCH(QByteArray, text);
        QCOMPARE(MixerReply::bracketText(reply).text, text);
    }
};

QTEST_APPLESS_MAIN(TestMixerReply)
#include "tst_mixerreply.moc"
