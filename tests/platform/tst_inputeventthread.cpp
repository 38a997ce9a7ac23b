#include "platform/inputeventthread.h"
#include "support/keyrecords.h"
#include "support/stdoutcapture.h"

#include <QDir>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTest>

#include <atomic>
#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// True once some descriptor of this process is open on path (the reader has passed open()).
bool openedHere(const QString &path)
{
    const QDir fds(QStringLiteral("/proc/self/fd"));
    for (const QFileInfo &fd : fds.entryInfoList(QDir::Files | QDir::System))
        if (fd.symLinkTarget() == path)
            return true;
    return false;
}

// The key device is a FIFO: the test writes records, and closing its end is the end of file.
class KeyFifo
{
public:
    KeyFifo() { mkfifo(path().toLocal8Bit().constData(), 0600); }
    ~KeyFifo() { closeWriter(); }
    QString path() const { return dir.filePath(QStringLiteral("keys")); }
    // Never blocks: fails until the reader has opened its end.
    bool openWriter()
    {
        if (writer < 0)
            writer = open(path().toLocal8Bit().constData(), O_WRONLY | O_NONBLOCK);
        return writer >= 0;
    }
    // The first `split` bytes go alone, and the rest only once the reader has taken them.
    bool write(const QByteArray &bytes, int split)
    {
        const int first = split > 0 ? split : bytes.size();
        if (::write(writer, bytes.constData(), size_t(first)) != first)
            return false;
        int unread = 1;
        while (split > 0 && ioctl(writer, FIONREAD, &unread) == 0 && unread > 0)
            QTest::qWait(5);
        const int rest = bytes.size() - first;
        return ::write(writer, bytes.constData() + first, size_t(rest)) == rest;
    }
    void closeWriter()
    {
        if (writer >= 0)
            close(writer);
        writer = -1;
    }

private:
    QTemporaryDir dir;
    int writer = -1;
};

} // namespace

class TestInputEventThread : public QObject
{
    Q_OBJECT

private slots:
    void keys_data()
    {
        QTest::addColumn<QByteArray>("input");
        QTest::addColumn<int>("split"); // -1: no device at the path
        QTest::addColumn<int>("clicks");
        QTest::addColumn<QByteArray>("printed");
        const QByteArray press = "event code: 172, event value: 1\n";
        const QByteArray release = "event code: 172, event value: 0\n";
        // One click, on the release: an auto-repeat or another key's release is printed only, a
        // sync report not even that.
        QTest::newRow("Home press, repeat and release among other keys and sync reports")
            << keyRecords({{1, 172, 1}, {0, 0, 0}, {1, 172, 2}, {1, 114, 0}, {1, 172, 0}, {0, 0, 0}}) << 0 << 1
            << press + "event code: 172, event value: 2\nevent code: 114, event value: 0\n" + release;
        QTest::newRow("release split across two reads: one click")
            << keyRecords({{1, 172, 0}}) << 10 << 1 << release;
        QTest::newRow("no device: one line, the thread ends")
            << QByteArray() << -1 << 0 << QByteArray("Can't open the input file\n");
    }
    void keys()
    {
        QFETCH(QByteArray, input);
        QFETCH(int, split);
        QFETCH(int, clicks);
        QFETCH(QByteArray, printed);
        KeyFifo fifo;
        InputEventThread thread(nullptr, split < 0 ? fifo.path() + "-absent" : fifo.path());
        std::atomic<int> clicked{0};
        connect(&thread, &InputEventThread::homeKeyClicked, [&] { ++clicked; });
        QByteArray out;
        {
            StdoutCapture capture;
            thread.start();
            if (split >= 0) {
                QTRY_VERIFY(fifo.openWriter());
                QVERIFY(fifo.write(input, split));
                fifo.closeWriter();
            }
            QVERIFY(thread.wait(5000));
            out = capture.text();
        }
        QCOMPARE(out, "InputEventThread start\n" + printed);
        QCOMPARE(clicked.load(), clicks);
    }

    // Stopped while it waits on a stand-in FIFO no one has opened for writing yet (with an idle
    // writer, through the controller: tst_shutdown).
    void stopBeforeAnyWriter()
    {
        KeyFifo fifo;
        InputEventThread thread(nullptr, fifo.path());
        thread.start();
        QTRY_VERIFY(openedHere(fifo.path()));
        thread.stop();
        QVERIFY(thread.wait(5000));
    }
};

QTEST_GUILESS_MAIN(TestInputEventThread)
#include "tst_inputeventthread.moc"
