// equalizerctl: drives the unit's equaliser over the system bus, through its control interface
// (zk.app.Equalizer.Control1). A verb first, plain text for people, --json for scripts; the answer
// alone on stdout, one line per error on stderr.

#include "control1proxy.h"

#include <QCoreApplication>
#include <QDBusConnectionInterface>
#include <QDBusMetaType>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <cstdio>
#include <functional>

namespace {

const char usage[] = R"(Usage: equalizerctl COMMAND [ARGUMENTS]

Drives the unit's equaliser over the system bus.

  status [--json]                    every setting
  volume [N|+N|-N]                   show, set or change the main volume (0-127)
  speaker NAME                       edit speaker set User, Spk1, Spk2, Spk3 or Spk4
  gain BAND DB|=DB|+N|-N             set a gain in dB (=DB for a negative one) or change it by N;
                                     BAND: master, 1-10 or the band's name (60 ... 1k ... 16k)
  preset apply|save NAME             Bass, Rock, Vocal or Cust
  profile NAME                       apply User, Velto or Default
  sweetspot 1-4|off
  dbe NAME VALUE                     NAME: DBEModeIdx, DBEXoverFC, DBEMixBalance, DBEEffectStrength,
                                     DBEAmpLimit, DBELPFC, DBEHPFC or DBEHarmContent
  delay CHANNEL VALUE                channel 1-4, delay 0-768
  voice cvc|twomic on|off
  voice send|receive N               voice-call mode 0-7
  export [--format native|apo] [-o FILE]
  import FILE|- [--dry-run] [--revision N]
  monitor [--json]                   one line per change, until interrupted
  --help

Exit status: 0 done, 1 refused by the unit (a write failed, the revision moved on), 2 usage,
3 not allowed, 4 not running.
)";

enum Exit { Done = 0, Refused = 1, Usage = 2, NotAllowed = 3, NotRunning = 4 };

const QString service = QStringLiteral("zk.app.Equalizer");
const QString path = QStringLiteral("/zk/app/Equalizer");
const QString interface = QStringLiteral("zk.app.Equalizer.Control1");
const QString properties = QStringLiteral("org.freedesktop.DBus.Properties");

int complain(int code, const QString &message)
{
    fprintf(stderr, "equalizerctl: %s\n", qUtf8Printable(message));
    return code;
}

int failed(const QDBusError &error)
{
    const QString name = error.name();
    if (name == QLatin1String("zk.app.Equalizer.Error.InvalidArgument"))
        return complain(Usage, error.message());
    if (error.type() == QDBusError::AccessDenied)
        return complain(NotAllowed, QStringLiteral("not allowed: ") + error.message());
    if (error.type() == QDBusError::ServiceUnknown || error.type() == QDBusError::NoServer
        || error.type() == QDBusError::Disconnected || name == QLatin1String("org.freedesktop.DBus.Error.NameHasNoOwner"))
        return complain(NotRunning, QStringLiteral("the equaliser is not running: ") + error.message());
    return complain(Refused, error.message());
}

template<typename Reply>
int done(Reply reply)
{
    reply.waitForFinished();
    return reply.isError() ? failed(reply.error()) : Done;
}

// Bus arrays arrive as QDBusArgument inside variants; these are the interface's two kinds.
QJsonValue json(const QVariant &value)
{
    if (value.userType() == qMetaTypeId<QDBusArgument>()) {
        const QDBusArgument argument = value.value<QDBusArgument>();
        if (argument.currentSignature() == QLatin1String("a{si}")) {
            QJsonObject object;
            const QMap<QString, int> map = qdbus_cast<QMap<QString, int>>(argument);
            for (auto it = map.cbegin(); it != map.cend(); ++it)
                object.insert(it.key(), it.value());
            return object;
        }
        QJsonArray array;
        for (int item : qdbus_cast<QList<int>>(argument))
            array.append(item);
        return array;
    }
    return QJsonValue::fromVariant(value);
}

