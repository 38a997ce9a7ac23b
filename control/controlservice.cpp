#include "control/controlservice.h"

#include "control1adaptor.h"
#include "equalizer/equalizer.h"
#include "mixer/controls.h"
#include "mixer/runner.h"

#include <QDBusConnectionInterface>
#include <QDBusMetaType>
#include <QDBusReply>
#include <QFile>
#include <QMetaMethod>
#include <QMetaProperty>
#include <QTimer>

#include <cstdio>

namespace {

const QString invalidArgument = QStringLiteral("zk.app.Equalizer.Error.InvalidArgument");
const QString writeFailed = QStringLiteral("zk.app.Equalizer.Error.WriteFailed");
const QString revisionMismatch = QStringLiteral("zk.app.Equalizer.Error.RevisionMismatch");
const QString touch = QStringLiteral("touch");

// The mixer control words of the eight DBE values, in type order.
const char *const dbeWords[] = {"Switch Mode", "Xover FC", "Mix Balance", "Effect Strength",
                                "Amp Limit", "LP FC", "HP FC", "Harm Content"};

QStringList names(const EqItemList *list)
{
    QStringList names;
    for (int row = 0; row < list->rowCount(); ++row)
        names << list->at(row).name;
    return names;
}

// A read the card did not answer is kept as such, not as a value.
int gainOrUnread(int dspValue)
{
    return dspValue < 0 ? TuningFile::unread : MixerControls::dspToGain(dspValue);
}

int valueOrUnread(int value)
{
    return value < 0 ? TuningFile::unread : value;
}

} // namespace

struct ControlService::ExportJob {
    QList<QDBusMessage> replyTo;
    QList<std::function<void()>> steps;
    int next = 0;
    TuningFile::Tuning tuning;
};

ControlService::ControlService(Equalizer &equalizer, QObject *parent)
    : QObject(parent)
    , eq(equalizer)
    , bus(QString())
{
    qDBusRegisterMetaType<QMap<QString, int>>();
    // The announcement compares property values as variants.
    if (!QMetaType::hasRegisteredComparators<QList<int>>()) {
        QMetaType::registerEqualsComparator<QList<int>>();
        QMetaType::registerEqualsComparator<QMap<QString, int>>();
    }

    catalogue.speakers = names(eq.peqList());
    catalogue.modes = names(eq.modeList());
    catalogue.coreTypes = names(eq.coreTypeList());
    catalogue.presets = names(eq.presetList());
    catalogue.profiles = names(eq.profileList());
    catalogue.bandFrequencies = bandFrequencies();
    catalogue.gain = {eq.minGainValue(), eq.maxGainValue()};

    // Every signal of the controller may change what the properties show; a comparison with what
    // was last announced sorts out those that did not.
    const QMetaMethod slot = staticMetaObject.method(staticMetaObject.indexOfSlot("noteChange()"));
    const QMetaObject *controller = eq.metaObject();
    for (int i = controller->methodOffset(); i < controller->methodCount(); ++i) {
        if (controller->method(i).methodType() == QMetaMethod::Signal)
            connect(&eq, controller->method(i), this, slot);
    }
    announced = snapshot();
    new Control1Adaptor(this);
}

ControlService::~ControlService()
{
    if (bus.isConnected()) {
        bus.unregisterObject(QLatin1String(objectPath));
        QDBusConnection::disconnectFromBus(bus.name());
    }
}

bool ControlService::start()
{
    bus = QDBusConnection::connectToBus(QDBusConnection::SystemBus,
                                        QStringLiteral("control-%1").arg(quintptr(this)));
    QString problem;
    if (!bus.isConnected()) {
        problem = QStringLiteral("no system bus: ") + bus.lastError().message();
    } else if (!bus.registerObject(QLatin1String(objectPath), this)) {
        problem = QStringLiteral("cannot serve ") + QLatin1String(objectPath);
    } else {
        const QDBusReply<QDBusConnectionInterface::RegisterServiceReply> owned = bus.interface()->registerService(
            QLatin1String(serviceName), QDBusConnectionInterface::DontQueueService,
            QDBusConnectionInterface::DontAllowReplacement);
        if (!owned.isValid())
            problem = owned.error().message();
        else if (owned.value() != QDBusConnectionInterface::ServiceRegistered)
            problem = QStringLiteral("another program owns the name");
    }
    if (problem.isEmpty())
        return true;
    fprintf(stderr, "equalizer: no control interface %s on the system bus: %s\n", serviceName,
            qUtf8Printable(problem));
    bus.unregisterObject(QLatin1String(objectPath));
    QDBusConnection::disconnectFromBus(bus.name());
    bus = QDBusConnection(QString());
    return false;
}

