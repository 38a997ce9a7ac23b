// The shipped system-bus policy on a private bus that reads the standard system policy and then the
// shipped file, as the system bus does, with the real program running as the service user as its
// unit runs it (only the display is offscreen), in a mount namespace where the shipped sysusers
// entry's accounts are the machine's (the bus resolves its policy's names when it reads it) and
// /var/lib is empty but for the state folder. Clients run as other users (setpriv). Signals are
// caught by an ordinary listener, this process: a bus monitor is shown refused messages too.

#include "support/privatebus.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QProcess>
#include <QtTest>

#include <cerrno>
#include <memory>
#include <pwd.h>
#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

namespace {

const QString appInterface = QStringLiteral("zk.app.Equalizer.interface");

QString env(const char *name)
{
    return QString::fromLocal8Bit(qgetenv(name));
}

// setpriv's arguments that run what follows as the user, in the group (by name) or in none besides
// the user's own; empty when there is no such user.
QStringList as(const QString &user, const QString &group = QString())
{
    const passwd *account = ::getpwnam(user.toLocal8Bit().constData());
    if (!account)
        return {};
    return {QStringLiteral("setpriv"), QStringLiteral("--reuid=%1").arg(account->pw_uid),
            QStringLiteral("--regid=%1").arg(account->pw_gid),
            group.isEmpty() ? QStringLiteral("--clear-groups") : QStringLiteral("--groups=") + group};
}

// Runs the command to its end; its exit code, -1 if it did not start or crashed.
int run(QStringList command, QByteArray *output = nullptr)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(command.takeFirst(), command);
    const bool finished = process.waitForFinished(60000);
    if (output)
        *output = process.readAll() + (finished ? QByteArray() : process.errorString().toLocal8Bit());
    return finished && process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
}

bool sendSignal(const QString &user, const QString &path, const QString &signal)
{
    const QStringList sender = as(user);
    return !sender.isEmpty() && run(sender + QStringList{QStringLiteral("dbus-send"), QStringLiteral("--system"),
                                      QStringLiteral("--type=signal"), path, signal}) == 0;
}

} // namespace

