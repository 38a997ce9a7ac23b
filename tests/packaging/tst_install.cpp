// The staged install, as an integrator gets it: `cmake --install` into a DESTDIR, the tree compared
// with the list in packaging/README.md, the unit checked by systemd-analyze, and the sysusers and
// tmpfiles entries applied to the staged tree as a device does at its first boot.

#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QtTest>

#include <sys/stat.h>

namespace {

QString env(const char *name)
{
    return QString::fromLocal8Bit(qgetenv(name));
}

// Runs a program to its end; returns its exit code, -1 if it could not start or crashed.
int run(const QString &program, const QStringList &args, QByteArray *output)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(program, args);
    const bool finished = process.waitForFinished(240000);
    *output = process.readAll() + (finished ? QByteArray() : process.errorString().toLocal8Bit());
    return finished && process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
}

int modeOf(const QString &file)
{
    struct stat st;
    return ::lstat(QFile::encodeName(file).constData(), &st) == 0 ? int(st.st_mode & 07777) : -1;
}

} // namespace

class tst_Install : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QVERIFY(tmp.isValid());
        // Folders get the installer's umask; the usual one, so that only modes asked for stand out.
        ::umask(022);
        qputenv("DESTDIR", QFile::encodeName(root));
        QByteArray output;
        QVERIFY2(run(QStringLiteral("cmake"), {QStringLiteral("--install"), env("EQ_BUILD_DIR")}, &output) == 0, output.constData());
    }

    // Every file the README lists ("| 0755 | `/usr/bin/equalizer` |", a trailing "/**" standing for
    // anything below) is installed with its mode, nothing else is installed, and no folder is writable
    // by others (they could swap what the service runs).
    void installedTreeIsTheDocumentedOne()
    {
        QFile readme(env("EQ_SOURCE_DIR") + QStringLiteral("/packaging/README.md"));
        QVERIFY(readme.open(QIODevice::ReadOnly | QIODevice::Text));
        QMap<QString, int> documented;
        const QRegularExpression row(QStringLiteral("^\\|\\s*(0[0-7]{3})\\s*\\|\\s*`(/[^`]+)`\\s*\\|"),
                                     QRegularExpression::MultilineOption);
        for (auto it = row.globalMatch(QString::fromUtf8(readme.readAll())); it.hasNext();) {
            const QRegularExpressionMatch m = it.next();
            documented.insert(m.captured(2), m.captured(1).toInt(nullptr, 8));
        }

        QStringList wrong;
        for (const QString &path : documented.keys()) {
            if (!path.endsWith(QLatin1String("/**")) && !QFileInfo(root + path).isFile())
                wrong << path + QStringLiteral(": listed in the README but not installed");
        }
        QDirIterator it(root, QDir::AllEntries | QDir::System | QDir::Hidden | QDir::NoDotAndDotDot,
                        QDirIterator::Subdirectories);
        while (it.hasNext()) {
            const QString file = it.next(), path = file.mid(root.size());
            if (it.fileInfo().isDir()) {
                if (modeOf(file) & 022)
                    wrong << path + QStringLiteral(": folder writable by others");
                continue;
            }
            int listed = documented.value(path, -1);
            for (auto entry = documented.cbegin(); listed < 0 && entry != documented.cend(); ++entry) {
                if (entry.key().endsWith(QLatin1String("/**")) && path.startsWith(entry.key().chopped(2)))
                    listed = entry.value();
            }
            if (listed < 0)
                wrong << path + QStringLiteral(": not in the README's list");
            else if (modeOf(file) != listed)
                wrong << path + QStringLiteral(": mode %1, listed %2").arg(modeOf(file), 4, 8, QLatin1Char('0'))
                                     .arg(listed, 4, 8, QLatin1Char('0'));
        }
        QVERIFY2(wrong.isEmpty(), qPrintable(wrong.join(QLatin1Char('\n'))));
    }

    void unitPassesSystemdVerify()
    {
        // Inside the staged root, so that ExecStart= resolves to the staged program; the root holds no
        // systemd targets, so only the unit itself is judged, not the units it is ordered after.
        QByteArray output;
        QVERIFY2(run(QStringLiteral("systemd-analyze"), {QStringLiteral("--root=") + root, QStringLiteral("--recursive-errors=no"),
                                                        QStringLiteral("verify"), unit}, &output) == 0,
                 output.constData());
        QVERIFY2(output.trimmed().isEmpty(), output.constData());
    }

    // The profiles run amixer and the scripts by bare name, so a folder on PATH that others can write
    // would let them run anything as the service user (judged on this machine's folders of the same
    // names, the nearest thing to the device's); and the tools must be found there.
    void servicePath()
    {
        QFile file(root + unit);
        QVERIFY(file.open(QIODevice::ReadOnly | QIODevice::Text));
        const QString path = QRegularExpression(QStringLiteral("^Environment=PATH=(\\S+)\\s*$"), QRegularExpression::MultilineOption)
                                 .match(QString::fromUtf8(file.readAll())).captured(1);
        QVERIFY2(!path.isEmpty(), "the unit sets no PATH");
        bool amixer = false, program = false;
        for (const QString &dir : path.split(QLatin1Char(':'))) {
            QVERIFY2(dir.startsWith(QLatin1Char('/')), qPrintable(dir + QStringLiteral(": relative folder")));
            amixer = amixer || QFileInfo(dir + QStringLiteral("/amixer")).isFile();
            program = program || QFileInfo(root + dir + QStringLiteral("/equalizer")).isFile();
            struct stat st;
            if (::stat(QFile::encodeName(dir).constData(), &st) == 0)
                QVERIFY2(st.st_uid == 0 && !(st.st_mode & 022), qPrintable(dir + QStringLiteral(": writable by others")));
        }
        QVERIFY2(amixer && program, qPrintable(QStringLiteral("amixer or the program is in none of ") + path));
    }

    void firstBootCreatesUserAndPrivateStateFolder()
    {
        // A device of its own holding the two entries and this machine's accounts, so that the groups
        // the user joins already exist, as they do on a device.
        const QString device = tmp.path() + QStringLiteral("/device");
        for (const QString &file : {env("EQ_SYSUSERS_DIR") + QStringLiteral("/equalizer.conf"), env("EQ_TMPFILES_DIR") + QStringLiteral("/equalizer.conf")})
            QVERIFY(QDir().mkpath(QFileInfo(device + file).path()) && QFile::copy(root + file, device + file));
        QVERIFY(QDir().mkpath(device + QStringLiteral("/etc")));
        for (const char *file : {"/etc/passwd", "/etc/group", "/etc/shadow", "/etc/gshadow"})
            QFile::copy(QLatin1String(file), device + QLatin1String(file));
        QByteArray output;
        QVERIFY2(run(QStringLiteral("systemd-sysusers"), {QStringLiteral("--root=") + device}, &output) == 0, output.constData());
        QVERIFY2(run(QStringLiteral("systemd-tmpfiles"), {QStringLiteral("--root=") + device, QStringLiteral("--create")}, &output) == 0,
                 output.constData());

        const QString user = env("EQ_SERVICE_USER");
        QFile passwd(device + QStringLiteral("/etc/passwd")), group(device + QStringLiteral("/etc/group"));
        QVERIFY(passwd.open(QIODevice::ReadOnly | QIODevice::Text) && group.open(QIODevice::ReadOnly | QIODevice::Text));
        const QString accounts = QString::fromUtf8(passwd.readAll());
        // No password, home in the state folder, no login.
        const QRegularExpressionMatch account = QRegularExpression(QStringLiteral("^%1:[^:]*:(\\d+):(\\d+):[^:]*:/var/lib/equalizer:[^:]*nologin$")
                                                                       .arg(user), QRegularExpression::MultilineOption).match(accounts);
        QVERIFY2(account.hasMatch() && account.captured(1).toInt() > 0, qPrintable(accounts));
        QStringList groups;
        const QRegularExpression member(QStringLiteral("^([^:]+):[^:]*:[^:]*:(?:.*,)?%1(?:,.*)?$").arg(user), QRegularExpression::MultilineOption);
        for (auto it = member.globalMatch(QString::fromUtf8(group.readAll())); it.hasNext();)
            groups << it.next().captured(1);
        groups.sort();
        QCOMPARE(groups, QStringList({QStringLiteral("audio"), QStringLiteral("input"), QStringLiteral("render"), QStringLiteral("video")}));

        struct stat st;
        QVERIFY(::lstat(QFile::encodeName(device + QStringLiteral("/var/lib/equalizer")).constData(), &st) == 0);
        QCOMPARE(QString::number(st.st_mode, 8), QStringLiteral("40700")); // a folder, 0700
        QCOMPARE(QStringLiteral("%1:%2").arg(st.st_uid).arg(st.st_gid), account.captured(1) + QLatin1Char(':') + account.captured(2));
    }

private:
    QTemporaryDir tmp;
    const QString root = tmp.path() + QStringLiteral("/root");
    const QString unit = env("EQ_SYSTEMD_UNIT_DIR") + QStringLiteral("/equalizer.service");
};

QTEST_GUILESS_MAIN(tst_Install)
#include "tst_install.moc"