int ControlService::volume() const { return eq.volumeValue(); }
QString ControlService::speaker() const { return eq.currentPeqName(); }
QString ControlService::mode() const { return eq.modeList()->at(eq.currentModeIdxValue()).name; }
QString ControlService::coreType() const { return eq.coreTypeList()->at(eq.currentCoreTypeIdxValue()).name; }
int ControlService::masterGain() const { return eq.masterGainValue(); }
QString ControlService::preset() const { return eq.presetList()->at(eq.activatedPresetIdValue()).name; }
QString ControlService::profile() const { return eq.profileList()->at(eq.activatedProfileIdValue()).name; }
bool ControlService::cvcMode() const { return eq.cvcModeValue(); }
bool ControlService::twoMicMode() const { return eq.twoMicModeValue(); }
int ControlService::cvcSendMode() const { return eq.currentCvcSendModeIdxValue(); }
int ControlService::cvcRecvMode() const { return eq.currentCvcRecvModeIdxValue(); }

int ControlService::sweetSpot() const
{
    const int id = eq.sweetspotIdValue();
    return id >= 1 && id <= 4 ? id : 0;
}

QList<int> ControlService::bandGains() const
{
    QList<int> gains;
    for (int row = 0; row < eq.freqList()->rowCount(); ++row)
        gains << eq.freqList()->at(row).gain;
    return gains;
}

QList<int> ControlService::bandFrequencies() const
{
    QList<int> frequencies;
    for (int row = 0; row < eq.freqList()->rowCount(); ++row)
        frequencies << eq.freqList()->at(row).bandfreq;
    return frequencies;
}

QMap<QString, int> ControlService::dbe() const
{
    QMap<QString, int> values;
    for (const QString &name : catalogue.dbe)
        values.insert(name, eq.property(qPrintable(name)).toInt());
    return values;
}

QList<int> ControlService::channelDelays() const
{
    return {eq.chan1Delay(), eq.chan2Delay(), eq.chan3Delay(), eq.chan4Delay()};
}

void ControlService::noteChange()
{
    if (announcePending)
        return;
    announcePending = true;
    QMetaObject::invokeMethod(this, [this] { announce(touch); }, Qt::QueuedConnection);
}

QVariantMap ControlService::snapshot() const
{
    QVariantMap values;
    for (int i = staticMetaObject.propertyOffset(); i < staticMetaObject.propertyCount(); ++i) {
        const QMetaProperty property = staticMetaObject.property(i);
        if (qstrcmp(property.name(), "Revision") != 0 && qstrcmp(property.name(), "LastChangedBy") != 0)
            values.insert(QString::fromLatin1(property.name()), property.read(this));
    }
    return values;
}

void ControlService::announce(const QString &by)
{
    announcePending = false;
    const QVariantMap now = snapshot();
    QVariantMap changed;
    for (auto it = now.cbegin(); it != now.cend(); ++it) {
        if (announced.value(it.key()) != it.value())
            changed.insert(it.key(), it.value());
    }
    if (changed.isEmpty())
        return;
    announced = now;
    ++currentRevision;
    changedBy = by;
    changed.insert(QStringLiteral("Revision"), QVariant::fromValue(currentRevision));
    changed.insert(QStringLiteral("LastChangedBy"), changedBy);
    QDBusMessage signal = QDBusMessage::createSignal(QLatin1String(objectPath),
                                                     QStringLiteral("org.freedesktop.DBus.Properties"),
                                                     QStringLiteral("PropertiesChanged"));
    signal << QString::fromLatin1(interfaceName) << changed << QStringList();
    bus.send(signal);
}

