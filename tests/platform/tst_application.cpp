#include "support/keyrecords.h"
#include "support/privatebus.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QProcess>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>

#include <dbus/dbus.h>

#include <csignal>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// Starts the built program against the private bus, its Home key fed through the laptop stand-in
// (a FIFO mounted at the fixed key path) and its settings folder bound to dir/state, inside a mount
// namespace of its own; returns once the program listens on the bus, which the bus's monitor shows.
void startProgram(QProcess &app, const QTemporaryDir &dir, PrivateBus &bus)
{
    QVERIFY2(bus.isRunning(), qPrintable(bus.errorString()));
    QVERIFY(bus.startMonitor());
    QVERIFY(QDir().mkpath(dir.filePath(QStringLiteral("mnt"))));
    QVERIFY(QDir().mkpath(dir.filePath(QStringLiteral("state"))));
    QCOMPARE(mkfifo(QFile::encodeName(dir.filePath(QStringLiteral("home-key"))).constData(), 0600), 0);
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    environment.insert(QStringLiteral("QT_QUICK_BACKEND"), QStringLiteral("software"));
    environment.insert(QStringLiteral("EQ_KEY_FIFO"), dir.filePath(QStringLiteral("home-key")));
    environment.insert(QStringLiteral("EQ_PLATFORM_DIR"), dir.path());
    app.setProcessEnvironment(environment);
    app.setProcessChannelMode(QProcess::MergedChannels);
    app.start(QStringLiteral("unshare"),
              {"-m", "bash", "-c",
               "mount -t tmpfs eq-test /var/lib && mkdir /var/lib/equalizer && mount --bind \"$0/state\" "
               "/var/lib/equalizer && source \"$1\" && shift && eq_platform_exec \"$@\"",
               dir.path(), qEnvironmentVariable("EQ_SOURCE_DIR") + "/scripts/laptop-platform.sh",
               qEnvironmentVariable("EQ_BUILD_DIR") + "/bin/equalizer"});
    QVERIFY(bus.waitForMonitor("member=AddMatch", 30000));
}

// The key FIFO opened for writing once the program reads it; -1 if it never does.
int keyWriter(const QTemporaryDir &dir)
{
    const QByteArray fifo = QFile::encodeName(dir.filePath(QStringLiteral("home-key")));
    QDeadlineTimer deadline(10000);
    int writer;
    while ((writer = open(fifo.constData(), O_WRONLY | O_NONBLOCK)) < 0 && !deadline.hasExpired())
        QTest::qWait(20);
    return writer;
}

} // namespace

class TestApplication : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        if (geteuid() != 0 || QProcess::execute(QStringLiteral("unshare"), {"-m", "true"}) != 0)
            QSKIP("the fixed key path can only be replaced in a private mount namespace, which needs "
                  "root and a permitted unshare -m");
    }

    // A resume shows the program and the Home key minimises it; then what the service manager sends
    // to stop the unit, or a terminal: the program ends through its normal shutdown while key
    // presses and bus signals pour in.
    void terminationSignalEndsCleanly_data()
    {
        QTest::addColumn<int>("signal");
        QTest::newRow("SIGTERM") << int(SIGTERM);
        QTest::newRow("SIGINT") << int(SIGINT);
        QTest::newRow("SIGHUP") << int(SIGHUP);
    }

    void terminationSignalEndsCleanly()
    {
        QFETCH(int, signal);
        PrivateBus bus;
        QTemporaryDir dir;
        QProcess app;
        startProgram(app, dir, bus);
        if (QTest::currentTestFailed())
            return;
        QVERIFY(bus.sendSignal(QStringLiteral("/"), QStringLiteral("zk.app.Equalizer.interface.resume")));
        QByteArray out;
        QTRY_VERIFY_WITH_TIMEOUT((out += app.readAll()).contains("<Equalizer>show\n"), 10000);
        const int writer = keyWriter(dir);
        QVERIFY(writer >= 0);
        const QByteArray click = keyRecords({{EV_KEY, KEY_HOMEPAGE, 1}, {EV_KEY, KEY_HOMEPAGE, 0}});
        QByteArray keys = click;
        QCOMPARE(write(writer, keys.constData(), size_t(keys.size())), ssize_t(keys.size()));
        QVERIFY2(bus.waitForMonitor(
                     "path=/zk/activity/Equalizer; interface=zk.activity.manager.interface; member=minimize"),
                 (out += app.readAll()).constData());
        DBusConnection *client = dbus_connection_open_private(qPrintable(bus.address()), nullptr);
        QVERIFY(client && dbus_bus_register(client, nullptr));

        for (int i = 0; i < 500; ++i)
            keys += click;
        QCOMPARE(write(writer, keys.constData(), size_t(keys.size())), ssize_t(keys.size()));
        for (int i = 0; i < 200; ++i) {
            DBusMessage *resume = dbus_message_new_signal("/", "zk.app.Equalizer.interface", "resume");
            dbus_connection_send(client, resume, nullptr);
            dbus_message_unref(resume);
        }
        dbus_connection_flush(client);
        QCOMPARE(kill(pid_t(app.processId()), signal), 0);
        QVERIFY(app.waitForFinished(10000));
        close(writer);
        dbus_connection_close(client);
        dbus_connection_unref(client);

        out += app.readAll();
        QCOMPARE(app.exitStatus(), QProcess::NormalExit);
        QVERIFY2(app.exitCode() == 0, out.constData());
        QVERIFY2(out.endsWith("Radio recv dbus deamon exit \n"), out.right(300).constData());
        const QSettings stored(dir.filePath(QStringLiteral("state/Equalizer.conf")), QSettings::NativeFormat);
        QCOMPARE(stored.value(QStringLiteral("ProfileId")).toString(), QStringLiteral("2"));
    }
};

QTEST_GUILESS_MAIN(TestApplication)
#include "tst_application.moc"