QString text(const QJsonValue &value)
{
    QStringList parts;
    if (value.isArray()) {
        for (const QJsonValue &item : value.toArray())
            parts << text(item);
        return parts.join(QLatin1Char(' '));
    }
    if (value.isObject()) {
        const QJsonObject object = value.toObject();
        for (auto it = object.begin(); it != object.end(); ++it)
            parts << it.key() + QLatin1Char('=') + text(it.value());
        return parts.join(QLatin1Char(' '));
    }
    if (value.isBool())
        return value.toBool() ? QStringLiteral("true") : QStringLiteral("false");
    return value.isDouble() ? QString::number(value.toDouble(), 'f', 0) : value.toString();
}

QJsonObject jsonObject(const QVariantMap &values)
{
    QJsonObject object;
    for (auto it = values.cbegin(); it != values.cend(); ++it)
        object.insert(it.key(), json(it.value()));
    return object;
}

void print(const QString &line)
{
    fputs(qUtf8Printable(line + QLatin1Char('\n')), stdout);
    fflush(stdout);
}

bool integer(const QString &word, int *value)
{
    bool ok = false;
    *value = word.toInt(&ok);
    return ok;
}

// Prints each PropertiesChanged of the interface as one line.
class Monitor : public QObject
{
    Q_OBJECT

public:
    explicit Monitor(bool asJson)
        : asJson(asJson)
    {
    }

public slots:
    void changed(const QDBusMessage &message)
    {
        if (message.arguments().value(0).toString() != interface)
            return;
        const QJsonObject values = jsonObject(qdbus_cast<QVariantMap>(message.arguments().value(1)));
        if (asJson) {
            print(QString::fromUtf8(QJsonDocument(values).toJson(QJsonDocument::Compact)));
            return;
        }
        QStringList parts;
        for (auto it = values.begin(); it != values.end(); ++it) {
            if (it.key() != QLatin1String("Revision") && it.key() != QLatin1String("LastChangedBy"))
                parts << it.key() + QLatin1Char('=') + text(it.value());
        }
        print(QStringLiteral("%1 %2: %3").arg(text(values.value(QStringLiteral("Revision"))),
                                              values.value(QStringLiteral("LastChangedBy")).toString(),
                                              parts.join(QStringLiteral(", "))));
    }

private:
    const bool asJson;
};

class Client
{
public:
    Client()
        : bus(QDBusConnection::systemBus())
        , unit(service, path, bus)
    {
    }

    int run(QStringList args);

private:
    int status(bool asJson);
    int volume(const QStringList &args);
    int gain(const QStringList &args);
    int exportTuning(QStringList args);
    int importTuning(QStringList args);
    int monitor(bool asJson);
    bool all(QVariantMap *values, int *code);

    QDBusConnection bus;
    ZkAppEqualizerControl1Interface unit;
};

bool Client::all(QVariantMap *values, int *code)
{
    QDBusMessage call = QDBusMessage::createMethodCall(service, path, properties, QStringLiteral("GetAll"));
    call << interface;
    const QDBusReply<QVariantMap> reply = bus.call(call);
    if (!reply.isValid()) {
        *code = failed(reply.error());
        return false;
    }
    *values = reply.value();
    return true;
}

int Client::status(bool asJson)
{
    QVariantMap values;
    int code = Done;
    if (!all(&values, &code))
        return code;
    const QJsonObject object = jsonObject(values);
    if (asJson) {
        print(QString::fromUtf8(QJsonDocument(object).toJson(QJsonDocument::Indented)).trimmed());
        return Done;
    }
    for (auto it = object.begin(); it != object.end(); ++it)
        print(it.key() + QStringLiteral(": ") + text(it.value()));
    return Done;
}

int Client::volume(const QStringList &args)
{
    int value = 0;
    if (args.isEmpty()) {
        QVariantMap values;
        int code = Done;
        if (all(&values, &code))
            print(QString::number(values.value(QStringLiteral("Volume")).toInt()));
        return code;
    }
    if (args.size() != 1 || !integer(args[0], &value))
        return complain(Usage, QStringLiteral("volume takes N, +N or -N"));
    const bool relative = args[0].startsWith(QLatin1Char('+')) || args[0].startsWith(QLatin1Char('-'));
    return relative ? done(unit.AdjustVolume(value)) : done(unit.SetVolume(value));
}

