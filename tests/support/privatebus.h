#pragma once

// PrivateBus: a dbus-daemon of the test's own, with the system bus's access policy (copied from
// /usr/share/dbus-1/system.conf) but listening on a socket in a temporary directory, running in the
// foreground as the current user. While it lives, DBUS_SYSTEM_BUS_ADDRESS points at it, so "the
// system bus" of this process and of every tool it starts (dbus-send, dbus-monitor, the
// application) is this bus. The bus's owner may monitor it, as root may monitor the real one.
//
//     PrivateBus bus;
//     QVERIFY2(bus.isRunning(), qPrintable(bus.errorString()));
//     QVERIFY(bus.startMonitor());
//     bus.sendSignal("/", "zk.app.Equalizer.interface.resume");
//     QVERIFY(bus.waitForMonitor("member=resume"));
//
// libdbus reads the bus address and opens its shared system-bus connection once per process, and
// keeps both. A test whose cases each need a fresh connection (or no bus at all) starts each case
// with EQ_RUN_IN_OWN_PROCESS(): the case then runs again in a child process of the test binary,
// whose verdict (pass, failure with its output, skip) becomes the case's verdict.

#include <QByteArray>
#include <QProcess>
#include <QString>
#include <QTemporaryDir>

#include <memory>

class PrivateBus
{
public:
    // extraPolicy: <policy> elements read after the system's, such as a name a test's service owns,
    // or an <include> of a policy file.
    explicit PrivateBus(const QString &extraPolicy = QString());
    ~PrivateBus();

    bool isRunning() const;
    QString errorString() const { return error; }
    QString address() const { return busAddress; }

    // Ends the daemon: the bus disappears under its clients.
    void stop();

    // dbus-send --system --type=signal PATH INTERFACE.MEMBER; true when dbus-send succeeded.
    bool sendSignal(const QString &path, const QString &interfaceMember);

    // An independent observer of all traffic (dbus-monitor --system); returns once it listens.
    bool startMonitor();
    // Waits until the monitor's output contains text; false after timeoutMs.
    bool waitForMonitor(const QByteArray &text, int timeoutMs = 5000);
    QByteArray monitorOutput();

    // True in the child process that EQ_RUN_IN_OWN_PROCESS() starts.
    static bool inOwnProcess();
    // Runs the current test function and data row in a child process and reports its verdict.
    static void runCaseInOwnProcess();

private:
    QTemporaryDir dir;
    QProcess daemon;
    std::unique_ptr<QProcess> monitor;
    QByteArray monitorText;
    QString busAddress;
    QString error;
    QByteArray savedAddress;
    bool hadAddress = false;
};

#define EQ_RUN_IN_OWN_PROCESS()                                                                    \
    do {                                                                                           \
        if (!PrivateBus::inOwnProcess()) {                                                         \
            PrivateBus::runCaseInOwnProcess();                                                     \
            return;                                                                                \
        }                                                                                          \
    } while (false)
