#include "support/virtualcard.h"

#include <QFile>
#include <QProcess>
#include <QSaveFile>
#include <QtDebug>

#include <cerrno>

#include <sys/file.h>

namespace {

// The card's own lock: the plugin holds it while it rewrites the state, and so does setValue().
class CardLock
{
public:
    explicit CardLock(const QString &path) : file(path)
    {
        if (file.open(QIODevice::ReadWrite))
            while (::flock(file.handle(), LOCK_EX) != 0 && errno == EINTR) {
            }
    }
    ~CardLock() { file.close(); }

private:
    QFile file;
};

} // namespace

VirtualCard::VirtualCard()
{
    hadAlsaConfigPath = qEnvironmentVariableIsSet("ALSA_CONFIG_PATH");
    savedAlsaConfigPath = qgetenv("ALSA_CONFIG_PATH");
    savedPath = qgetenv("PATH");

    const QString buildDir = qEnvironmentVariable("EQ_BUILD_DIR");
    if (buildDir.isEmpty()) {
        error = QStringLiteral("EQ_BUILD_DIR is not set (CTest sets it)");
        return;
    }
    if (!tempDir.isValid()) {
        error = QStringLiteral("no temporary folder: ") + tempDir.errorString();
        return;
    }
    envScript = buildDir + QStringLiteral("/tools/virtual-card/env");
    if (!runEnvScript())
        return;

    const QByteArray binDirs = QFile::encodeName(path(QStringLiteral("bin"))) + ':'
            + QFile::encodeName(buildDir + QStringLiteral("/bin"));
    qputenv("PATH", savedPath.isEmpty() ? binDirs : binDirs + ':' + savedPath);
    valid = true;
}

VirtualCard::~VirtualCard()
{
    if (hadAlsaConfigPath)
        qputenv("ALSA_CONFIG_PATH", savedAlsaConfigPath);
    else
        qunsetenv("ALSA_CONFIG_PATH");
    qputenv("PATH", savedPath);
}

// The env script writes the card's files and prints the shell lines that select it; only
// ALSA_CONFIG_PATH matters here. Running it again on the same folder keeps the state it finds.
bool VirtualCard::runEnvScript()
{
    QProcess sh;
    sh.start(QStringLiteral("/bin/sh"), {envScript, tempDir.path()});
    // No time limit of its own: under emulation on a loaded machine it can take long, and CTest's
    // time-out ends a run that hangs.
    if (!sh.waitForFinished(-1) || sh.exitStatus() != QProcess::NormalExit || sh.exitCode() != 0) {
        error = QStringLiteral("%1 failed: %2").arg(envScript, QString::fromLocal8Bit(sh.readAllStandardError()));
        return false;
    }
    const QByteArray prefix("export ALSA_CONFIG_PATH='");
    for (const QByteArray &line : sh.readAllStandardOutput().split('\n')) {
        if (line.startsWith(prefix) && line.endsWith('\'')) {
            qputenv("ALSA_CONFIG_PATH", line.mid(prefix.size(), line.size() - prefix.size() - 1));
            return true;
        }
    }
    error = envScript + QStringLiteral(" printed no ALSA_CONFIG_PATH");
    return false;
}

QStringList VirtualCard::lines(const QString &name) const
{
    QFile file(path(name));
    if (!file.open(QIODevice::ReadOnly))
        return {};
    QStringList result = QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'));
    if (!result.isEmpty() && result.constLast().isEmpty())
        result.removeLast();
    return result;
}

// Replaced whole, so that an amixer run opening the card meanwhile reads the old list or the new.
void VirtualCard::writeList(const QString &name, const QStringList &lines)
{
    QSaveFile file(path(name));
    if (!file.open(QIODevice::WriteOnly)) {
        qWarning("VirtualCard: cannot write %s", qPrintable(file.fileName()));
        return;
    }
    for (const QString &line : lines)
        file.write(line.toUtf8() + '\n');
    file.commit();
}

void VirtualCard::clearLogs()
{
    for (const QString &name : {QStringLiteral("journal"), QStringLiteral("commands")}) {
        QFile file(path(name));
        file.open(QIODevice::WriteOnly | QIODevice::Truncate);
    }
}

int VirtualCard::value(const QString &control) const
{
    const QString prefix = control + QLatin1Char('=');
    for (const QString &line : lines(QStringLiteral("state"))) {
        if (line.startsWith(prefix)) {
            bool ok = false;
            const int v = line.mid(prefix.size()).toInt(&ok);
            return ok ? v : -1;
        }
    }
    return -1;
}

void VirtualCard::setValue(const QString &control, int value)
{
    const CardLock lock(path(QStringLiteral("state.lock")));
    QStringList state = lines(QStringLiteral("state"));
    const QString prefix = control + QLatin1Char('=');
    bool found = false;
    for (QString &line : state) {
        if (line.startsWith(prefix)) {
            line = prefix + QString::number(value);
            found = true;
        }
    }
    if (!found) {
        qWarning("VirtualCard::setValue: the card has no control \"%s\"", qPrintable(control));
        return;
    }
    writeList(QStringLiteral("state"), state);
}

void VirtualCard::setPowerOnState()
{
    {
        const CardLock lock(path(QStringLiteral("state.lock")));
        QFile::remove(path(QStringLiteral("state")));
    }
    // Opening the card recreates the state with the power-on values.
    if (!runEnvScript())
        qWarning("VirtualCard::setPowerOnState: %s", qPrintable(error));
}
