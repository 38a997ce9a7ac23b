// The control interface served by the real controller on the virtual card and a private bus (who
// may call what: tst_buspolicy), called by a client in this process and by equalizerctl. What the
// controller does with a call is its own suites' business: here the bus layer's checks, errors,
// announcements and the client. The unit answers on this thread, so every wait runs the event loop.

#include "control/controlservice.h"
#include "support/controllerfixture.h"
#include "support/privatebus.h"

#include <QDBusArgument>
#include <QDBusMetaType>
#include <QDBusPendingCallWatcher>
#include <QJsonDocument>
#include <QSettings>
#include <QtTest>

#include <memory>
#include <unistd.h>

using L = QStringList;
using Args = QVariantList;

namespace {

const QString name = QStringLiteral("zk.app.Equalizer");
const QString invalid = QStringLiteral("zk.app.Equalizer.Error.InvalidArgument");
const QString refused = QStringLiteral("zk.app.Equalizer.Error.WriteFailed");
const QString stale = QStringLiteral("zk.app.Equalizer.Error.RevisionMismatch");
const QString apoPair = QStringLiteral("Filter 1: ON PK Fc 63 Hz Gain 4 dB Q 2\nFilter 2: ON PK Fc 2500 Hz Gain 3 dB Q 1.41\n");

QString sset(const QString &control, const QVariant &value)
{
    return QStringLiteral("amixer sset \"%1\" %2").arg(control, value.toString());
}

QString gain(int band, int dB)
{
    return sset(band == 0 ? QStringLiteral("User PEQ Master Gain") : QStringLiteral("User PEQ Band%1 Gain").arg(band), dB + 60);
}

L delays(const QList<int> &values)
{
    L lines;
    for (int chan = 1; chan <= 4; ++chan)
        lines << sset(QStringLiteral("Music Chan%1 Delay").arg(chan), values[chan - 1]);
    return lines;
}

// The interface's arrays and maps arrive as QDBusArgument.
QString render(const QVariant &value)
{
    if (value.userType() != qMetaTypeId<QDBusArgument>())
        return value.toString();
    const QDBusArgument argument = value.value<QDBusArgument>();
    L parts;
    if (argument.currentSignature() == QLatin1String("ai")) {
        for (int item : qdbus_cast<QList<int>>(argument))
            parts << QString::number(item);
        return parts.join(QLatin1Char(' '));
    }
    const QMap<QString, int> map = qdbus_cast<QMap<QString, int>>(argument);
    for (auto it = map.cbegin(); it != map.cend(); ++it)
        parts << QStringLiteral("%1=%2").arg(it.key()).arg(it.value());
    return parts.join(QLatin1Char(' '));
}

// A unit as main() makes it: the controller (on settings of its own, debug level 0) and its
// control service, on a card of its own.
struct Unit {
    Unit()
    {
        QSettings(paths.settingsFile, QSettings::NativeFormat).setValue(QStringLiteral("DebugLevel"), 0);
        eq = std::make_unique<Equalizer>(nullptr, paths);
        service = std::make_unique<ControlService>(*eq);
        started = service->start();
    }
    VirtualCard card;
    QTemporaryDir dir;
    const EqualizerPaths paths = ControllerFixture::paths(dir);
    std::unique_ptr<Equalizer> eq;
    std::unique_ptr<ControlService> service;
    bool started = false;
};

} // namespace

class TstControl : public QObject
{
    Q_OBJECT

    // First: libdbus takes the system bus's address once per process, when the controller starts.
    PrivateBus bus{QStringLiteral("<policy context=\"default\"><allow own=\"zk.app.Equalizer\"/>"
                                  "<allow send_destination=\"zk.app.Equalizer\"/></policy>")};
    std::unique_ptr<Unit> unit;
    QDBusConnection client{QString()};
    QList<QVariantMap> announced;

    QDBusMessage call(const QString &method, const Args &args = Args(),
                      const QString &interface = QStringLiteral("zk.app.Equalizer.Control1"))
    {
        QDBusMessage message = QDBusMessage::createMethodCall(name, QStringLiteral("/zk/app/Equalizer"), interface, method);
        message.setArguments(args);
        return client.call(message, QDBus::BlockWithGui, 60000);
    }

