#include "equalizer/equalizer.h"
#include "support/controllerfixture.h"
#include "support/privatebus.h"

#include <QTemporaryDir>
#include <QTest>
#include <QThread>

#include <atomic>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

class TestShutdown : public QObject
{
    Q_OBJECT

private slots:
    // Both workers wait at the moment of teardown: the bus loop in its pause between polls, the
    // key reader in poll() on a device whose writer stays open.
    void destroyingTheControllerJoinsBothThreads()
    {
        PrivateBus bus;
        QVERIFY2(bus.isRunning(), qPrintable(bus.errorString()));
        QVERIFY(bus.startMonitor());
        QTemporaryDir dir;
        EqualizerPaths paths = ControllerFixture::paths(dir);
        paths.keyDevice = dir.filePath(QStringLiteral("keys"));
        QCOMPARE(mkfifo(paths.keyDevice.toLocal8Bit().constData(), 0600), 0);

        auto equalizer = std::make_unique<Equalizer>(nullptr, paths);
        int writer = -1;
        QTRY_VERIFY((writer >= 0 || (writer = open(paths.keyDevice.toLocal8Bit().constData(),
                                                   O_WRONLY | O_NONBLOCK)) >= 0));
        QVERIFY(bus.waitForMonitor("member=AddMatch"));
        const QList<QThread *> workers = equalizer->findChildren<QThread *>();
        QCOMPARE(workers.size(), 2);
        std::atomic<int> finished{0};
        for (QThread *worker : workers) {
            QVERIFY(worker->isRunning());
            connect(worker, &QThread::finished, [&] { ++finished; });
        }

        equalizer.reset();
        close(writer);

        QCOMPARE(finished.load(), 2);
    }
};

QTEST_GUILESS_MAIN(TestShutdown)
#include "tst_shutdown.moc"