class tst_BusPolicy : public QObject
{
    Q_OBJECT

public slots:
    void received(const QDBusMessage &message)
    {
        if (appeared.contains(message.service()))
            seen << message.path() + QLatin1Char(' ') + message.interface() + QLatin1Char('.') + message.member();
    }
    void ownerChanged(const QString &name, const QString &oldOwner, const QString &newOwner)
    {
        if (oldOwner.isEmpty())
            appeared << name;
        else if (newOwner.isEmpty() && appeared.contains(name))
            senderLeft = true;
    }

private slots:
    void initTestCase()
    {
        if (::geteuid() != 0)
            QSKIP("running clients as other users needs root");
        // Private, so that nothing mounted here, by this process or the ones it starts, reaches this
        // machine's own tree.
        if (::unshare(CLONE_NEWNS) != 0 || ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0)
            QSKIP(qPrintable(QStringLiteral("no mount namespace can be made here: ") + qt_error_string(errno)));
        QVERIFY(tmp.isValid());
        // This machine's accounts, those of the shipped sysusers entry and the activity manager's user
        // (which this machine may not have) stand in for its own; /var/lib holds only the program's
        // private state folder, as the unit's StateDirectory= makes it. A copy of the program and its scene,
        // laid out as in the build tree, where the service user can reach it wherever the build tree is.
        QByteArray log;
        QVERIFY2(run({QStringLiteral("sh"), QStringLiteral("-c"), QStringLiteral(
                          "a=$1/accounts && mkdir -p $a/etc $a/usr/lib/sysusers.d && chmod 0755 $1"
                          " && cp /etc/passwd /etc/group /etc/shadow /etc/gshadow $a/etc/"
                          " && cp \"$2/sysusers/equalizer.conf\" $a/usr/lib/sysusers.d/ && echo \"u $3 -\" >$a/usr/lib/sysusers.d/manager.conf"
                          " && systemd-sysusers --root=$a && mount --bind $a/etc/passwd /etc/passwd && mount --bind $a/etc/group /etc/group"
                          " && mount -t tmpfs -o mode=0755 tmpfs /var/lib && mkdir -m 0700 /var/lib/equalizer && chown $4: /var/lib/equalizer"
                          " && cp -a \"$5/bin\" \"$5/usr\" $1 && chmod -R go+rX $1/bin $1/usr"),
                      QStringLiteral("sh"), tmp.path(), env("EQ_PACKAGING_BUILD_DIR"), env("EQ_ACTIVITY_MANAGER_USER"),
                      env("EQ_SERVICE_USER"), env("EQ_BUILD_DIR")}, &log) == 0, log.constData());

        bus = std::make_unique<PrivateBus>(QStringLiteral("<include>%1/dbus/equalizer.conf</include>")
                                               .arg(env("EQ_PACKAGING_BUILD_DIR")));
        QVERIFY2(bus->isRunning(), qPrintable(bus->errorString()));
        QDBusConnection listener = QDBusConnection::systemBus();
        for (const QString &interface : {appInterface, QStringLiteral("zk.activity.manager.interface")})
            QVERIFY(listener.connect(QString(), QString(), interface, QString(), this, SLOT(received(QDBusMessage))));
        QVERIFY(listener.connect(QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/org/freedesktop/DBus"),
                                 QStringLiteral("org.freedesktop.DBus"), QStringLiteral("NameOwnerChanged"), this,
                                 SLOT(ownerChanged(QString, QString, QString))));
        // The bus has taken the listener's rules once it answers a later call: the monitor sees only the
        // program's.
        QVERIFY(listener.interface()->isServiceRegistered(QStringLiteral("org.freedesktop.DBus")).value());
        QVERIFY(bus->startMonitor());

        // The program has no sound card here; its mixer commands fail.
        QStringList command = as(env("EQ_SERVICE_USER")) + QStringList{
            QStringLiteral("env"), QStringLiteral("-i"), QStringLiteral("PATH=/usr/bin:/bin"), QStringLiteral("QT_QPA_PLATFORM=offscreen"),
            QStringLiteral("QT_QUICK_BACKEND=software"), QStringLiteral("DBUS_SYSTEM_BUS_ADDRESS=") + bus->address(),
            // Sanitizer builds keep their options; stdbuf's preload has to come before their runtime.
            QStringLiteral("ASAN_OPTIONS=") + env("ASAN_OPTIONS") + QStringLiteral(":verify_asan_link_order=0")};
        for (const char *name : {"UBSAN_OPTIONS", "LSAN_OPTIONS"}) {
            if (qEnvironmentVariableIsSet(name))
                command << QLatin1String(name) + QLatin1Char('=') + env(name);
        }
        command << QStringLiteral("stdbuf") << QStringLiteral("-oL") << QStringLiteral("-eL") << tmp.filePath(QStringLiteral("bin/equalizer"));
        app.setProcessChannelMode(QProcess::MergedChannels);
        app.start(command.takeFirst(), command);
        // Once the bus has passed its subscription on, the rule is in force for every later signal.
        QVERIFY2(bus->waitForMonitor("\"type='signal',interface='zk.app.Equalizer.interface'\"", 60000),
                 (output += app.readAll()).constData());
        // It owns its name once the sound state is restored.
        QTRY_VERIFY2_WITH_TIMEOUT(listener.interface()->isServiceRegistered(QStringLiteral("zk.app.Equalizer")).value(),
                                  (output += app.readAll()).constData(), 60000);
    }

    void cleanupTestCase()
    {
        if (app.state() != QProcess::NotRunning) {
            app.terminate();
            QVERIFY(app.waitForFinished());
        }
        bus.reset();
    }