QString ControlService::caller() const
{
    const QString sender = message().service();
    QDBusConnectionInterface *daemon = connection().interface();
    const QDBusReply<uint> uid = daemon->serviceUid(sender);
    const QDBusReply<uint> pid = daemon->servicePid(sender);
    QString who = QStringLiteral("uid %1 pid %2")
                      .arg(uid.isValid() ? QString::number(uid.value()) : QStringLiteral("?"),
                           pid.isValid() ? QString::number(pid.value()) : QStringLiteral("?"));
    // Where processes of other users are hidden from the service, the name stays unknown.
    QFile comm(QStringLiteral("/proc/%1/comm").arg(pid.value()));
    if (pid.isValid() && comm.open(QIODevice::ReadOnly))
        who += QLatin1Char(' ') + QString::fromUtf8(comm.readAll()).trimmed();
    return who;
}

bool ControlService::invalid(const QString &what)
{
    sendErrorReply(invalidArgument, what);
    return false;
}

// Changes made before this call were not the caller's: they are announced first. what is read
// after the operation ran, so an operation may name the write the card refused.
bool ControlService::perform(const std::function<bool()> &operation, const QString &what)
{
    announce(touch);
    const QString by = caller();
    const bool ok = operation();
    announce(by);
    if (!ok)
        sendErrorReply(writeFailed, QStringLiteral("the card refused %1").arg(what));
    return ok;
}

bool ControlService::checkRange(qint64 value, TuningFile::Range range, const QString &what)
{
    return range.contains(value)
        || invalid(QStringLiteral("%1 %2 is out of range %3 to %4").arg(what).arg(value).arg(range.from).arg(range.to));
}

int ControlService::indexOf(const QStringList &names, const QString &name, const QString &what)
{
    const int index = names.indexOf(name);
    if (index < 0)
        invalid(QStringLiteral("unknown %1 \"%2\": one of %3").arg(what, name, names.join(QStringLiteral(", "))));
    return index;
}

void ControlService::SetVolume(int value)
{
    if (checkRange(value, catalogue.volume, QStringLiteral("volume")))
        perform([&] { return eq.setVolume(value); }, QStringLiteral("the volume"));
}

// Stops at the ends of the range, as the screen's volume buttons do.
void ControlService::AdjustVolume(int delta)
{
    const int target = int(qBound<qint64>(catalogue.volume.from, qint64(eq.volumeValue()) + delta, catalogue.volume.to));
    perform([&] { return eq.setVolume(target); }, QStringLiteral("the volume"));
}

void ControlService::SetSpeaker(const QString &name)
{
    const int index = indexOf(catalogue.speakers, name, QStringLiteral("speaker set"));
    if (index >= 0)
        perform([&] { return eq.changePeq(index); }, QString());
}

void ControlService::SetMode(const QString &name)
{
    const int index = indexOf(catalogue.modes, name, QStringLiteral("mode"));
    if (index >= 0)
        perform([&] { return eq.changeMode(index); }, QStringLiteral("the mode"));
}

void ControlService::SetCoreType(const QString &name)
{
    const int index = indexOf(catalogue.coreTypes, name, QStringLiteral("core type"));
    if (index >= 0)
        perform([&] { return eq.changeCoreType(index); }, QStringLiteral("the core type"));
}

void ControlService::SetGain(uint band, int dB)
{
    if (checkRange(band, {0, int(catalogue.bandFrequencies.size())}, QStringLiteral("band (0: master)"))
        && checkRange(dB, catalogue.gain, QStringLiteral("gain (dB)")))
        perform([&] { return eq.changeGain(int(band), dB); }, QStringLiteral("the gain of band %1").arg(band));
}

