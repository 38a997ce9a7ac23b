#include "support/privatebus.h"

#include <QDir>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <linux/input.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

QByteArray homeKeyPressAndRelease()
{
    QByteArray bytes;
    for (int value : {1, 0}) {
        input_event event{};
        event.type = EV_KEY;
        event.code = KEY_HOMEPAGE;
        event.value = value;
        bytes.append(reinterpret_cast<const char *>(&event), sizeof event);
    }
    return bytes;
}

} // namespace

// The built program against a private bus, its Home key fed through the laptop stand-in: a FIFO
// mounted at the fixed key path inside a mount namespace of its own.
class TestApplication : public QObject
{
    Q_OBJECT

private slots:
    void resumeShowsAndHomeKeyMinimizes()
    {
        if (geteuid() != 0 || QProcess::execute(QStringLiteral("unshare"), {"-m", "true"}) != 0)
            QSKIP("the fixed key path can only be replaced in a private mount namespace, which needs "
                  "root and a permitted unshare -m");
        PrivateBus bus;
        QVERIFY2(bus.isRunning(), qPrintable(bus.errorString()));
        QVERIFY(bus.startMonitor());
        QTemporaryDir dir;
        const QString fifo = dir.filePath(QStringLiteral("home-key"));
        QCOMPARE(mkfifo(fifo.toLocal8Bit().constData(), 0600), 0);
        QVERIFY(QDir().mkpath(dir.filePath(QStringLiteral("mnt"))));

        QProcess app;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
        environment.insert(QStringLiteral("QT_QUICK_BACKEND"), QStringLiteral("software"));
        environment.insert(QStringLiteral("EQ_KEY_FIFO"), fifo);
        environment.insert(QStringLiteral("EQ_PLATFORM_DIR"), dir.path());
        app.setProcessEnvironment(environment);
        app.setProcessChannelMode(QProcess::MergedChannels);
        // The settings under /var/lib stay inside the namespace too.
        app.start(QStringLiteral("unshare"),
                  {"-m", "bash", "-c",
                   "mount -t tmpfs eq-test /var/lib && mkdir /var/lib/equalizer && source \"$0\" && "
                   "eq_platform_exec \"$@\"",
                   qEnvironmentVariable("EQ_SOURCE_DIR") + "/scripts/laptop-platform.sh",
                   qEnvironmentVariable("EQ_BUILD_DIR") + "/bin/equalizer"});
        QByteArray out;
        const auto printed = [&](const QByteArray &line) {
            out += app.readAll();
            return out.contains(line);
        };

        QVERIFY(bus.waitForMonitor("member=AddMatch", 30000));
        QVERIFY(bus.sendSignal(QStringLiteral("/"), QStringLiteral("zk.app.Equalizer.interface.resume")));
        QTRY_VERIFY_WITH_TIMEOUT(printed("<Equalizer>show\n"), 10000);

        int writer = -1;
        QTRY_VERIFY((writer >= 0 || (writer = open(fifo.toLocal8Bit().constData(), O_WRONLY | O_NONBLOCK)) >= 0));
        const QByteArray keys = homeKeyPressAndRelease();
        QCOMPARE(write(writer, keys.constData(), size_t(keys.size())), ssize_t(keys.size()));
        QVERIFY2(bus.waitForMonitor(
                     "path=/zk/activity/Equalizer; interface=zk.activity.manager.interface; member=minimize"),
                 (out + app.readAll()).constData());
        close(writer);
        app.kill();
        app.waitForFinished();
    }
};

QTEST_GUILESS_MAIN(TestApplication)
#include "tst_application.moc"
