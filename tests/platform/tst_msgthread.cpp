#include "platform/msgthread.h"
#include "support/privatebus.h"
#include "support/stdoutcapture.h"

#include <QMutex>
#include <QTemporaryDir>
#include <QTest>

#include <dbus/dbus.h>

#include <atomic>

namespace {

const QString unknown = QStringLiteral("warning unknown message.ignore..\r\n");
const QString resumed = QStringLiteral("<Equalizer - MsgThread> ---- received resume message\r\n");
const QString noConnection = QStringLiteral("error: <Equalizer - MsgThread> dbus connection is null\r\n");
const char rule[] = "type='signal',interface='zk.app.Equalizer.interface'";
// How the monitor shows the loop subscribing: from then on the bus routes the signals to it.
const QByteArray subscribed = QByteArray("member=AddMatch\n   string \"") + rule + '"';

// What the toolkit's debug handler receives, from any thread. Each case has a process of its own
// and keeps the handler to its end.
QMutex mutex;
QStringList debugLines;
void recordDebug(QtMsgType type, const QMessageLogContext &, const QString &message)
{
    QMutexLocker locker(&mutex);
    if (type == QtDebugMsg)
        debugLines << message;
}
QStringList debugLog()
{
    QMutexLocker locker(&mutex);
    return debugLines;
}

// The loop on a private bus, started and subscribed.
struct Loop
{
    PrivateBus bus;
    MsgThread thread;
    std::atomic<int> resumes{0};
    bool start()
    {
        qInstallMessageHandler(recordDebug);
        QObject::connect(&thread, &MsgThread::appResume, [this] { ++resumes; });
        if (!bus.isRunning() || !bus.startMonitor())
            return false;
        thread.start();
        return bus.waitForMonitor(subscribed);
    }
};

} // namespace

// Each case runs in a process of its own: libdbus keeps one system-bus connection per process.
class TestMsgThread : public QObject
{
    Q_OBJECT

private slots:
    void receive_data()
    {
        QTest::addColumn<QStringList>("sent");
        QTest::addColumn<QStringList>("logged");
        QTest::addColumn<int>("padding"); // bytes of a signal sent first, straight to the loop's connection
        // The bus greets every new connection first (NameAcquired), which the loop does not know.
        // A closing "resume" marks the point where everything sent before it has been handled.
        QTest::newRow("resume: one appResume, one line")
            << QStringList{"zk.app.Equalizer.interface.resume"} << QStringList{unknown, resumed} << 0;
        QTest::newRow("minimize on the same interface: a warning only")
            << QStringList{"zk.app.Equalizer.interface.minimize", "zk.app.Equalizer.interface.resume"}
            << QStringList{unknown, unknown, resumed} << 0;
        QTest::newRow("resume on another interface: never delivered")
            << QStringList{"zk.app.Other.interface.resume", "zk.app.Equalizer.interface.resume"}
            << QStringList{unknown, resumed} << 0;
        // Read a few KiB a second, it would hold the resume up for minutes.
        QTest::newRow("1 MiB signal on another interface, then resume: handled as soon as it is in")
            << QStringList{"zk.app.Equalizer.interface.resume"} << QStringList{unknown, unknown, resumed} << (1 << 20);
    }
    void receive()
    {
        EQ_RUN_IN_OWN_PROCESS();
        QFETCH(QStringList, sent);
        QFETCH(QStringList, logged);
        QFETCH(int, padding);
        Loop loop;
        QVERIFY2(loop.start(), qPrintable(loop.bus.errorString()));
        if (padding) {
            DBusConnection *shared = dbus_bus_get(DBUS_BUS_SYSTEM, nullptr);
            DBusMessage *large = dbus_message_new_signal("/", "zk.app.Other.interface", "pad");
            dbus_message_set_destination(large, dbus_bus_get_unique_name(shared));
            const QByteArray bytes(padding, 'x');
            const char *data = bytes.constData();
            dbus_message_append_args(large, DBUS_TYPE_ARRAY, DBUS_TYPE_BYTE, &data, padding, DBUS_TYPE_INVALID);
            QVERIFY(dbus_connection_send(shared, large, nullptr));
            dbus_connection_flush(shared);
            dbus_message_unref(large);
            dbus_connection_unref(shared);
        }
        for (const QString &signal : sent)
            QVERIFY(loop.bus.sendSignal(QStringLiteral("/"), signal));
        QTRY_COMPARE_WITH_TIMEOUT(loop.resumes.load(), 1, 3000);
        // Pausing tells the launcher on its own path and interface.
        loop.thread.onAppPaused();
        QVERIFY(loop.bus.waitForMonitor(
            "path=/zk/activity/Equalizer; interface=zk.activity.manager.interface; member=minimize"));
        loop.thread.stop();
        QVERIFY(loop.thread.wait(5000));
        QCOMPARE(loop.resumes.load(), 1);
        QCOMPARE(debugLog(), logged + QStringList{"<Equalizer - MsgThread> sent minimize to launch\r\n"});
    }

    void queuedSignalsAreHandledInOnePass()
    {
        EQ_RUN_IN_OWN_PROCESS();
        PrivateBus bus;
        QVERIFY2(bus.isRunning(), qPrintable(bus.errorString()));
        MsgThread thread;
        std::atomic<int> resumes{0};
        connect(&thread, &MsgThread::appResume, [&] { ++resumes; });
        // Subscribing the shared connection here queues the three signals on it before the loop
        // starts; with stop() already requested, the loop ends at its first pause, so all three
        // are handled only if it drains the queue without pausing in between.
        DBusError error;
        dbus_error_init(&error);
        DBusConnection *shared = dbus_bus_get(DBUS_BUS_SYSTEM, &error);
        QVERIFY(shared);
        dbus_bus_add_match(shared, rule, &error);
        QVERIFY(!dbus_error_is_set(&error));
        QVERIFY(bus.startMonitor());
        for (int i = 0; i < 3; ++i)
            QVERIFY(bus.sendSignal(QStringLiteral("/"), QStringLiteral("zk.app.Equalizer.interface.resume")));
        QTRY_COMPARE(bus.monitorOutput().count("member=resume"), 3);

        thread.stop();
        thread.start();
        QVERIFY(thread.wait(5000));
        QCOMPARE(resumes.load(), 3);
        dbus_connection_unref(shared);
    }

    void withoutBus()
    {
        EQ_RUN_IN_OWN_PROCESS();
        QTemporaryDir dir;
        qputenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=" + dir.filePath("none").toLocal8Bit());
        qInstallMessageHandler(recordDebug);
        StdoutCapture out;
        MsgThread thread;
        thread.start();
        QVERIFY(thread.wait(5000));
        thread.onAppPaused();
        QCOMPARE(out.text(), QByteArray("<Equalizer - MsgThread> dbus get error\nRadio recv dbus deamon exit \n"));
        QCOMPARE(debugLog(), QStringList({noConnection, noConnection}));
    }

    void busGoingAwayEndsTheLoop()
    {
        EQ_RUN_IN_OWN_PROCESS();
        StdoutCapture out;
        Loop loop;
        QVERIFY2(loop.start(), qPrintable(loop.bus.errorString()));
        loop.bus.stop();
        QVERIFY(loop.thread.wait(5000));
        QCOMPARE(out.text(), QByteArray("Radio recv dbus deamon exit \n"));
        loop.thread.onAppPaused();
    }
};

QTEST_GUILESS_MAIN(TestMsgThread)
#include "tst_msgthread.moc"