    qulonglong revision()
    {
        QCoreApplication::processEvents(); // the screen's changes are announced on the next turn
        const QDBusMessage reply = call(QStringLiteral("Get"), {QStringLiteral("zk.app.Equalizer.Control1"), QStringLiteral("Revision")},
                                        QStringLiteral("org.freedesktop.DBus.Properties"));
        QCoreApplication::processEvents(); // what was announced before this answer has arrived by now
        return reply.arguments().value(0).value<QDBusVariant>().variant().toULongLong();
    }

    // The writes the controller ran, as it ran them at debug level 0.
    L writes() const
    {
        L lines;
        for (const QString &line : unit->card.commands())
            if (line.startsWith(QLatin1String("amixer sset ")))
                lines << line;
        return lines;
    }

    int ctl(const L &args, QByteArray *out, QByteArray *err)
    {
        QProcess process;
        process.start(qEnvironmentVariable("EQ_BUILD_DIR") + QStringLiteral("/bin/equalizerctl"), args);
        if (!QTest::qWaitFor([&] { return process.state() == QProcess::NotRunning; }, 60000)) {
            process.kill();
            process.waitForFinished();
        }
        *out = process.readAllStandardOutput();
        *err = process.readAllStandardError();
        return process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    }

    void restart()
    {
        unit.reset(); // one card at a time
        unit = std::make_unique<Unit>();
        QVERIFY2(unit->card.isValid(), qPrintable(unit->card.errorString()));
        QVERIFY(unit->started);
        unit->card.clearLogs();
    }

private slots:
    void changed(const QString &, const QVariantMap &values, const QStringList &) { announced << values; }

    void initTestCase()
    {
        QVERIFY2(bus.isRunning(), qPrintable(bus.errorString()));
        restart();
        unit->eq->changeGain(1, 3); // preset Vocal, whose band 1 a row has the card refuse
        unit->eq->saveToPresets(2);
        client = QDBusConnection::connectToBus(bus.address(), QStringLiteral("client"));
        QVERIFY(client.connect(name, QStringLiteral("/zk/app/Equalizer"), QStringLiteral("org.freedesktop.DBus.Properties"),
                               QStringLiteral("PropertiesChanged"), this, SLOT(changed(QString,QVariantMap,QStringList))));
        qDBusRegisterMetaType<QMap<QString, int>>();
    }

    void init()
    {
        unit->card.failWrites({});
        unit->card.setPowerOnState();
        unit->eq->changePeq(0);
        unit->eq->setVolume(80);
        unit->eq->setSweetspot(0);
        unit->eq->setToPreset(-1);
        for (int chan = 1; chan <= 4; ++chan)
            unit->eq->changeChanDelay(chan, 0);
        unit->card.clearLogs();
    }