    void signalReachesListenerAndProgram_data()
    {
        QTest::addColumn<QString>("sender");
        QTest::addColumn<QString>("path");
        QTest::addColumn<QString>("signal");
        QTest::addColumn<bool>("delivered");

        const QString resume = appInterface + QStringLiteral(".resume");
        const QString minimize = QStringLiteral("zk.activity.manager.interface.minimize");
        const QString ours = QStringLiteral("/zk/activity/Equalizer");
        const QString nobody = QStringLiteral("nobody"), manager = env("EQ_ACTIVITY_MANAGER_USER"), service = env("EQ_SERVICE_USER");
        QTest::newRow("resume from nobody: dropped") << nobody << "/" << resume << false;
        QTest::newRow("resume from the activity manager's user: delivered") << manager << "/" << resume << true;
        QTest::newRow("resume from the service user: dropped") << service << "/" << resume << false;
        QTest::newRow("other member on the application's interface from nobody: dropped")
            << nobody << "/" << appInterface + QStringLiteral(".show") << false;
        QTest::newRow("minimize from the service user: delivered") << service << ours << minimize << true;
        QTest::newRow("minimize in the application's name from nobody: dropped") << nobody << ours << minimize << false;
        QTest::newRow("minimize of another application from nobody: delivered")
            << nobody << QStringLiteral("/zk/activity/Radio") << minimize << true;
    }

    void signalReachesListenerAndProgram()
    {
        QFETCH(QString, sender);
        QFETCH(QString, path);
        QFETCH(QString, signal);
        QFETCH(bool, delivered);

        // What the bus sent the listener before it answers this call has been handled after it: from
        // here on only the row's sender counts, and its departure, after every message it sent.
        QDBusConnection::systemBus().interface()->isServiceRegistered(QStringLiteral("org.freedesktop.DBus"));
        QCoreApplication::processEvents();
        appeared.clear();
        seen.clear();
        senderLeft = false;
        output += app.readAll();
        const QByteArray resumed = "received resume message", ignored = "warning unknown message";
        const int resumedBefore = output.count(resumed), ignoredBefore = output.count(ignored);

        QVERIFY(sendSignal(sender, path, signal));
        QTRY_VERIFY_WITH_TIMEOUT(senderLeft, 30000);
        QCOMPARE(seen, delivered ? QStringList{path + QLatin1Char(' ') + signal} : QStringList());
        if (!signal.startsWith(appInterface))
            return;
        // The program handles its signals in arrival order: once it has logged the manager's later
        // unknown one, a refused "resume" that had got through would have been handled.
        QVERIFY(sendSignal(env("EQ_ACTIVITY_MANAGER_USER"), QStringLiteral("/"), appInterface + QStringLiteral(".ping")));
        QTRY_VERIFY2_WITH_TIMEOUT((output += app.readAll()).count(ignored) > ignoredBefore, output.constData(), 60000);
        QCOMPARE(output.count(resumed) - resumedBefore, int(delivered));
    }

