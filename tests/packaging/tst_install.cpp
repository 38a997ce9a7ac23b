// The staged install, as an integrator gets it: `cmake --install` into a DESTDIR, the tree compared
// with the list in packaging/README.md, the unit checked by systemd-analyze, and the sysusers and
// tmpfiles entries applied to the staged tree as a device does at its first boot.

#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QtTest>

#include <sys/stat.h>

namespace {

struct Documented
{
    QString path;  // absolute, as on the device; a trailing "/**" stands for anything below
    int mode;
};

QString env(const char *name)
{
    return QString::fromLocal8Bit(qgetenv(name));
}

// Runs a program to its end; returns its exit code, -1 if it could not start or crashed.
int run(const QString &program, const QStringList &args, QByteArray *output = nullptr,
        const QProcessEnvironment &environment = QProcessEnvironment::systemEnvironment())
{
    QProcess process;
    process.setProcessEnvironment(environment);
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(program, args);
    if (!process.waitForStarted() || !process.waitForFinished(240000))
        return -1;
    if (output)
        *output = process.readAll();
    return process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
}

// The table rows "| 0755 | `/usr/bin/equalizer` | ..." of the README's list.
QVector<Documented> readDocumentedList(const QString &readme)
{
    QFile file(readme);
    QVector<Documented> list;
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text))
        return list;
    const QRegularExpression row(QStringLiteral("^\\|\\s*(0[0-7]{3})\\s*\\|\\s*`(/[^`]+)`\\s*\\|"));
    while (!file.atEnd()) {
        const QRegularExpressionMatch m = row.match(QString::fromUtf8(file.readLine()));
        if (m.hasMatch())
            list.append({m.captured(2), m.captured(1).toInt(nullptr, 8)});
    }
    return list;
}

bool covers(const Documented &entry, const QString &path)
{
    if (entry.path.endsWith(QLatin1String("/**")))
        return path.startsWith(entry.path.chopped(2));
    return path == entry.path;
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
    void initTestCase();
    void installedTreeIsTheDocumentedOne();
    void unitPassesSystemdVerify();
    void servicePath();
    void firstBootCreatesUserAndPrivateStateFolder();

private:
    QString staged(const QString &path) const { return root + path; }
    QString servicePathOfUnit() const;

    QTemporaryDir tmp;
    QString root;
    QVector<Documented> documented;
};

void tst_Install::initTestCase()
{
    QVERIFY(tmp.isValid());
    root = tmp.path() + QStringLiteral("/root");
    documented = readDocumentedList(env("EQ_SOURCE_DIR") + QStringLiteral("/packaging/README.md"));
    QVERIFY2(!documented.isEmpty(), "packaging/README.md lists no installed file");

    // Folders get the installer's umask; the usual one, so that only modes asked for stand out.
    ::umask(022);
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("DESTDIR"), root);
    QByteArray output;
    const int code = run(QStringLiteral("cmake"), {QStringLiteral("--install"), env("EQ_BUILD_DIR")},
                         &output, environment);
    QVERIFY2(code == 0, output.constData());
}

// Every file the README lists is installed with its mode, nothing else is installed, and no folder
// is writable by others (they could swap what the service runs).
void tst_Install::installedTreeIsTheDocumentedOne()
{
    QStringList wrong;
    for (const Documented &entry : qAsConst(documented)) {
        if (!entry.path.endsWith(QLatin1String("/**")) && !QFileInfo(staged(entry.path)).isFile())
            wrong << entry.path + QStringLiteral(": listed in the README but not installed");
    }
    QDirIterator it(root, QDir::AllEntries | QDir::System | QDir::Hidden | QDir::NoDotAndDotDot,
                    QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString file = it.next();
        const QString path = file.mid(root.size());
        if (it.fileInfo().isDir()) {
            if (modeOf(file) & 022)
                wrong << path + QStringLiteral(": folder writable by others");
            continue;
        }
        const auto entry = std::find_if(documented.cbegin(), documented.cend(),
                                        [&](const Documented &d) { return covers(d, path); });
        if (entry == documented.cend())
            wrong << path + QStringLiteral(": not in the README's list");
        else if (modeOf(file) != entry->mode)
            wrong << path + QStringLiteral(": mode %1, listed %2").arg(modeOf(file), 4, 8, QLatin1Char('0'))
                                 .arg(entry->mode, 4, 8, QLatin1Char('0'));
    }
    QVERIFY2(wrong.isEmpty(), qPrintable(wrong.join(QLatin1Char('\n'))));
}

void tst_Install::unitPassesSystemdVerify()
{
    const QString analyze = QStandardPaths::findExecutable(QStringLiteral("systemd-analyze"));
    if (analyze.isEmpty())
        QSKIP("systemd-analyze is missing: install the Debian package systemd");
    QByteArray output;
    if (run(analyze, {QStringLiteral("--version")}, &output) != 0)
        QSKIP(qPrintable(QStringLiteral("systemd-analyze cannot run here: ") + QString::fromLocal8Bit(output)));
    // Inside the staged root, so that ExecStart= resolves to the staged program; the root holds no
    // systemd targets, so only the unit itself is judged, not the units it is ordered after.
    const int code = run(analyze, {QStringLiteral("--root=") + root, QStringLiteral("--recursive-errors=no"),
                                   QStringLiteral("verify"),
                                   env("EQ_SYSTEMD_UNIT_DIR") + QStringLiteral("/equalizer.service")},
                         &output);
    QVERIFY2(code == 0, output.constData());
    QVERIFY2(output.trimmed().isEmpty(), output.constData());
}