    // property and value: what the one PropertiesChanged of the call holds (none when empty).
    void methods_data()
    {
        QTest::addColumn<QString>("method");
        QTest::addColumn<Args>("args");
        QTest::addColumn<QString>("failing");
        QTest::addColumn<QString>("error");
        QTest::addColumn<L>("written");
        QTest::addColumn<QString>("property");
        QTest::addColumn<QString>("value");

        const QString none;
        const auto u = [](uint v) { return QVariant::fromValue(v); };
        const auto t = [](qulonglong v) { return QVariant::fromValue(v); };
        const QString vol = QStringLiteral("Main Vol Master Gain");
        QTest::newRow("SetVolume 100") << "SetVolume" << Args{100} << none << none << L{sset(vol, 100)} << "Volume" << "100";
        QTest::newRow("SetVolume 128, beyond the screen's range") << "SetVolume" << Args{128} << none << invalid << L() << none << none;
        QTest::newRow("AdjustVolume +100 stops at 127") << "AdjustVolume" << Args{100} << none << none << L{sset(vol, 127)} << "Volume" << "127";
        QTest::newRow("SetSpeaker Spk2: read, nothing written") << "SetSpeaker" << Args{"Spk2"} << none << none << L() << "Speaker" << "Spk2";
        QTest::newRow("SetSpeaker Spk9") << "SetSpeaker" << Args{"Spk9"} << none << invalid << L() << none << none;
        QTest::newRow("SetMode bypass") << "SetMode" << Args{"bypass"} << none << none << L{sset("User PEQ Switch Mode", 2)} << "Mode" << "bypass";
        QTest::newRow("SetCoreType DQ") << "SetCoreType" << Args{"DQ"} << none << none << L{sset("User PEQ Core Type", 2)} << "CoreType" << "DQ";
        QTest::newRow("SetGain band 3 to +4") << "SetGain" << Args{u(3), 4} << none << none << L{gain(3, 4)} << "BandGains" << "0 0 4 0 0 0 0 0 0 0";
        QTest::newRow("SetGain band 11") << "SetGain" << Args{u(11), 1} << none << invalid << L() << none << none;
        QTest::newRow("SetGain +21 dB, above the bound") << "SetGain" << Args{u(1), 21} << none << invalid << L() << none << none;
        QTest::newRow("SetGain with a signed band: refused by the binding") << "SetGain" << Args{3, 4} << none
            << "org.freedesktop.DBus.Error.UnknownMethod" << L() << none << none;
        QTest::newRow("SetGain refused by the card") << "SetGain" << Args{u(3), 4} << "User PEQ Band3 Gain" << refused << L{gain(3, 4)} << none << none;
        QTest::newRow("AdjustGain band 3 by -100 stops at the bound") << "AdjustGain" << Args{u(3), -100} << none << none << L{gain(3, -60)}
            << "BandGains" << "0 0 -60 0 0 0 0 0 0 0";
        QTest::newRow("SavePreset Bass: stored, nothing written") << "SavePreset" << Args{"Bass"} << none << none << L() << "Preset" << "Bass";
        QTest::newRow("ApplyPreset Cust, never saved: nothing written") << "ApplyPreset" << Args{"Cust"} << none << none << L() << "Preset" << "Cust";
        QTest::newRow("ApplyPreset Vocal, band 1 refused") << "ApplyPreset" << Args{"Vocal"} << "User PEQ Band1 Gain" << refused << L{gain(1, 3)} << none << none;
        QTest::newRow("ApplyProfile User Profile: its script, no write of the controller's own") << "ApplyProfile" << Args{"User Profile"}
            << none << none << L() << "Profile" << "User Profile";
        QTest::newRow("SetSweetSpot 3") << "SetSweetSpot" << Args{3} << none << none << delays({203, 272, 91, 203}) << "ChannelDelays" << "203 272 91 203";
        QTest::newRow("SetSweetSpot 3, channel 2 refused") << "SetSweetSpot" << Args{3} << "Music Chan2 Delay" << refused
            << delays({203, 272, 91, 203}) << "SweetSpot" << "3";
        QTest::newRow("SetSweetSpot 5") << "SetSweetSpot" << Args{5} << none << invalid << L() << none << none;
        QTest::newRow("SetDbe DBEMixBalance 60") << "SetDbe" << Args{"DBEMixBalance", 60} << none << none << L{sset("Music DBE Mix Balance", 60)} << "Dbe"
            << "DBEAmpLimit=80 DBEEffectStrength=50 DBEHPFC=40 DBEHarmContent=50 DBELPFC=120 DBEMixBalance=60 DBEModeIdx=1 DBEXoverFC=80";
        QTest::newRow("SetDbe DBEXoverFC 10, below the screen's range") << "SetDbe" << Args{"DBEXoverFC", 10} << none << invalid << L() << none << none;
        QTest::newRow("SetChannelDelay 4 to 300") << "SetChannelDelay" << Args{u(4), 300} << none << none << L{sset("Music Chan4 Delay", 300)}
            << "ChannelDelays" << "0 0 0 300";
        QTest::newRow("SetChannelDelay of channel 0") << "SetChannelDelay" << Args{u(0), 1} << none << invalid << L() << none << none;
        QTest::newRow("SetChannelDelay 769") << "SetChannelDelay" << Args{u(1), 769} << none << invalid << L() << none << none;
        QTest::newRow("SetCvcMode off") << "SetCvcMode" << Args{false} << none << none
            << L{sset("Voicecall CVC Send Mode", 2), sset("Voicecall CVC Recv Mode", 2)} << "CvcMode" << "false";
        QTest::newRow("SetTwoMicMode on") << "SetTwoMicMode" << Args{true} << none << none << L{sset("Voicecall CVC 2Mic", "on")} << "TwoMicMode" << "true";
        QTest::newRow("SetCvcSendMode 3") << "SetCvcSendMode" << Args{3} << none << none << L{sset("Voicecall CVC Send Mode", 3)} << "CvcSendMode" << "3";
        QTest::newRow("SetCvcRecvMode 8") << "SetCvcRecvMode" << Args{8} << none << invalid << L() << none << none;
        QTest::newRow("Export xml") << "Export" << Args{"xml"} << none << invalid << L() << none << none;
        QTest::newRow("Import, stale revision") << "Import" << Args{apoPair, false, t(99999)} << none << stale << L() << none << none;
        QTest::newRow("Import, truncated document") << "Import" << Args{"{\"format\": \"equalizer-tu", false, t(0)} << none << invalid << L() << none << none;
        QTest::newRow("Import, NaN gain") << "Import" << Args{"Filter 1: ON PK Fc 60 Hz Gain nan dB", false, t(0)} << none << invalid << L() << none << none;
        QTest::newRow("Import, no filters") << "Import" << Args{"Preamp: -3 dB\n", false, t(0)} << none << invalid << L() << none << none;
        QTest::newRow("Import, over 1 MiB") << "Import" << Args{apoPair + QString(1 << 20, QLatin1Char('#')), false, t(0)} << none << invalid << L() << none << none;
    }