// Stops at the bounds, as a slider does.
void ControlService::AdjustGain(uint band, int delta)
{
    if (!checkRange(band, {0, int(catalogue.bandFrequencies.size())}, QStringLiteral("band (0: master)")))
        return;
    const int now = band == 0 ? masterGain() : bandGains().value(int(band) - 1);
    const int target = int(qBound<qint64>(catalogue.gain.from, qint64(now) + delta, catalogue.gain.to));
    perform([&] { return eq.changeGain(int(band), target); }, QStringLiteral("the gain of band %1").arg(band));
}

void ControlService::ApplyPreset(const QString &name)
{
    const int id = indexOf(catalogue.presets, name, QStringLiteral("preset"));
    if (id < 0)
        return;
    perform([&] {
        // The controller selects the preset only once every band took its gain.
        int selected = -1;
        const QMetaObject::Connection watch = connect(&eq, &Equalizer::activatedPresetIdChanged, this,
                                                      [&] { selected = eq.activatedPresetIdValue(); });
        eq.setToPreset(id);
        disconnect(watch);
        return selected == id;
    }, QStringLiteral("a gain of preset ") + name);
}

void ControlService::SavePreset(const QString &name)
{
    const int id = indexOf(catalogue.presets, name, QStringLiteral("preset"));
    if (id >= 0)
        perform([&] { eq.saveToPresets(id); return true; }, QString());
}

// The controller reports nothing about a profile's script; the read-back shows what the card holds.
void ControlService::ApplyProfile(const QString &name)
{
    const int id = indexOf(catalogue.profiles, name, QStringLiteral("profile"));
    if (id >= 0)
        perform([&] { eq.setToProfiles(id); return true; }, QString());
}

void ControlService::SetSweetSpot(int seat)
{
    if (!checkRange(seat, catalogue.sweetSpot, QStringLiteral("sweet spot (0: none)")))
        return;
    perform([&] {
        // A seat writes the four delays, each announced once it took.
        int written = 0;
        const QMetaObject::Connection watch = connect(&eq, &Equalizer::chanDelaysChanged, this, [&] { ++written; });
        eq.setSweetspot(seat);
        disconnect(watch);
        return seat == 0 || written == 4;
    }, QStringLiteral("a channel delay"));
}

void ControlService::SetDbe(const QString &name, int value)
{
    const int type = indexOf(catalogue.dbe, name, QStringLiteral("DBE value"));
    // The controller refuses to write the value it holds; that is no failure here.
    if (type >= 0 && checkRange(value, catalogue.dbeRanges[type], name))
        perform([&] { return dbe().value(name) == value || eq.changeDBEParams(type, value); }, name);
}

void ControlService::SetChannelDelay(uint channel, int value)
{
    if (checkRange(channel, {1, 4}, QStringLiteral("channel")) && checkRange(value, catalogue.delay, QStringLiteral("delay")))
        perform([&] { return eq.changeChanDelay(int(channel), value); }, QStringLiteral("the delay of channel %1").arg(channel));
}

void ControlService::SetCvcMode(bool enable)
{
    perform([&] { return eq.changeCvcMode(enable); }, QStringLiteral("a voice-call mode"));
}

void ControlService::SetTwoMicMode(bool enable)
{
    perform([&] { return eq.changeTwoMicMode(enable); }, QStringLiteral("the two-microphone mode"));
}

void ControlService::SetCvcSendMode(int mode)
{
    if (checkRange(mode, catalogue.voiceMode, QStringLiteral("send mode")))
        perform([&] { return eq.changeCvcSendMode(mode); }, QStringLiteral("the send mode"));
}

void ControlService::SetCvcRecvMode(int mode)
{
    if (checkRange(mode, catalogue.voiceMode, QStringLiteral("receive mode")))
        perform([&] { return eq.changeCvcRecvMode(mode); }, QStringLiteral("the receive mode"));
}

QString ControlService::Export(const QString &format)
{
    if (format == QLatin1String("apo"))
        return TuningFile::formatApo(masterGain(), bandGains(), bandFrequencies());
    if (format != QLatin1String("native")) {
        invalid(QStringLiteral("unknown format \"%1\": native or apo").arg(format));
        return QString();
    }
    setDelayedReply(true);
    exportWaiting << message();
    if (!exporting)
        startExport();
    return QString();
}

