// The shipped system-bus policy on a private dbus-daemon that reads the machine's standard system
// policy and then the shipped file, as the system bus does. Signals are sent by dbus-send under
// other users' identities (setpriv) and caught by an ordinary listener that subscribes with the
// application's own match rule. A bus monitor would be no proof: it is shown refused messages too.

#include <QDeadlineTimer>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QtTest>

#include <dbus/dbus.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

struct Identity
{
    int uid = -1;
    int gid = -1;
    int group = -1; // a supplementary group
};

QString env(const char *name)
{
    return QString::fromLocal8Bit(qgetenv(name));
}

Identity hostIdentity(const QString &user)
{
    const passwd *pw = ::getpwnam(user.toLocal8Bit().constData());
    return pw ? Identity{int(pw->pw_uid), int(pw->pw_gid)} : Identity{};
}

int groupIn(const QString &groupFile, const QString &group)
{
    QFile file(groupFile);
    file.open(QIODevice::ReadOnly | QIODevice::Text);
    while (!file.atEnd()) {
        const QStringList f = QString::fromUtf8(file.readLine()).split(QLatin1Char(':'));
        if (f.size() == 4 && f[0] == group)
            return f[2].toInt();
    }
    return -1;
}

Identity identityIn(const QString &passwdFile, const QString &user)
{
    QFile file(passwdFile);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text))
        return {};
    while (!file.atEnd()) {
        const QStringList f = QString::fromUtf8(file.readLine()).split(QLatin1Char(':'));
        if (f.size() == 7 && f[0] == user)
            return {f[2].toInt(), f[3].toInt()};
    }
    return {};
}

// An ordinary bus client: receives what its match rules select and the bus lets through.
class Listener
{
public:
    ~Listener()
    {
        if (connection) {
            dbus_connection_close(connection);
            dbus_connection_unref(connection);
        }
    }

    bool connect(const QString &address)
    {
        DBusError error;
        dbus_error_init(&error);
        connection = dbus_connection_open_private(address.toUtf8().constData(), &error);
        if (connection && dbus_bus_register(connection, &error)) {
            dbus_bus_add_match(connection, "type='signal',interface='zk.app.Equalizer.interface'", &error);
            dbus_bus_add_match(connection, "type='signal',interface='zk.activity.manager.interface'", &error);
            dbus_bus_add_match(connection,
                               "type='signal',sender='org.freedesktop.DBus',member='NameOwnerChanged'", &error);
        }
        const bool ok = connection && !dbus_error_is_set(&error);
        dbus_error_free(&error);
        return ok;
    }

    // The signals received until the bus reports that a client left. A client's messages are
    // dispatched before its departure, so nothing it sent can arrive later.
    QStringList signalsUntilSenderLeaves(bool *left)
    {
        QStringList seen;
        QDeadlineTimer deadline(30000);
        *left = false;
        while (!*left && !deadline.hasExpired()) {
            dbus_connection_read_write(connection, 100);
            while (DBusMessage *message = dbus_connection_pop_message(connection)) {
                if (dbus_message_is_signal(message, DBUS_INTERFACE_DBUS, "NameOwnerChanged")) {
                    const char *name = nullptr, *oldOwner = nullptr, *newOwner = nullptr;
                    if (dbus_message_get_args(message, nullptr, DBUS_TYPE_STRING, &name, DBUS_TYPE_STRING,
                                              &oldOwner, DBUS_TYPE_STRING, &newOwner, DBUS_TYPE_INVALID)
                        && name[0] == ':' && newOwner[0] == '\0')
                        *left = true;
                } else if (!*left && !dbus_message_has_sender(message, DBUS_SERVICE_DBUS)) {
                    seen << QStringLiteral("%1 %2.%3").arg(QString::fromUtf8(dbus_message_get_path(message)),
                                                           QString::fromUtf8(dbus_message_get_interface(message)),
                                                           QString::fromUtf8(dbus_message_get_member(message)));
                }
                dbus_message_unref(message);
            }
        }
        return seen;
    }

private:
    DBusConnection *connection = nullptr;
};

