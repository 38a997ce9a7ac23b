#pragma once

// PrivateBus: a dbus-daemon of the test's own with the system bus's access policy, listening in a
// temporary folder. While it lives DBUS_SYSTEM_BUS_ADDRESS points at it, for this process and the
// tools it starts; its owner may monitor it. libdbus keeps one system-bus connection per process:
// a case that needs a fresh one (or no bus) starts with EQ_RUN_IN_OWN_PROCESS(), which runs it again
// in a child process of the test binary and takes over its verdict.

#include <QByteArray>
#include <QProcess>
#include <QString>
#include <QTemporaryDir>

#include <memory>

// Ends with the test process: a test killed midway would otherwise leave it running, holding what
// the test inherited (a lock the test runs under among them).
class TiedProcess : public QProcess
{
protected:
    void setupChildProcess() override;
};

class PrivateBus
{
public:
    // extraPolicy: <policy> or <include> elements read after the system's.
    explicit PrivateBus(const QString &extraPolicy = QString());
    ~PrivateBus();

    bool isRunning() const { return daemon.state() == QProcess::Running && !busAddress.isEmpty(); }
    QString errorString() const { return error; }
    QString address() const { return busAddress; }

    // The bus disappears under its clients.
    void stop();

    // dbus-send --system --type=signal PATH INTERFACE.MEMBER; true when dbus-send succeeded.
    bool sendSignal(const QString &path, const QString &interfaceMember);

    // dbus-monitor --system; returns once it listens.
    bool startMonitor();
    bool waitForMonitor(const QByteArray &text, int timeoutMs = 5000);
    QByteArray monitorOutput();

    static bool inOwnProcess() { return qEnvironmentVariableIsSet("EQ_CASE_IN_OWN_PROCESS"); }
    static void runCaseInOwnProcess();

private:
    QTemporaryDir dir;
    TiedProcess daemon;
    std::unique_ptr<TiedProcess> monitor;
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