int Client::gain(const QStringList &args)
{
    int value = 0;
    int band = -1;
    QString amount = args.value(1);
    const bool absolute = !amount.startsWith(QLatin1Char('+')) && !amount.startsWith(QLatin1Char('-'));
    if (amount.startsWith(QLatin1Char('=')))
        amount.remove(0, 1);
    if (args.size() != 2 || !integer(amount, &value))
        return complain(Usage, QStringLiteral("gain takes BAND and DB, =DB, +N or -N"));
    int number = 0;
    if (args[0] == QLatin1String("master"))
        band = 0;
    else if (integer(args[0], &number) && number >= 1 && number <= 10)
        band = number;
    if (band < 0) {
        // A band's name is its centre frequency, in kHz from 1000 Hz up: 60, 600, 1k, 16k.
        const QList<int> frequencies = unit.bandFrequencies();
        if (unit.lastError().isValid())
            return failed(unit.lastError());
        for (int i = 0; i < frequencies.size(); ++i) {
            const int hz = frequencies[i];
            const QString name = hz >= 1000 && hz % 1000 == 0 ? QStringLiteral("%1k").arg(hz / 1000) : QString::number(hz);
            if (args[0] == name || args[0] == QString::number(hz))
                band = i + 1;
        }
        if (band < 0)
            return complain(Usage, QStringLiteral("no band \"%1\": master, 1-10 or a band's name").arg(args[0]));
    }
    return absolute ? done(unit.SetGain(uint(band), value)) : done(unit.AdjustGain(uint(band), value));
}

int Client::exportTuning(QStringList args)
{
    QString format = QStringLiteral("native");
    QString file;
    while (!args.isEmpty()) {
        const QString option = args.takeFirst();
        if (args.isEmpty() || (option != QLatin1String("--format") && option != QLatin1String("-o")))
            return complain(Usage, QStringLiteral("export takes [--format native|apo] [-o FILE]"));
        (option == QLatin1String("-o") ? file : format) = args.takeFirst();
    }
    QDBusPendingReply<QString> reply = unit.Export(format);
    reply.waitForFinished();
    if (reply.isError())
        return failed(reply.error());
    if (file.isEmpty()) {
        fputs(qUtf8Printable(reply.value()), stdout);
        return Done;
    }
    QFile out(file);
    if (!out.open(QIODevice::WriteOnly | QIODevice::Truncate) || out.write(reply.value().toUtf8()) < 0)
        return complain(Usage, QStringLiteral("cannot write %1: %2").arg(file, out.errorString()));
    return Done;
}

int Client::importTuning(QStringList args)
{
    bool dryRun = false;
    qulonglong revision = 0;
    QString file;
    while (!args.isEmpty()) {
        const QString word = args.takeFirst();
        bool ok = true;
        if (word == QLatin1String("--dry-run"))
            dryRun = true;
        else if (word == QLatin1String("--revision") && !args.isEmpty())
            revision = args.takeFirst().toULongLong(&ok);
        else if (file.isEmpty() && (word == QLatin1String("-") || !word.startsWith(QLatin1Char('-'))))
            file = word;
        else
            ok = false;
        if (!ok)
            return complain(Usage, QStringLiteral("import takes FILE or - [--dry-run] [--revision N]"));
    }
    QFile in(file);
    const bool opened = file == QLatin1String("-") ? in.open(stdin, QIODevice::ReadOnly) : in.open(QIODevice::ReadOnly);
    if (file.isEmpty() || !opened)
        return complain(Usage, QStringLiteral("cannot read \"%1\": %2").arg(file, in.errorString()));
    QDBusPendingReply<QVariantMap> reply = unit.Import(QString::fromUtf8(in.readAll()), dryRun, revision);
    reply.waitForFinished();
    if (reply.isError())
        return failed(reply.error());
    const QVariantMap report = reply.value();
    for (const char *kind : {"applied", "adjusted", "skipped"}) {
        for (const QString &line : report.value(QLatin1String(kind)).toStringList())
            print(QLatin1String(kind) + QStringLiteral(": ") + line);
    }
    print(QStringLiteral("revision: %1%2").arg(report.value(QStringLiteral("revision")).toULongLong())
              .arg(dryRun ? QStringLiteral(" (dry run: nothing written)") : QString()));
    return Done;
}