// Waits, as a bus monitor, for a client to subscribe with the given match rule: once the bus has
// passed that call on, the rule is in force for every message sent after it.
bool waitForMatchRule(const QString &address, const char *rule)
{
    DBusError error;
    dbus_error_init(&error);
    DBusConnection *monitor = dbus_connection_open_private(address.toUtf8().constData(), &error);
    bool seen = false;
    if (monitor && dbus_bus_register(monitor, &error)) {
        DBusMessage *become = dbus_message_new_method_call(DBUS_SERVICE_DBUS, DBUS_PATH_DBUS,
                                                           "org.freedesktop.DBus.Monitoring", "BecomeMonitor");
        const char *filter = "type='method_call',interface='org.freedesktop.DBus',member='AddMatch'";
        const char **filters = &filter;
        dbus_uint32_t flags = 0;
        dbus_message_append_args(become, DBUS_TYPE_ARRAY, DBUS_TYPE_STRING, &filters, 1, DBUS_TYPE_UINT32, &flags,
                                 DBUS_TYPE_INVALID);
        DBusMessage *reply = dbus_connection_send_with_reply_and_block(monitor, become, 10000, &error);
        dbus_message_unref(become);
        if (reply)
            dbus_message_unref(reply);
        QDeadlineTimer deadline(60000);
        while (reply && !seen && !deadline.hasExpired()) {
            dbus_connection_read_write(monitor, 100);
            while (DBusMessage *message = dbus_connection_pop_message(monitor)) {
                const char *added = nullptr;
                if (dbus_message_is_method_call(message, DBUS_INTERFACE_DBUS, "AddMatch")
                    && dbus_message_get_args(message, nullptr, DBUS_TYPE_STRING, &added, DBUS_TYPE_INVALID))
                    seen = seen || qstrcmp(added, rule) == 0;
                dbus_message_unref(message);
            }
        }
    }
    if (monitor) {
        dbus_connection_close(monitor);
        dbus_connection_unref(monitor);
    }
    dbus_error_free(&error);
    return seen;
}

// Reads the process's output until it holds `count` times `needle`.
bool waitForOutput(QProcess &process, QByteArray &output, const QByteArray &needle, int count)
{
    QDeadlineTimer deadline(60000);
    while (output.count(needle) < count && !deadline.hasExpired()) {
        process.waitForReadyRead(200);
        output += process.readAll();
        if (process.state() == QProcess::NotRunning)
            break;
    }
    return output.count(needle) >= count;
}

} // namespace

class tst_BusPolicy : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase();
    void signalReachesListener_data();
    void signalReachesListener();
    void applicationShowsOnlyForTheManager();
    void controlInterface_data();
    void controlInterface();

private:
    void startApplication();
    QStringList as(const QString &user) const;
    bool startBus(bool withServiceUser);
    bool send(const QString &sender, const QString &path, const QString &signal);
    QString prepareServiceUser();

    QTemporaryDir tmp;
    QProcess bus;
    QString address;
    QString busLog;
    Listener listener;
    QHash<QString, Identity> senders;
    QString serviceUserProblem;
    bool namespaces = false;
    QString program; // the copy the service user runs
    QProcess app;
    QByteArray output;
};

// Accounts of this machine plus the service user, made by the shipped sysusers entry. Returns the
// passwd file, or an empty string with serviceUserProblem set.
QString tst_BusPolicy::prepareServiceUser()
{
    const QString sysusers = QStandardPaths::findExecutable(QStringLiteral("systemd-sysusers"));
    if (sysusers.isEmpty()) {
        serviceUserProblem = QStringLiteral("systemd-sysusers is missing (Debian package systemd)");
        return QString();
    }
    const QString accounts = tmp.path() + QStringLiteral("/accounts");
    QDir().mkpath(accounts + QStringLiteral("/etc"));
    QDir().mkpath(accounts + QStringLiteral("/usr/lib/sysusers.d"));
    for (const char *name : {"passwd", "group", "shadow", "gshadow"})
        QFile::copy(QStringLiteral("/etc/") + QLatin1String(name), accounts + QStringLiteral("/etc/") + QLatin1String(name));
    QFile::copy(env("EQ_PACKAGING_BUILD_DIR") + QStringLiteral("/sysusers/equalizer.conf"),
                accounts + QStringLiteral("/usr/lib/sysusers.d/equalizer.conf"));
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(sysusers, {QStringLiteral("--root=") + accounts});
    if (!process.waitForFinished() || process.exitCode() != 0) {
        serviceUserProblem = QStringLiteral("systemd-sysusers failed: ") + QString::fromLocal8Bit(process.readAll());
        return QString();
    }
    return accounts + QStringLiteral("/etc/passwd");
}