QString tst_Install::servicePathOfUnit() const
{
    QFile unit(staged(env("EQ_SYSTEMD_UNIT_DIR") + QStringLiteral("/equalizer.service")));
    if (!unit.open(QIODevice::ReadOnly | QIODevice::Text))
        return QString();
    const QRegularExpression assignment(QStringLiteral("^Environment=PATH=(\\S+)\\s*$"),
                                        QRegularExpression::MultilineOption);
    return assignment.match(QString::fromUtf8(unit.readAll())).captured(1);
}

// The profiles run amixer and the scripts by bare name, so a folder on PATH that others can write
// would let them run anything as the service user (judged on this machine's folders of the same
// names, the nearest thing to the device's); and the tools must be found there.
void tst_Install::servicePath()
{
    const QString path = servicePathOfUnit();
    QVERIFY2(!path.isEmpty(), "the unit sets no PATH");
    bool amixer = false, program = false;
    for (const QString &dir : path.split(QLatin1Char(':'))) {
        QVERIFY2(dir.startsWith(QLatin1Char('/')), qPrintable(dir + QStringLiteral(": relative folder")));
        amixer = amixer || QFileInfo(dir + QStringLiteral("/amixer")).isFile();
        program = program || QFileInfo(staged(dir) + QStringLiteral("/equalizer")).isFile();
        struct stat st;
        if (::stat(QFile::encodeName(dir).constData(), &st) == 0)
            QVERIFY2(st.st_uid == 0 && !(st.st_mode & 022), qPrintable(dir + QStringLiteral(": writable by others")));
    }
    QVERIFY2(amixer && program, qPrintable(QStringLiteral("amixer or the program is in none of ") + path));
}

void tst_Install::firstBootCreatesUserAndPrivateStateFolder()
{
    const QString sysusers = QStandardPaths::findExecutable(QStringLiteral("systemd-sysusers"));
    const QString tmpfiles = QStandardPaths::findExecutable(QStringLiteral("systemd-tmpfiles"));
    if (sysusers.isEmpty() || tmpfiles.isEmpty())
        QSKIP("systemd-sysusers or systemd-tmpfiles is missing: install the Debian package systemd");
    // A device of its own holding the two entries and this machine's accounts, so that the groups
    // the user joins already exist, as they do on a device.
    const QString device = tmp.path() + QStringLiteral("/device");
    const QStringList copies = {env("EQ_SYSUSERS_DIR") + QStringLiteral("/equalizer.conf"),
                                env("EQ_TMPFILES_DIR") + QStringLiteral("/equalizer.conf"),
                                QStringLiteral("/etc/passwd"), QStringLiteral("/etc/group"),
                                QStringLiteral("/etc/shadow"), QStringLiteral("/etc/gshadow")};
    for (const QString &file : copies) {
        const QString from = file.startsWith(QLatin1String("/etc/")) ? file : staged(file);
        if (file.startsWith(QLatin1String("/etc/")) && !QFileInfo::exists(from))
            continue;
        QVERIFY(QDir().mkpath(QFileInfo(device + file).path()));
        QVERIFY(QFile::copy(from, device + file));
    }
    QByteArray output;
    QVERIFY2(run(sysusers, {QStringLiteral("--root=") + device}, &output) == 0, output.constData());
    QVERIFY2(run(tmpfiles, {QStringLiteral("--root=") + device, QStringLiteral("--create")}, &output) == 0,
             output.constData());

    const QString user = env("EQ_SERVICE_USER");
    int uid = -1, gid = -1;
    QFile passwd(device + QStringLiteral("/etc/passwd"));
    QVERIFY(passwd.open(QIODevice::ReadOnly | QIODevice::Text));
    while (!passwd.atEnd()) {
        const QStringList f = QString::fromUtf8(passwd.readLine()).trimmed().split(QLatin1Char(':'));
        if (f.size() == 7 && f[0] == user) {
            uid = f[2].toInt();
            gid = f[3].toInt();
            QCOMPARE(f[5], QStringLiteral("/var/lib/equalizer"));
            QVERIFY2(f[6].endsWith(QLatin1String("nologin")), qPrintable(f[6]));
        }
    }
    QVERIFY2(uid > 0, "the service user was not created, or is root");

    QStringList groups;
    QFile group(device + QStringLiteral("/etc/group"));
    QVERIFY(group.open(QIODevice::ReadOnly | QIODevice::Text));
    while (!group.atEnd()) {
        const QStringList f = QString::fromUtf8(group.readLine()).trimmed().split(QLatin1Char(':'));
        if (f.size() == 4 && f[3].split(QLatin1Char(',')).contains(user))
            groups << f[0];
    }
    groups.sort();
    QCOMPARE(groups, QStringList({QStringLiteral("audio"), QStringLiteral("input"),
                                  QStringLiteral("render"), QStringLiteral("video")}));

    struct stat st;
    const QByteArray state = QFile::encodeName(device + QStringLiteral("/var/lib/equalizer"));
    QVERIFY(::lstat(state.constData(), &st) == 0);
    QVERIFY(S_ISDIR(st.st_mode));
    QCOMPARE(QString::number(st.st_mode & 07777, 8), QStringLiteral("700"));
    QCOMPARE(int(st.st_uid), uid);
    QCOMPARE(int(st.st_gid), gid);
}

QTEST_GUILESS_MAIN(tst_Install)
#include "tst_install.moc"