    void methods()
    {
        QFETCH(QString, method);
        QFETCH(Args, args);
        QFETCH(QString, failing);
        QFETCH(QString, error);
        QFETCH(L, written);
        QFETCH(QString, property);
        QFETCH(QString, value);

        unit->card.failWrites(failing.isEmpty() ? L() : L{failing});
        const qulonglong before = revision();
        announced.clear();

        const QDBusMessage reply = call(method, args);
        QCOMPARE(reply.type() == QDBusMessage::ErrorMessage ? reply.errorName() : QString(), error);
        for (QString &line : written)
            line = ControllerFixture::redirected(line);
        QCOMPARE(writes(), written);
        QCOMPARE(revision(), before + (property.isEmpty() ? 0 : 1));
        QCOMPARE(announced.size(), property.isEmpty() ? 0 : 1);
        if (property.isEmpty())
            return;
        QCOMPARE(render(announced[0].value(property)), value);
        QCOMPARE(announced[0].value(QStringLiteral("Revision")).toULongLong(), before + 1);
        QVERIFY(announced[0].value(QStringLiteral("LastChangedBy")).toString().startsWith(
            QStringLiteral("uid %1 pid %2 tst_control").arg(getuid()).arg(getpid())));
    }

    // "@" in args is a file holding input; out is a pattern for the whole of standard output.
    void equalizerctl_data()
    {
        QTest::addColumn<L>("args");
        QTest::addColumn<QString>("input");
        QTest::addColumn<QString>("failing");
        QTest::addColumn<int>("exit");
        QTest::addColumn<QString>("out");
        QTest::addColumn<L>("written");

        const QString none;
        QTest::newRow("--help") << L{"--help"} << none << none << 0 << "Usage: equalizerctl COMMAND.*Exit status: .*" << L();
        QTest::newRow("no command") << L() << none << none << 2 << "" << L();
        QTest::newRow("volume shown") << L{"volume"} << none << none << 0 << "80\n" << L();
        QTest::newRow("volume raised by 5") << L{"volume", "+5"} << none << none << 0 << "" << L{sset("Main Vol Master Gain", 85)};
        QTest::newRow("band 1k lowered by 3") << L{"gain", "1k", "-3"} << none << none << 0 << "" << L{gain(5, -3)};
        QTest::newRow("master set to -6") << L{"gain", "master", "=-6"} << none << none << 0 << "" << L{gain(0, -6)};
        QTest::newRow("no band 11") << L{"gain", "11", "3"} << none << none << 2 << "" << L();
        QTest::newRow("unknown speaker set") << L{"speaker", "Spk9"} << none << none << 2 << "" << L();
        QTest::newRow("sweet spot 2") << L{"sweetspot", "2"} << none << none << 0 << "" << delays({203, 91, 272, 203});
        QTest::newRow("delay of channel 2") << L{"delay", "2", "100"} << none << none << 0 << "" << L{sset("Music Chan2 Delay", 100)};
        QTest::newRow("two microphones on") << L{"voice", "twomic", "on"} << none << none << 0 << "" << L{sset("Voicecall CVC 2Mic", "on")};
        QTest::newRow("voice cvc maybe") << L{"voice", "cvc", "maybe"} << none << none << 2 << "" << L();
        QTest::newRow("receive mode 3") << L{"voice", "receive", "3"} << none << none << 0 << "" << L{sset("Voicecall CVC Recv Mode", 3)};
        QTest::newRow("dbe") << L{"dbe", "DBEHPFC", "30"} << none << none << 0 << "" << L{sset("Music DBE HP FC", 30)};
        QTest::newRow("status") << L{"status"} << none << none << 0 << ".*\nSpeaker: User\n.*\nVolume: 80\n" << L();
        QTest::newRow("status --json") << L{"status", "--json"} << none << none << 0 << "\\{\n.*\"Volume\": 80\n\\}\n" << L();
        QTest::newRow("filter list export") << L{"export", "--format", "apo"} << none << none << 0
            << "Preamp: 0 dB\nFilter 1: ON PK Fc 60 Hz Gain 0 dB Q 1.41\n.*Filter 10: ON PK Fc 16000 Hz Gain 0 dB Q 1.41\n" << L();
        QTest::newRow("filter list: 63 Hz Q 2 on band 1, 2.5 kHz skipped") << L{"import", "@"} << apoPair << none << 0
            << "applied: band 1 \\(60 Hz\\): 4 dB\n.*Filter 1: 63 Hz taken as band 1.*Filter 1: Q 2 is not the bands' Q.*"
               "skipped: Filter 2: 2500 Hz is far from every band centre\nrevision: \\d+\n" << L{gain(1, 4)};
        QTest::newRow("filter list, dry run") << L{"import", "@", "--dry-run"} << apoPair << none << 0 << ".*\\(dry run: nothing written\\)\n" << L();
        QTest::newRow("import of a missing file") << L{"import", "/nonexistent/tuning.json"} << none << none << 2 << "" << L();
        QTest::newRow("import at a stale revision") << L{"import", "@", "--revision", "99999"} << apoPair << none << 1 << "" << L();
        QTest::newRow("unit not running") << L{"volume"} << none << "(service stopped)" << 4 << "" << L();
    }