// With withServiceUser the daemon runs in a mount namespace of its own, where the accounts made by
// prepareServiceUser() stand in for /etc/passwd and /etc/group: the bus resolves the user names of
// its policy when it reads it, and this machine has no service user.
bool tst_BusPolicy::startBus(bool withServiceUser)
{
    const QString config = tmp.path() + QStringLiteral("/bus.conf");
    QStringList command = {QStringLiteral("dbus-daemon"), QStringLiteral("--nofork"),
                           QStringLiteral("--print-address"), QStringLiteral("--config-file=") + config};
    if (withServiceUser) {
        const QString etc = tmp.path() + QStringLiteral("/accounts/etc");
        command = QStringList{QStringLiteral("unshare"), QStringLiteral("--mount"), QStringLiteral("--"),
                              QStringLiteral("sh"), QStringLiteral("-c"),
                              QStringLiteral("mount --bind \"$1\" /etc/passwd && mount --bind \"$2\" /etc/group"
                                             " && exec dbus-daemon --nofork --print-address --config-file=\"$3\""),
                              QStringLiteral("sh"), etc + QStringLiteral("/passwd"), etc + QStringLiteral("/group"), config};
    }
    bus.setProcessChannelMode(QProcess::SeparateChannels);
    bus.start(command.takeFirst(), command);
    if (!bus.waitForStarted())
        return false;
    while (!bus.canReadLine() && bus.waitForReadyRead(10000)) {
    }
    address = QString::fromUtf8(bus.readLine()).trimmed();
    if (!address.isEmpty())
        return true;
    bus.waitForFinished();
    busLog += QString::fromLocal8Bit(bus.readAllStandardError());
    return false;
}