int Client::monitor(bool asJson)
{
    if (!bus.interface()->isServiceRegistered(service))
        return complain(NotRunning, QStringLiteral("the equaliser is not running"));
    Monitor printer(asJson);
    bus.connect(service, path, properties, QStringLiteral("PropertiesChanged"), &printer,
                SLOT(changed(QDBusMessage)));
    return QCoreApplication::exec();
}

int Client::run(QStringList args)
{
    if (args.isEmpty())
        return complain(Usage, QStringLiteral("no command; see equalizerctl --help"));
    const QString verb = args.takeFirst();
    if (verb == QLatin1String("--help") || verb == QLatin1String("-h") || verb == QLatin1String("help")) {
        fputs(usage, stdout);
        return Done;
    }
    if (!bus.isConnected())
        return complain(NotRunning, QStringLiteral("no system bus: ") + bus.lastError().message());
    const QString first = args.value(0), second = args.value(1);
    const bool json = args == QStringList{QStringLiteral("--json")};
    const int count = args.size();
    int number = 0;
    const bool numeric = integer(second, &number);
    if (verb == QLatin1String("status") && (count == 0 || json))
        return status(json);
    if (verb == QLatin1String("monitor") && (count == 0 || json))
        return monitor(json);
    if (verb == QLatin1String("volume"))
        return volume(args);
    if (verb == QLatin1String("gain"))
        return gain(args);
    if (verb == QLatin1String("export"))
        return exportTuning(args);
    if (verb == QLatin1String("import"))
        return importTuning(args);
    if (verb == QLatin1String("speaker") && count == 1)
        return done(unit.SetSpeaker(first));
    if (verb == QLatin1String("preset") && count == 2 && first == QLatin1String("apply"))
        return done(unit.ApplyPreset(second));
    if (verb == QLatin1String("preset") && count == 2 && first == QLatin1String("save"))
        return done(unit.SavePreset(second));
    if (verb == QLatin1String("profile") && count >= 1) {
        QString name = args.join(QLatin1Char(' '));
        if (!name.endsWith(QLatin1String(" Profile")))
            name += QLatin1String(" Profile");
        return done(unit.ApplyProfile(name));
    }
    if (verb == QLatin1String("sweetspot") && count == 1 && (first == QLatin1String("off") || integer(first, &number)))
        return done(unit.SetSweetSpot(first == QLatin1String("off") ? 0 : number));
    if (verb == QLatin1String("dbe") && count == 2 && numeric)
        return done(unit.SetDbe(first, number));
    int channel = 0;
    if (verb == QLatin1String("delay") && count == 2 && numeric && integer(first, &channel) && channel >= 0)
        return done(unit.SetChannelDelay(uint(channel), number));
    const bool onOff = second == QLatin1String("on") || second == QLatin1String("off");
    if (verb == QLatin1String("voice") && count == 2 && first == QLatin1String("cvc") && onOff)
        return done(unit.SetCvcMode(second == QLatin1String("on")));
    if (verb == QLatin1String("voice") && count == 2 && first == QLatin1String("twomic") && onOff)
        return done(unit.SetTwoMicMode(second == QLatin1String("on")));
    if (verb == QLatin1String("voice") && count == 2 && first == QLatin1String("send") && numeric)
        return done(unit.SetCvcSendMode(number));
    if (verb == QLatin1String("voice") && count == 2 && first == QLatin1String("receive") && numeric)
        return done(unit.SetCvcRecvMode(number));
    return complain(Usage, QStringLiteral("unknown command or arguments: %1; see equalizerctl --help")
                               .arg((QStringList{verb} + args).join(QLatin1Char(' '))));
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    qDBusRegisterMetaType<QMap<QString, int>>();
    Client client;
    return client.run(app.arguments().mid(1));
}

#include "main.moc"