    void equalizerctl()
    {
        QFETCH(L, args);
        QFETCH(QString, input);
        QFETCH(QString, failing);
        QFETCH(int, exit);
        QFETCH(QString, out);
        QFETCH(L, written);

        QTemporaryFile file;
        QVERIFY(file.open());
        file.write(input.toUtf8());
        file.flush();
        args.replaceInStrings(QRegularExpression(QStringLiteral("^@$")), file.fileName());
        const bool stopped = failing == QLatin1String("(service stopped)");
        if (stopped)
            unit->service.reset();
        else
            unit->card.failWrites(failing.isEmpty() ? L() : L{failing});

        QByteArray stdOut, stdErr;
        const int code = ctl(args, &stdOut, &stdErr);
        if (stopped) {
            unit->service = std::make_unique<ControlService>(*unit->eq);
            QVERIFY(unit->service->start());
        }
        QCOMPARE(code, exit);
        QVERIFY2(QRegularExpression(QRegularExpression::anchoredPattern(out), QRegularExpression::DotMatchesEverythingOption)
                     .match(QString::fromUtf8(stdOut)).hasMatch(), stdOut.constData());
        QCOMPARE(stdErr.count('\n'), exit == 0 ? 0 : 1);
        for (QString &line : written)
            line = ControllerFixture::redirected(line);
        QCOMPARE(writes(), written);
        if (args.contains(QStringLiteral("--json")))
            QVERIFY(QJsonDocument::fromJson(stdOut).object().contains(QStringLiteral("Revision")));
    }