void tst_BusPolicy::initTestCase()
{
    if (::geteuid() != 0)
        QSKIP("sending as other users needs root");
    for (const char *tool : {"dbus-daemon", "dbus-send", "setpriv"}) {
        if (QStandardPaths::findExecutable(QLatin1String(tool)).isEmpty())
            QFAIL(qPrintable(QStringLiteral("%1 is missing (Debian packages dbus-daemon, dbus-bin, util-linux)")
                                 .arg(QLatin1String(tool))));
    }
    QVERIFY(tmp.isValid());
    // Other users reach the bus's socket through this folder.
    QVERIFY(::chmod(QFile::encodeName(tmp.path()).constData(), 0755) == 0);

    // The standard system policy's rules in their order, then the shipped file, as the system
    // bus's own configuration includes it; only the listening address is the test's own.
    QFile system(QStringLiteral("/usr/share/dbus-1/system.conf"));
    QVERIFY2(system.open(QIODevice::ReadOnly), "no standard system-bus policy (Debian package dbus-system-bus-common)");
    const QString standard = QString::fromUtf8(system.readAll());
    QString policies;
    QRegularExpressionMatchIterator it = QRegularExpression(QStringLiteral("<policy\\b.*?</policy>"),
                                                            QRegularExpression::DotMatchesEverythingOption)
                                             .globalMatch(standard);
    while (it.hasNext())
        policies += it.next().captured(0) + QLatin1Char('\n');
    QVERIFY(policies.contains(QLatin1String("<allow send_type=\"signal\"/>")));
    const QString shipped = env("EQ_PACKAGING_BUILD_DIR") + QStringLiteral("/dbus/equalizer.conf");
    QVERIFY(QFileInfo::exists(shipped));
    QFile config(tmp.path() + QStringLiteral("/bus.conf"));
    QVERIFY(config.open(QIODevice::WriteOnly));
    config.write(QStringLiteral(
                     "<!DOCTYPE busconfig PUBLIC \"-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN\"\n"
                     " \"http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd\">\n"
                     "<busconfig>\n<type>system</type>\n<listen>unix:path=%1/system_bus_socket</listen>\n"
                     "<auth>EXTERNAL</auth>\n%2<include>%3</include>\n</busconfig>\n")
                     .arg(tmp.path(), policies, shipped)
                     .toUtf8());
    config.close();

    namespaces = QProcess::execute(QStringLiteral("unshare"), {QStringLiteral("--mount"), QStringLiteral("true")}) == 0;
    const QString serviceUser = env("EQ_SERVICE_USER");
    senders.insert(QStringLiteral("nobody"), hostIdentity(QStringLiteral("nobody")));
    senders.insert(QStringLiteral("activity manager"), hostIdentity(env("EQ_ACTIVITY_MANAGER_USER")));
    senders.insert(QStringLiteral("service"), hostIdentity(serviceUser));
    QString groupFile = QStringLiteral("/etc/group");
    if (senders.value(QStringLiteral("service")).uid >= 0) {
        QVERIFY2(startBus(false), qPrintable(busLog));
    } else {
        const QString passwd = prepareServiceUser();
        if (namespaces && !passwd.isEmpty() && startBus(true)) {
            senders.insert(QStringLiteral("service"), identityIn(passwd, serviceUser));
            groupFile = tmp.path() + QStringLiteral("/accounts/etc/group");
        } else {
            if (serviceUserProblem.isEmpty())
                serviceUserProblem = namespaces ? QStringLiteral("the bus did not start with its accounts: ") + busLog
                                                : QStringLiteral("no mount namespace can be made here");
            QVERIFY2(startBus(false), qPrintable(busLog));
        }
    }
    // nobody, also in the control group of the accounts the bus reads.
    Identity member = senders.value(QStringLiteral("nobody"));
    member.group = groupIn(groupFile, QStringLiteral("equalizer-control"));
    senders.insert(QStringLiteral("control group member"), member);
    senders.insert(QStringLiteral("root"), Identity{0, 0});
    QVERIFY2(listener.connect(address), qPrintable(address));
}

void tst_BusPolicy::cleanupTestCase()
{
    if (app.state() != QProcess::NotRunning) {
        app.terminate();
        QVERIFY(app.waitForFinished());
    }
    if (bus.state() != QProcess::NotRunning) {
        bus.terminate();
        bus.waitForFinished();
    }
}

void tst_BusPolicy::signalReachesListener_data()
{
    QTest::addColumn<QString>("sender");
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("signal");
    QTest::addColumn<bool>("delivered");

    const QString resume = QStringLiteral("zk.app.Equalizer.interface.resume");
    const QString minimize = QStringLiteral("zk.activity.manager.interface.minimize");
    const QString ours = QStringLiteral("/zk/activity/Equalizer");
    const QString root = QStringLiteral("/");
    const QString nobody = QStringLiteral("nobody");
    const QString manager = QStringLiteral("activity manager");
    const QString service = QStringLiteral("service");
    QTest::newRow("resume from nobody: dropped") << nobody << root << resume << false;
    QTest::newRow("resume from the activity manager's user: delivered") << manager << root << resume << true;
    QTest::newRow("resume from the service user: dropped") << service << root << resume << false;
    QTest::newRow("other member on the application's interface from nobody: dropped")
        << nobody << root << QStringLiteral("zk.app.Equalizer.interface.show") << false;
    QTest::newRow("minimize from the service user: delivered") << service << ours << minimize << true;
    QTest::newRow("minimize in the application's name from nobody: dropped") << nobody << ours << minimize << false;
    QTest::newRow("minimize of another application from nobody: delivered")
        << nobody << QStringLiteral("/zk/activity/Radio") << minimize << true;
}

