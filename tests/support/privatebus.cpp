#include "support/privatebus.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QFile>
#include <QRegularExpression>
#include <QTest>

#include <csignal>
#include <pwd.h>
#include <sys/prctl.h>
#include <unistd.h>

namespace {

const char systemPolicy[] = "/usr/share/dbus-1/system.conf";

QString currentUserName()
{
    const passwd *user = getpwuid(getuid());
    return user ? QString::fromLocal8Bit(user->pw_name) : QStringLiteral("root");
}

} // namespace

void TiedProcess::setupChildProcess()
{
    prctl(PR_SET_PDEATHSIG, SIGTERM);
}

PrivateBus::PrivateBus(const QString &extraPolicy)
{
    hadAddress = qEnvironmentVariableIsSet("DBUS_SYSTEM_BUS_ADDRESS");
    savedAddress = qgetenv("DBUS_SYSTEM_BUS_ADDRESS");

    QFile system(QString::fromLatin1(systemPolicy));
    if (!dir.isValid() || !system.open(QIODevice::ReadOnly)) {
        error = QStringLiteral("cannot read %1 or create a temporary directory").arg(system.fileName());
        return;
    }
    // Clients a test runs as other users (setpriv) reach the socket through this folder.
    QFile::setPermissions(dir.path(), QFile::permissions(dir.path()) | QFile::ReadOther | QFile::ExeOther);
    QString policies;
    const QRegularExpression policy(QStringLiteral("<policy\\b.*?</policy>"),
                                    QRegularExpression::DotMatchesEverythingOption);
    for (auto it = policy.globalMatch(QString::fromUtf8(system.readAll())); it.hasNext();)
        policies += it.next().captured() + QLatin1Char('\n');

    const QString config = QStringLiteral(
        "<!DOCTYPE busconfig PUBLIC \"-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN\"\n"
        " \"http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd\">\n"
        "<busconfig>\n<type>system</type>\n<listen>unix:path=%1/system_bus_socket</listen>\n"
        "<auth>EXTERNAL</auth>\n%2"
        "<policy user=\"%3\">\n  <allow send_destination=\"org.freedesktop.DBus\" "
        "send_interface=\"org.freedesktop.DBus.Monitoring\"/>\n</policy>\n%4</busconfig>\n")
        .arg(dir.path(), policies, currentUserName(), extraPolicy);
    QFile configFile(dir.filePath(QStringLiteral("system.conf")));
    if (!configFile.open(QIODevice::WriteOnly) || configFile.write(config.toUtf8()) < 0) {
        error = QStringLiteral("cannot write %1").arg(configFile.fileName());
        return;
    }
    configFile.close();

    // Its complaints (the file limit it may not raise, monitors coming and going) are noise unless
    // it fails to start.
    daemon.setStandardErrorFile(dir.filePath(QStringLiteral("daemon.log")));
    daemon.start(QStringLiteral("dbus-daemon"),
                 {QStringLiteral("--config-file=") + configFile.fileName(), QStringLiteral("--nofork"),
                  QStringLiteral("--nopidfile"), QStringLiteral("--print-address")});
    // The address is printed once the socket listens.
    while (daemon.waitForReadyRead(10000) && !daemon.canReadLine()) {
    }
    busAddress = QString::fromLocal8Bit(daemon.readLine()).trimmed();
    if (busAddress.isEmpty()) {
        QFile log(dir.filePath(QStringLiteral("daemon.log")));
        log.open(QIODevice::ReadOnly);
        error = QStringLiteral("dbus-daemon did not start: %1 %2")
                    .arg(daemon.errorString(), QString::fromLocal8Bit(log.readAll()));
        stop();
        return;
    }
    qputenv("DBUS_SYSTEM_BUS_ADDRESS", busAddress.toLocal8Bit());
}

PrivateBus::~PrivateBus()
{
    if (monitor) {
        monitor->kill();
        monitor->waitForFinished();
    }
    stop();
    if (hadAddress)
        qputenv("DBUS_SYSTEM_BUS_ADDRESS", savedAddress);
    else
        qunsetenv("DBUS_SYSTEM_BUS_ADDRESS");
}

void PrivateBus::stop()
{
    if (daemon.state() == QProcess::NotRunning)
        return;
    daemon.terminate();
    if (!daemon.waitForFinished(5000)) {
        daemon.kill();
        daemon.waitForFinished();
    }
}

bool PrivateBus::sendSignal(const QString &path, const QString &interfaceMember)
{
    return QProcess::execute(QStringLiteral("dbus-send"),
                             {QStringLiteral("--system"), QStringLiteral("--type=signal"), path,
                              interfaceMember}) == 0;
}

bool PrivateBus::startMonitor()
{
    monitor = std::make_unique<TiedProcess>();
    monitor->setProcessChannelMode(QProcess::MergedChannels);
    monitor->start(QStringLiteral("dbus-monitor"), {QStringLiteral("--system")});
    // A monitor loses its unique name when it switches to monitoring.
    return waitForMonitor("member=NameLost");
}

bool PrivateBus::waitForMonitor(const QByteArray &text, int timeoutMs)
{
    if (!monitor)
        return false;
    const QDeadlineTimer deadline(timeoutMs);
    for (;;) {
        monitorText += monitor->readAll();
        if (monitorText.contains(text))
            return true;
        if (deadline.hasExpired() || monitor->state() == QProcess::NotRunning)
            return false;
        monitor->waitForReadyRead(int(qMax<qint64>(1, deadline.remainingTime())));
    }
}

QByteArray PrivateBus::monitorOutput()
{
    if (monitor)
        monitorText += monitor->readAll();
    return monitorText;
}

void PrivateBus::runCaseInOwnProcess()
{
    QString name = QString::fromLatin1(QTest::currentTestFunction());
    if (QTest::currentDataTag())
        name += QLatin1Char(':') + QString::fromLocal8Bit(QTest::currentDataTag());

    // The verdict goes to a file: the case may redirect standard output to capture it.
    QTemporaryDir logDir;
    const QString log = logDir.filePath(QStringLiteral("case.txt"));
    TiedProcess child;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("EQ_CASE_IN_OWN_PROCESS"), QStringLiteral("1"));
    child.setProcessEnvironment(environment);
    child.setProcessChannelMode(QProcess::MergedChannels);
    child.start(QCoreApplication::applicationFilePath(), {name, QStringLiteral("-o"), log + QStringLiteral(",txt")});
    const bool finished = child.waitForFinished(120000);
    if (!finished) {
        child.kill();
        child.waitForFinished();
    }
    QFile verdict(log);
    verdict.open(QIODevice::ReadOnly);
    const QString output = QString::fromLocal8Bit(verdict.readAll() + child.readAll());
    if (!finished || child.exitStatus() != QProcess::NormalExit || child.exitCode() != 0)
        QFAIL(qPrintable(QStringLiteral("%1 failed in its own process:\n%2").arg(name, output)));
    const QRegularExpressionMatch skip =
        QRegularExpression(QStringLiteral("^SKIP\\s*:.*$"), QRegularExpression::MultilineOption)
            .match(output);
    if (skip.hasMatch())
        QSKIP(qPrintable(skip.captured()));
}