    // A caller's rights on the control interface, with dbus-send or with equalizerctl (whose exit status
    // 3 is "not allowed"). A call let through reaches the program, which answers or reports its own error.
    void controlInterface_data()
    {
        QTest::addColumn<QString>("caller");
        QTest::addColumn<QString>("group");
        QTest::addColumn<QStringList>("call");
        QTest::addColumn<bool>("denied");

        const auto method = [](const QString &name, const QStringList &args) {
            return QStringList{QStringLiteral("dbus-send"), QStringLiteral("--system"), QStringLiteral("--print-reply"),
                               QStringLiteral("--dest=zk.app.Equalizer"), QStringLiteral("/zk/app/Equalizer"), name} + args;
        };
        const QString nobody = QStringLiteral("nobody"), member = QStringLiteral("equalizer-control");
        const QString control = QStringLiteral("zk.app.Equalizer.Control1."), properties = QStringLiteral("org.freedesktop.DBus.Properties.");
        const QList<QStringList> changes = {
            {"SetVolume", "int32:10"}, {"AdjustVolume", "int32:1"}, {"SetSpeaker", "string:Spk1"}, {"SetMode", "string:mute"},
            {"SetCoreType", "string:HQ"}, {"SetGain", "uint32:1", "int32:3"}, {"AdjustGain", "uint32:1", "int32:1"},
            {"ApplyPreset", "string:Bass"}, {"SavePreset", "string:Bass"}, {"ApplyProfile", "string:Default Profile"},
            {"SetSweetSpot", "int32:1"}, {"SetDbe", "string:DBEMixBalance", "int32:40"}, {"SetChannelDelay", "uint32:1", "int32:10"},
            {"SetCvcMode", "boolean:false"}, {"SetTwoMicMode", "boolean:true"}, {"SetCvcSendMode", "int32:2"},
            {"SetCvcRecvMode", "int32:2"}, {"Import", "string:Filter 1: ON PK Fc 60 Hz Gain 1 dB", "boolean:true", "uint64:0"}};
        for (QStringList change : changes) {
            const QString name = change.takeFirst();
            QTest::addRow("nobody: %s denied", qPrintable(name)) << nobody << QString() << method(control + name, change) << true;
        }
        const QStringList volume = {"string:zk.app.Equalizer.Control1", "string:Volume"};
        QTest::newRow("nobody: Get") << nobody << QString() << method(properties + "Get", volume) << false;
        QTest::newRow("nobody: Set denied") << nobody << QString() << method(properties + "Set", volume + QStringList{"variant:int32:10"}) << true;
        QTest::newRow("nobody: Export") << nobody << QString() << method(control + "Export", {"string:apo"}) << false;
        QTest::newRow("nobody: Introspect") << nobody << QString() << method("org.freedesktop.DBus.Introspectable.Introspect", {}) << false;
        QTest::newRow("nobody: owning the name denied") << nobody << QString()
            << QStringList{"dbus-send", "--system", "--print-reply", "--dest=org.freedesktop.DBus", "/org/freedesktop/DBus",
                           "org.freedesktop.DBus.RequestName", "string:zk.app.Equalizer", "uint32:0"} << true;
        QTest::newRow("nobody: equalizerctl volume 10 denied") << nobody << QString() << QStringList{"equalizerctl", "volume", "10"} << true;
        QTest::newRow("group member: SetGain") << nobody << member << method(control + "SetGain", {"uint32:1", "int32:3"}) << false;
        QTest::newRow("group member: equalizerctl volume 10") << nobody << member << QStringList{"equalizerctl", "volume", "10"} << false;
        QTest::newRow("root: SetVolume") << QStringLiteral("root") << QString() << method(control + "SetVolume", {"int32:10"}) << false;
    }

    void controlInterface()
    {
        QFETCH(QString, caller);
        QFETCH(QString, group);
        QFETCH(QStringList, call);
        QFETCH(bool, denied);

        const bool client = call.first() == QLatin1String("equalizerctl");
        if (client)
            call.first() = tmp.filePath(QStringLiteral("bin/equalizerctl"));
        const QStringList identity = as(caller, group);
        QVERIFY2(!identity.isEmpty(), qPrintable(caller + QStringLiteral(" has no account")));
        QByteArray reply;
        const int code = run(identity + call, &reply);
        if (client) {
            QVERIFY2((code == 3) == denied, reply.constData());
            return;
        }
        QVERIFY2(reply.contains("org.freedesktop.DBus.Error.AccessDenied") == denied, reply.constData());
        QVERIFY2(denied || code == 0 || reply.contains("zk.app.Equalizer.Error."), reply.constData());
    }

private:
    QTemporaryDir tmp;
    std::unique_ptr<PrivateBus> bus;
    QProcess app;
    QByteArray output;
    QStringList appeared;
    QStringList seen;
    bool senderLeft = false;
};

QTEST_GUILESS_MAIN(tst_BusPolicy)
#include "tst_buspolicy.moc"