void tst_BusPolicy::signalReachesListener()
{
    QFETCH(QString, sender);
    QFETCH(QString, path);
    QFETCH(QString, signal);
    QFETCH(bool, delivered);

    const Identity as = senders.value(sender);
    if (as.uid < 0)
        QSKIP(qPrintable(QStringLiteral("no %1 user here: %2").arg(sender, serviceUserProblem)));

    QVERIFY(send(sender, path, signal));
    bool left = false;
    const QStringList seen = listener.signalsUntilSenderLeaves(&left);
    QVERIFY2(left, "the bus never reported the sender leaving");
    QCOMPARE(seen, delivered ? QStringList{path + QLatin1Char(' ') + signal} : QStringList());
}

// The real program, run as the service user as its unit runs it (only the display is offscreen), in
// a mount namespace whose /var/lib is empty but for its private state folder: once, for every test
// that needs it. It has no sound card here; its mixer commands fail.
void tst_BusPolicy::startApplication()
{
    if (app.state() != QProcess::NotRunning)
        return;
    const Identity service = senders.value(QStringLiteral("service"));
    if (service.uid < 0)
        QSKIP(qPrintable(QStringLiteral("no service user here: ") + serviceUserProblem));
    if (!namespaces)
        QSKIP("no mount namespace can be made here for the program's state folder");
    const char *rule = "type='signal',interface='zk.app.Equalizer.interface'";

    QStringList command = {QStringLiteral("PATH=/usr/bin:/bin"), QStringLiteral("QT_QPA_PLATFORM=offscreen"),
                           QStringLiteral("QT_QUICK_BACKEND=software"), QStringLiteral("DBUS_SYSTEM_BUS_ADDRESS=") + address};
    // Sanitizer builds keep their options; stdbuf's preload has to come before their runtime.
    for (const char *name : {"UBSAN_OPTIONS", "LSAN_OPTIONS"}) {
        if (qEnvironmentVariableIsSet(name))
            command << QLatin1String(name) + QLatin1Char('=') + env(name);
    }
    command << QStringLiteral("ASAN_OPTIONS=") + env("ASAN_OPTIONS") + QStringLiteral(":verify_asan_link_order=0");
    // A copy of the program and its scene, laid out as in the build tree, where the service user
    // can reach it wherever the build tree is.
    const QString copy = tmp.path() + QStringLiteral("/program");
    program = copy + QStringLiteral("/bin/");
    QVERIFY(QDir().mkpath(copy + QStringLiteral("/bin")));
    for (const char *binary : {"/bin/equalizer", "/bin/equalizerctl"})
        QCOMPARE(QProcess::execute(QStringLiteral("cp"), {QStringLiteral("-a"), env("EQ_BUILD_DIR") + QLatin1String(binary), program}), 0);
    QCOMPARE(QProcess::execute(QStringLiteral("cp"), {QStringLiteral("-a"), env("EQ_BUILD_DIR") + QStringLiteral("/usr"), copy}), 0);
    QCOMPARE(QProcess::execute(QStringLiteral("chmod"), {QStringLiteral("-R"), QStringLiteral("go+rX"), copy}), 0);
    command << QStringLiteral("stdbuf") << QStringLiteral("-oL") << QStringLiteral("-eL")
            << copy + QStringLiteral("/bin/equalizer");
    app.setProcessChannelMode(QProcess::MergedChannels);
    app.start(QStringLiteral("unshare"),
              QStringList{QStringLiteral("--mount"), QStringLiteral("--"), QStringLiteral("sh"), QStringLiteral("-c"),
                          QStringLiteral("u=$1 g=$2 && shift 2 && mount -t tmpfs -o mode=0755 tmpfs /var/lib"
                                         " && mkdir -m 0700 /var/lib/equalizer && chown \"$u:$g\" /var/lib/equalizer"
                                         " && exec setpriv --reuid=\"$u\" --regid=\"$g\" --clear-groups env -i \"$@\""),
                          QStringLiteral("sh"), QString::number(service.uid), QString::number(service.gid)}
                  + command);
    QVERIFY(app.waitForStarted());
    const bool subscribed = waitForMatchRule(address, rule);
    output = app.readAll();
    if (!subscribed) {
        app.kill();
        app.waitForFinished();
        QFAIL(qPrintable(QStringLiteral("the application never subscribed to its signals:\n")
                         + QString::fromLocal8Bit(output + app.readAll())));
    }
}

