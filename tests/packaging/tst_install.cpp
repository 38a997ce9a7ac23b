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
    void documentedFileIsInstalled_data();
    void documentedFileIsInstalled();
    void nothingUndocumentedIsInstalled();
    void unitPassesSystemdVerify();
    void servicePathHoldsOnlyRootOwnedFolders();
    void serviceSearchPathFindsTools_data();
    void serviceSearchPathFindsTools();
    void firstBootCreatesUserAndPrivateStateFolder();

private:
    QString staged(const QString &path) const { return root + path; }
    QString servicePath() const;

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

void tst_Install::documentedFileIsInstalled_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<int>("mode");
    for (const Documented &entry : qAsConst(documented)) {
        if (!entry.path.endsWith(QLatin1String("/**")))
            QTest::newRow(qPrintable(entry.path)) << entry.path << entry.mode;
    }
}

void tst_Install::documentedFileIsInstalled()
{
    QFETCH(QString, path);
    QFETCH(int, mode);
    QVERIFY2(QFileInfo(staged(path)).isFile(), "listed in the README but not installed");
    QCOMPARE(QString::number(modeOf(staged(path)), 8), QString::number(mode, 8));
}

void tst_Install::nothingUndocumentedIsInstalled()
{
    QStringList wrong;
    QDirIterator it(root, QDir::Files | QDir::System | QDir::Hidden | QDir::NoDotAndDotDot,
                    QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString file = it.next();
        const QString path = file.mid(root.size());
        const auto entry = std::find_if(documented.cbegin(), documented.cend(),
                                        [&](const Documented &d) { return covers(d, path); });
        if (entry == documented.cend())
            wrong << path + QStringLiteral(": not in the README's list");
        else if (modeOf(file) != entry->mode)
            wrong << path + QStringLiteral(": mode %1, listed %2").arg(modeOf(file), 4, 8, QLatin1Char('0'))
                                 .arg(entry->mode, 4, 8, QLatin1Char('0'));
    }
    // Folders too: a group- or world-writable one would let others swap what the service runs.
    QDirIterator dirs(root, QDir::Dirs | QDir::NoDotAndDotDot, QDirIterator::Subdirectories);
    while (dirs.hasNext()) {
        const QString dir = dirs.next();
        if (modeOf(dir) & 022)
            wrong << dir.mid(root.size()) + QStringLiteral(": folder writable by others");
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

QString tst_Install::servicePath() const
{
    QFile unit(staged(env("EQ_SYSTEMD_UNIT_DIR") + QStringLiteral("/equalizer.service")));
    if (!unit.open(QIODevice::ReadOnly | QIODevice::Text))
        return QString();
    const QRegularExpression assignment(QStringLiteral("^Environment=PATH=(\\S+)\\s*$"),
                                        QRegularExpression::MultilineOption);
    return assignment.match(QString::fromUtf8(unit.readAll())).captured(1);
}

// The profiles run amixer and the scripts by bare name, so a folder on PATH that others can write
// would let them run anything as the service user. Judged on this machine's folders of the same
// names, the nearest thing to the device's.
void tst_Install::servicePathHoldsOnlyRootOwnedFolders()
{
    const QString path = servicePath();
    QVERIFY2(!path.isEmpty(), "the unit sets no PATH");
    for (const QString &dir : path.split(QLatin1Char(':'))) {
        QVERIFY2(dir.startsWith(QLatin1Char('/')), qPrintable(dir + QStringLiteral(": relative folder")));
        struct stat st;
        if (::stat(QFile::encodeName(dir).constData(), &st) != 0)
            continue;
        QVERIFY2(st.st_uid == 0 && !(st.st_mode & 022), qPrintable(dir + QStringLiteral(": writable by others")));
    }
}

void tst_Install::serviceSearchPathFindsTools_data()
{
    QTest::addColumn<QString>("tool");
    QTest::addColumn<bool>("shipped");  // installed by this tree, or already on the device
    QTest::newRow("amixer, run for every mixer read and write") << QStringLiteral("amixer") << false;
    QTest::newRow("the program itself") << QStringLiteral("equalizer") << true;
}

void tst_Install::serviceSearchPathFindsTools()
{
    QFETCH(QString, tool);
    QFETCH(bool, shipped);
    const QString path = servicePath();
    bool found = false;
    for (const QString &dir : path.split(QLatin1Char(':'), Qt::SkipEmptyParts))
        found = found || QFileInfo((shipped ? staged(dir) : dir) + QLatin1Char('/') + tool).isFile();
    QVERIFY2(found, qPrintable(tool + QStringLiteral(" is in none of ") + path));
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