void ControlService::startExport()
{
    exporting = std::make_unique<ExportJob>();
    ExportJob &job = *exporting;
    job.replyTo.swap(exportWaiting);
    TuningFile::Tuning &t = job.tuning;
    const auto read = [this](const QString &cmd) { return MixerRunner::get(exportGuard, cmd, false); };
    for (const QString &name : catalogue.speakers) {
        TuningFile::SpeakerSet &set = t.speakers[name];
        job.steps << [=, &set] { set.mode = catalogue.modes.value(read(MixerControls::readPeqSwitchMode(name))); }
                  << [=, &set] { set.coreType = catalogue.coreTypes.value(read(MixerControls::readPeqCoreType(name))); }
                  << [=, &set] { set.master = gainOrUnread(read(MixerControls::readPeqMasterGain(name))); };
        for (int band = 1; band <= catalogue.bandFrequencies.size(); ++band) {
            set.bands << TuningFile::unread;
            job.steps << [=, &set] { set.bands[band - 1] = gainOrUnread(read(MixerControls::readPeqBandGain(name, band))); };
        }
    }
    for (int type = 0; type < catalogue.dbe.size(); ++type) {
        job.steps << [=, &t] {
            t.dbe.insert(catalogue.dbe[type], valueOrUnread(read(MixerControls::readDbe(QLatin1String(dbeWords[type])))));
        };
    }
    for (int chan = 1; chan <= 4; ++chan) {
        t.channelDelays << TuningFile::unread;
        job.steps << [=, &t] { t.channelDelays[chan - 1] = valueOrUnread(read(MixerControls::readChanDelay(chan))); };
    }
    job.steps << [=, &t] { t.cvcSend = valueOrUnread(read(MixerControls::readCvcSendMode())); }
              << [=, &t] { t.cvcRecv = valueOrUnread(read(MixerControls::readCvcRecvMode())); }
              << [=, &t] { t.twoMic = MixerRunner::getString(exportGuard, MixerControls::readCvcTwoMic(), false) == QLatin1String("on"); }
              << [&t] { t.volume = MixerRunner::getVolume(MixerControls::readMainVolume(), false); };
    QTimer::singleShot(0, this, &ControlService::exportStep);
}

void ControlService::exportStep()
{
    ExportJob &job = *exporting;
    if (job.next < job.steps.size()) {
        job.steps[job.next++]();
        QTimer::singleShot(0, this, &ControlService::exportStep);
        return;
    }
    // What is not on the card: the stored choices.
    job.tuning.sweetSpot = sweetSpot();
    job.tuning.profile = profile();
    for (int id = 0; id < catalogue.presets.size(); ++id) {
        const QVariantHash stored = eq.storedPreset(id);
        QList<int> gains;
        for (int row = 0; row < eq.freqList()->rowCount() && !stored.isEmpty(); ++row)
            gains << stored.value(eq.freqList()->at(row).name).toInt();
        job.tuning.presets.insert(catalogue.presets[id], gains);
    }
    const QString text = TuningFile::formatNative(job.tuning);
    for (const QDBusMessage &request : qAsConst(job.replyTo))
        bus.send(request.createReply(text));
    exporting.reset();
    if (!exportWaiting.isEmpty())
        startExport();
}

QVariantMap ControlService::Import(const QString &data, bool dryRun, qulonglong expectedRevision)
{
    announce(touch);
    if (expectedRevision != 0 && expectedRevision != currentRevision) {
        sendErrorReply(revisionMismatch, QStringLiteral("the unit is at revision %1, not %2")
                                             .arg(currentRevision).arg(expectedRevision));
        return QVariantMap();
    }
    const TuningFile::Parsed parsed = TuningFile::parse(data, catalogue);
    if (!parsed.error.isEmpty()) {
        invalid(parsed.error);
        return QVariantMap();
    }
    QString refused;
    const bool native = parsed.format == TuningFile::Parsed::Native;
    if (!dryRun && !perform([&] {
            return native ? applyNative(parsed.tuning, &refused) : applyGains(parsed.master, parsed.bands, &refused);
        }, refused))
        return QVariantMap();
    return QVariantMap{
        {QStringLiteral("format"), native ? QStringLiteral("native") : QStringLiteral("apo")},
        {QStringLiteral("applied"), parsed.report.applied},
        {QStringLiteral("adjusted"), parsed.report.adjusted},
        {QStringLiteral("skipped"), parsed.report.skipped},
        {QStringLiteral("dryRun"), dryRun},
        {QStringLiteral("revision"), QVariant::fromValue(currentRevision)},
    };
}