void tst_BusPolicy::applicationShowsOnlyForTheManager()
{
    startApplication();
    if (app.state() == QProcess::NotRunning)
        return; // skipped or failed above

    const QString resume = QStringLiteral("zk.app.Equalizer.interface.resume");
    bool left = false;
    QVERIFY(send(QStringLiteral("nobody"), QStringLiteral("/"), resume));
    listener.signalsUntilSenderLeaves(&left);
    QVERIFY(send(QStringLiteral("activity manager"), QStringLiteral("/"), resume));
    listener.signalsUntilSenderLeaves(&left);
    QVERIFY2(waitForOutput(app, output, "<Equalizer>show", 1), output.constData());
    // The program handles its signals in arrival order: once it has logged the manager's later
    // unknown signal as well, a refused "resume" that had got through would have shown by now.
    const QByteArray unknown = "warning unknown message.ignore..";
    const int unknownSoFar = output.count(unknown);
    QVERIFY(send(QStringLiteral("activity manager"), QStringLiteral("/"),
                 QStringLiteral("zk.app.Equalizer.interface.ping")));
    listener.signalsUntilSenderLeaves(&left);
    QVERIFY2(waitForOutput(app, output, unknown, unknownSoFar + 1), output.constData());
    QCOMPARE(output.count("<Equalizer>show"), 1);
}

// A caller's rights on the control interface, with dbus-send or with equalizerctl (whose exit status
// 3 is "not allowed"). A call let through reaches the program, which answers or reports its own error.
void tst_BusPolicy::controlInterface_data()
{
    QTest::addColumn<QString>("caller");
    QTest::addColumn<QStringList>("call");
    QTest::addColumn<bool>("denied");

    const QString nobody = QStringLiteral("nobody"), member = QStringLiteral("control group member");
    const QString control = QStringLiteral("zk.app.Equalizer.Control1."), properties = QStringLiteral("org.freedesktop.DBus.Properties.");
    const QList<QStringList> changes = {
        {"SetVolume", "int32:10"}, {"AdjustVolume", "int32:1"}, {"SetSpeaker", "string:Spk1"}, {"SetMode", "string:mute"},
        {"SetCoreType", "string:HQ"}, {"SetGain", "uint32:1", "int32:3"}, {"AdjustGain", "uint32:1", "int32:1"},
        {"ApplyPreset", "string:Bass"}, {"SavePreset", "string:Bass"}, {"ApplyProfile", "string:Default Profile"},
        {"SetSweetSpot", "int32:1"}, {"SetDbe", "string:DBEMixBalance", "int32:40"}, {"SetChannelDelay", "uint32:1", "int32:10"},
        {"SetCvcMode", "boolean:false"}, {"SetTwoMicMode", "boolean:true"}, {"SetCvcSendMode", "int32:2"},
        {"SetCvcRecvMode", "int32:2"}, {"Import", "string:Filter 1: ON PK Fc 60 Hz Gain 1 dB", "boolean:true", "uint64:0"}};
    for (QStringList change : changes) {
        const QString method = change.takeFirst();
        QTest::addRow("nobody: %s denied", qPrintable(method)) << nobody << QStringList{control + method} + change << true;
    }
    const QStringList volume = {"string:zk.app.Equalizer.Control1", "string:Volume"};
    QTest::newRow("nobody: Get") << nobody << QStringList{properties + "Get"} + volume << false;
    QTest::newRow("nobody: GetAll") << nobody << QStringList{properties + "GetAll", "string:zk.app.Equalizer.Control1"} << false;
    QTest::newRow("nobody: Set denied") << nobody << QStringList{properties + "Set"} + volume + QStringList{"variant:int32:10"} << true;
    QTest::newRow("nobody: Export") << nobody << QStringList{control + "Export", "string:apo"} << false;
    QTest::newRow("nobody: Introspect") << nobody << QStringList{"org.freedesktop.DBus.Introspectable.Introspect"} << false;
    QTest::newRow("nobody: owning the name denied") << nobody
        << QStringList{"--dest=org.freedesktop.DBus", "org.freedesktop.DBus.RequestName", "string:zk.app.Equalizer", "uint32:0"} << true;
    QTest::newRow("nobody: equalizerctl volume 10 denied") << nobody << QStringList{"equalizerctl", "volume", "10"} << true;
    QTest::newRow("group member: SetGain") << member << QStringList{control + "SetGain", "uint32:1", "int32:3"} << false;
    QTest::newRow("group member: equalizerctl volume 10") << member << QStringList{"equalizerctl", "volume", "10"} << false;
    QTest::newRow("root: SetVolume") << QStringLiteral("root") << QStringList{control + "SetVolume", "int32:10"} << false;
}