    // A unit tuned away from its defaults in every part of the document, exported, and imported on
    // a fresh unit: the fresh unit exports the same document. A copy with one value beyond its range
    // is refused whole first. The client tunes only what its table leaves out; the rest is direct.
    void nativeRoundTrip()
    {
        QByteArray out, err;
        Equalizer &eq = *unit->eq;
        QVERIFY2(ctl({"profile", "Velto"}, &out, &err) == 0, err.constData());
        eq.changePeq(3);
        QVERIFY(eq.changeGain(5, 4) && eq.changeGain(0, -4));
        QVERIFY2(ctl({"preset", "save", "Vocal"}, &out, &err) == 0, err.constData());
        eq.changePeq(1);
        eq.setSweetspot(4);
        QVERIFY(eq.changeGain(1, -2) && eq.changeChanDelay(1, 500) && eq.changeDBEParams(4, 60) && eq.changeTwoMicMode(true)
                && eq.setVolume(90));
        QVERIFY2(ctl({"voice", "send", "3"}, &out, &err) == 0, err.constData());
        QTemporaryDir dir;
        const QString exported = dir.filePath(QStringLiteral("unit.json"));
        QCOMPARE(ctl({"export", "-o", exported}, &out, &err), 0);
        QFile file(exported);
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QByteArray document = file.readAll();
        QVERIFY2(document.contains("\"Vocal\": [5, 4, 2, 0, 4, -1, 1, 3, 4, 4]"), document.constData());

        restart();
        const QString tampered = dir.filePath(QStringLiteral("tampered.json"));
        QFile bad(tampered);
        QVERIFY(bad.open(QIODevice::WriteOnly));
        bad.write(QByteArray(document).replace("\"volume\": 90", "\"volume\": 900"));
        bad.close();
        QCOMPARE(ctl({"import", tampered}, &out, &err), 2);
        QVERIFY2(err.contains("volume: 900 is out of range 0 to 127"), err.constData());
        QCOMPARE(writes(), L());

        QVERIFY2(ctl({"import", exported}, &out, &err) == 0, err.constData());
        QCOMPARE(ctl({"export"}, &out, &err), 0);
        QCOMPARE(out, document);
    }

    // A burst of 1,000 calls is answered in full while the screen's touches go on in between; a
    // client that leaves while its export runs disturbs nothing.
    void burstAndDeparture()
    {
        int answered = 0, errors = 0, sent = 0, touches = 0, touchesAtFirstAnswer = -1;
        QTimer touch;
        connect(&touch, &QTimer::timeout, this, [&] { unit->eq->changeGain(2, ++touches % 2); });
        touch.start(0);
        // The bus lets a client wait for 128 answers at most.
        std::function<void()> send = [&] {
            QDBusMessage message = QDBusMessage::createMethodCall(name, QStringLiteral("/zk/app/Equalizer"),
                                                                  QStringLiteral("zk.app.Equalizer.Control1"), QStringLiteral("SetGain"));
            message << 1u << 3;
            ++sent;
            auto *watcher = new QDBusPendingCallWatcher(client.asyncCall(message), this);
            connect(watcher, &QDBusPendingCallWatcher::finished, this, [&](QDBusPendingCallWatcher *done) {
                errors += done->isError();
                if (answered++ == 0)
                    touchesAtFirstAnswer = touches;
                done->deleteLater();
                if (sent < 1000)
                    send();
            });
        };
        for (int i = 0; i < 100; ++i)
            send();
        QTRY_COMPARE_WITH_TIMEOUT(answered, 1000, 120000);
        touch.stop();
        QCOMPARE(errors, 0);
        QVERIFY2(touches > touchesAtFirstAnswer + 1, qPrintable(QString::number(touches)));
        QCOMPARE(unit->eq->gain1(), 3);

        QDBusConnection leaving = QDBusConnection::connectToBus(bus.address(), QStringLiteral("leaving"));
        leaving.asyncCall(QDBusMessage::createMethodCall(name, QStringLiteral("/zk/app/Equalizer"),
                                                         QStringLiteral("zk.app.Equalizer.Control1"), QStringLiteral("Export"))
                          << QStringLiteral("native"));
        QDBusConnection::disconnectFromBus(QStringLiteral("leaving"));
        const QDBusMessage reply = call(QStringLiteral("Export"), {QStringLiteral("native")});
        QVERIFY(reply.arguments().value(0).toString().contains(QLatin1String("\"format\": \"equalizer-tuning\"")));
    }
};

QTEST_MAIN(TstControl)
#include "tst_control.moc"