bool ControlService::applyGains(int master, const QList<int> &bands, QString *refused)
{
    for (int band = 0; band <= bands.size(); ++band) {
        if (!eq.changeGain(band, band == 0 ? master : bands[band - 1])) {
            *refused = QStringLiteral("the gain of band %1 of %2").arg(band).arg(speaker());
            return false;
        }
    }
    return true;
}

// The order matters: the profile's script first, since it sets the whole card; presets are stored
// from the gains on screen, which the speaker sets then overwrite; a sweet spot before the delays
// it would otherwise set. The speaker set on screen is written last, so the import ends on it.
bool ControlService::applyNative(const TuningFile::Tuning &t, QString *refused)
{
    const auto refuse = [refused](const QString &what) {
        *refused = what;
        return false;
    };
    const int profileId = catalogue.profiles.indexOf(t.profile);
    if (profileId != eq.activatedProfileIdValue())
        eq.setToProfiles(profileId);

    bool ok = true;
    for (auto it = t.presets.cbegin(); ok && it != t.presets.cend(); ++it) {
        ok = applyGains(masterGain(), *it, refused);
        if (ok)
            eq.saveToPresets(catalogue.presets.indexOf(it.key()));
    }
    const int onScreen = eq.currentPeqIdxValue();
    QList<int> order;
    for (int s = 0; s < catalogue.speakers.size(); ++s) {
        if (s != onScreen)
            order << s;
    }
    order << onScreen;
    for (int s : qAsConst(order)) {
        if (!ok)
            break;
        const QString name = catalogue.speakers[s];
        const TuningFile::SpeakerSet set = t.speakers.value(name);
        if (eq.currentPeqIdxValue() != s)
            eq.changePeq(s);
        ok = (eq.changeMode(catalogue.modes.indexOf(set.mode)) || refuse(QStringLiteral("the mode of ") + name))
            && (eq.changeCoreType(catalogue.coreTypes.indexOf(set.coreType)) || refuse(QStringLiteral("the core type of ") + name))
            && applyGains(set.master, set.bands, refused);
    }
    if (eq.currentPeqIdxValue() != onScreen)
        eq.changePeq(onScreen);

    for (int type = 0; ok && type < catalogue.dbe.size(); ++type) {
        const QString &name = catalogue.dbe[type];
        const int value = t.dbe.value(name);
        ok = dbe().value(name) == value || eq.changeDBEParams(type, value) || refuse(name);
    }
    if (ok && sweetSpot() != t.sweetSpot)
        eq.setSweetspot(t.sweetSpot);
    for (int chan = 1; ok && chan <= 4; ++chan)
        ok = eq.changeChanDelay(chan, t.channelDelays.value(chan - 1)) || refuse(QStringLiteral("the delay of channel %1").arg(chan));
    // Both paths on (1) or both off (2) is the screen's voice switch; other pairs are set path by path.
    if (ok && t.cvcSend == t.cvcRecv && (t.cvcSend == 1 || t.cvcSend == 2))
        ok = eq.changeCvcMode(t.cvcSend == 1) || refuse(QStringLiteral("a voice-call mode"));
    else if (ok)
        ok = (eq.changeCvcSendMode(t.cvcSend) || refuse(QStringLiteral("the send mode")))
            && (eq.changeCvcRecvMode(t.cvcRecv) || refuse(QStringLiteral("the receive mode")));
    ok = ok && (eq.changeTwoMicMode(t.twoMic) || refuse(QStringLiteral("the two-microphone mode")));
    return ok && (eq.setVolume(t.volume) || refuse(QStringLiteral("the volume")));
}