void tst_BusPolicy::controlInterface()
{
    QFETCH(QString, caller);
    QFETCH(QStringList, call);
    QFETCH(bool, denied);

    const Identity identity = senders.value(caller);
    if (identity.uid < 0 || (caller.startsWith(QLatin1String("control")) && identity.group < 0))
        QSKIP(qPrintable(caller + QStringLiteral(" has no account here")));
    startApplication();
    if (app.state() == QProcess::NotRunning)
        return; // skipped or failed above
    // The program owns its name once the sound state is restored.
    QVERIFY(QTest::qWaitFor([&] {
        return QProcess::execute(QStringLiteral("dbus-send"), {QStringLiteral("--bus=") + address, QStringLiteral("--print-reply"),
                                 QStringLiteral("--dest=zk.app.Equalizer"), QStringLiteral("/zk/app/Equalizer"),
                                 QStringLiteral("org.freedesktop.DBus.Peer.Ping")}) == 0;
    }, 60000));

    const bool client = call.first() == QLatin1String("equalizerctl");
    QStringList command = as(caller);
    if (client)
        command << QStringLiteral("env") << QStringLiteral("DBUS_SYSTEM_BUS_ADDRESS=") + address << program + call.takeFirst() << call;
    else if (call.first().startsWith(QLatin1String("--dest=")))
        command << QStringLiteral("dbus-send") << QStringLiteral("--bus=") + address << QStringLiteral("--print-reply") << call.takeFirst()
                << QStringLiteral("/org/freedesktop/DBus") << call;
    else
        command << QStringLiteral("dbus-send") << QStringLiteral("--bus=") + address << QStringLiteral("--print-reply")
                << QStringLiteral("--dest=zk.app.Equalizer") << QStringLiteral("/zk/app/Equalizer") << call;
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(QStringLiteral("setpriv"), command);
    QVERIFY(process.waitForFinished(60000));
    const QByteArray reply = process.readAll();
    if (client) {
        QVERIFY2((process.exitCode() == 3) == denied, reply.constData());
        return;
    }
    QVERIFY2(reply.contains("org.freedesktop.DBus.Error.AccessDenied") == denied, reply.constData());
    QVERIFY2(denied || process.exitCode() == 0 || reply.contains("zk.app.Equalizer.Error."), reply.constData());
}

QStringList tst_BusPolicy::as(const QString &user) const
{
    const Identity identity = senders.value(user);
    return {QStringLiteral("--reuid=%1").arg(identity.uid), QStringLiteral("--regid=%1").arg(identity.gid),
            identity.group < 0 ? QStringLiteral("--clear-groups") : QStringLiteral("--groups=%1").arg(identity.group)};
}

bool tst_BusPolicy::send(const QString &sender, const QString &path, const QString &signal)
{
    const Identity as = senders.value(sender);
    QProcess send;
    send.setProcessChannelMode(QProcess::MergedChannels);
    send.start(QStringLiteral("setpriv"),
               {QStringLiteral("--reuid=%1").arg(as.uid), QStringLiteral("--regid=%1").arg(as.gid),
                QStringLiteral("--clear-groups"), QStringLiteral("dbus-send"), QStringLiteral("--bus=") + address,
                QStringLiteral("--type=signal"), path, signal});
    if (send.waitForFinished() && send.exitStatus() == QProcess::NormalExit && send.exitCode() == 0)
        return true;
    qWarning("%s", send.readAll().constData());
    return false;
}

QTEST_GUILESS_MAIN(tst_BusPolicy)
#include "tst_buspolicy.moc"
