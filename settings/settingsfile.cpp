#include "settings/settingsfile.h"

#include "settings/inicheck.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QSettings>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace SettingsFile {
namespace {

// Copies of damaged files kept beside the file; older ones go.
constexpr int keptCopies = 5;

// Below a device node nothing can be read or created: a store there starts empty, keeps what is
// set in memory, and never touches the disk.
const char nowhere[] = "/dev/null/Equalizer.conf";

// "<path>.damaged-<UTC time>", numbered when that name is taken.
QString asideName(const QString &path)
{
    const QString base = path + QStringLiteral(".damaged-")
        + QDateTime::currentDateTimeUtc().toString(QStringLiteral("yyyyMMdd'T'HHmmss'Z'"));
    QString name = base;
    struct stat info;
    for (int n = 2; lstat(QFile::encodeName(name).constData(), &info) == 0; ++n)
        name = base + QLatin1Char('-') + QString::number(n);
    return name;
}

// A FIFO, device or folder where a plain file belongs is moved out of the way unopened: reading
// one may wait for ever or never end. False if it stays where it is.
bool moveAside(const QString &path, const char *what, const char *then)
{
    const QString aside = asideName(path);
    if (::rename(QFile::encodeName(path).constData(), QFile::encodeName(aside).constData()) == 0) {
        fprintf(stderr, "equalizer: %s \"%s\" is not a regular file; moved it aside to \"%s\"%s\n", what,
                qUtf8Printable(path), qUtf8Printable(aside), then);
        return true;
    }
    fprintf(stderr,
            "equalizer: %s \"%s\" is not a regular file and cannot be moved aside (%s); starting on "
            "defaults, settings are not saved in this run\n",
            what, qUtf8Printable(path), strerror(errno));
    return false;
}

void pruneCopies(const QString &path)
{
    const QFileInfo info(path);
    QDir dir = info.dir();
    const QStringList copies =
        dir.entryList({info.fileName() + QStringLiteral(".damaged-*")}, QDir::Files | QDir::Hidden, QDir::Name);
    for (int i = 0; i + keptCopies < copies.size(); ++i)
        dir.remove(copies[i]);
}

QString droppedList(const QVector<IniCheck::DroppedLine> &dropped)
{
    QStringList names;
    for (const IniCheck::DroppedLine &line : dropped) {
        names << (line.key.isEmpty() ? QStringLiteral("line %1").arg(line.line)
                                     : QStringLiteral("\"%1\" (line %2)").arg(line.key).arg(line.line));
    }
    return names.join(QStringLiteral(", "));
}

// QSettings decodes some stored values with no bound on what they announce, and lets some broken
// lines hide the keys below them, so the file is looked at first. A damaged one is kept as it was
// and written back without the damaged lines. False if the damage stays in place.
bool checkFile(const QString &path)
{
    struct stat info;
    if (stat(QFile::encodeName(path).constData(), &info) != 0)
        return true; // nothing there yet: the store starts empty
    if (!S_ISREG(info.st_mode))
        return moveAside(path, "settings file", " and starting on defaults");

    // Non-blocking: should a FIFO have replaced the file since the look above, nothing waits.
    const int fd = ::open(QFile::encodeName(path).constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    QFile file;
    if (fd < 0 || fstat(fd, &info) != 0 || !S_ISREG(info.st_mode)
        || !file.open(fd, QIODevice::ReadOnly, QFileDevice::AutoCloseHandle)) {
        if (fd >= 0)
            close(fd);
        return true; // unreadable for the store too, which then starts empty
    }
    const QByteArray text = file.readAll();
    const IniCheck::Result result = IniCheck::check(text);
    if (result.dropped.isEmpty())
        return true;

    const QString copyName = asideName(path);
    QFile copy(copyName);
    QString kept;
    if (copy.open(QIODevice::WriteOnly | QIODevice::NewOnly) && copy.write(text) == text.size() && copy.flush())
        kept = QStringLiteral("the file as it was is kept as \"%1\"").arg(copyName);
    else
        kept = QStringLiteral("no copy of it could be kept (%1)").arg(copy.errorString());
    copy.close();
    pruneCopies(path);

    QSaveFile repaired(path);
    const bool written = repaired.open(QIODevice::WriteOnly)
        && repaired.write(result.repaired) == result.repaired.size() && repaired.commit();
    const QString failure = written ? QString()
                                    : QStringLiteral("; it cannot be written back (%1): starting on defaults, "
                                                     "settings are not saved in this run")
                                          .arg(repaired.errorString());
    fprintf(stderr, "equalizer: settings file \"%s\" is damaged; dropped %s; %s%s\n", qUtf8Printable(path),
            qUtf8Printable(droppedList(result.dropped)), qUtf8Printable(kept), qUtf8Printable(failure));
    return written;
}

} // namespace

QSettings *open(const QString &path, const QString &lockPath, QObject *parent)
{
    bool usable = true;
    struct stat lock;
    if (lstat(QFile::encodeName(lockPath).constData(), &lock) == 0) {
        puts("Warn, Equalizer.conf.lcok exists, remove it");
        // A lock that is no plain file cannot be removed like one, and the store would wait for
        // it to go for ever at its first write.
        if (S_ISREG(lock.st_mode))
            QFile::remove(lockPath);
        else
            usable = moveAside(lockPath, "settings lock", "");
    }
    usable = checkFile(path) && usable;
    return new QSettings(usable ? path : QString::fromLatin1(nowhere), QSettings::NativeFormat, parent);
}

} // namespace SettingsFile
