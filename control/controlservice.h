#pragma once

#include "control/tuningfile.h"

#include <QDBusConnection>
#include <QDBusContext>
#include <QDBusMessage>
#include <QList>
#include <QMap>
#include <QObject>
#include <QProcess>
#include <QString>
#include <QVariantMap>

#include <functional>
#include <memory>

class Equalizer;

// The equaliser's control interface on the system bus: object /zk/app/Equalizer, interface
// zk.app.Equalizer.Control1 (control/zk.app.Equalizer.Control1.xml), name zk.app.Equalizer. It has a
// bus connection of its own, so the activity-manager link keeps its libdbus connection to itself.
// Calls arrive as events of the GUI thread, one per event-loop turn, and each calls the controller's
// own operation: a bus call makes the same writes, recording, settings and signals as a touch.
//
// Property changes are announced with PropertiesChanged whatever caused them: a bus call's at the
// end of the call, on behalf of its caller; any other ("touch") on the next event-loop turn.
class ControlService : public QObject, protected QDBusContext
{
    Q_OBJECT
    Q_PROPERTY(int Volume READ volume)
    Q_PROPERTY(QString Speaker READ speaker)
    Q_PROPERTY(QString Mode READ mode)
    Q_PROPERTY(QString CoreType READ coreType)
    Q_PROPERTY(int MasterGain READ masterGain)
    Q_PROPERTY(QList<int> BandGains READ bandGains)
    Q_PROPERTY(QList<int> BandFrequencies READ bandFrequencies)
    Q_PROPERTY(QString Preset READ preset)
    Q_PROPERTY(QString Profile READ profile)
    Q_PROPERTY(int SweetSpot READ sweetSpot)
    Q_PROPERTY(QMap<QString, int> Dbe READ dbe)
    Q_PROPERTY(QList<int> ChannelDelays READ channelDelays)
    Q_PROPERTY(bool CvcMode READ cvcMode)
    Q_PROPERTY(bool TwoMicMode READ twoMicMode)
    Q_PROPERTY(int CvcSendMode READ cvcSendMode)
    Q_PROPERTY(int CvcRecvMode READ cvcRecvMode)
    Q_PROPERTY(qulonglong Revision READ revision)
    Q_PROPERTY(QString LastChangedBy READ lastChangedBy)

public:
    static constexpr const char *serviceName = "zk.app.Equalizer";
    static constexpr const char *objectPath = "/zk/app/Equalizer";
    static constexpr const char *interfaceName = "zk.app.Equalizer.Control1";

    explicit ControlService(Equalizer &equalizer, QObject *parent = nullptr);
    ~ControlService() override;

    // Connects to the system bus, serves the object and owns the name. When any of it fails, one
    // line on stderr says why and the program goes on without the interface.
    bool start();

    int volume() const;
    QString speaker() const;
    QString mode() const;
    QString coreType() const;
    int masterGain() const;
    QList<int> bandGains() const;
    QList<int> bandFrequencies() const;
    QString preset() const;
    QString profile() const;
    int sweetSpot() const;
    QMap<QString, int> dbe() const;
    QList<int> channelDelays() const;
    bool cvcMode() const;
    bool twoMicMode() const;
    int cvcSendMode() const;
    int cvcRecvMode() const;
    qulonglong revision() const { return currentRevision; }
    QString lastChangedBy() const { return changedBy; }

    // The interface's methods, called by the generated adaptor.
    void SetVolume(int volume);
    void AdjustVolume(int delta);
    void SetSpeaker(const QString &name);
    void SetMode(const QString &name);
    void SetCoreType(const QString &name);
    void SetGain(uint band, int dB);
    void AdjustGain(uint band, int delta);
    void ApplyPreset(const QString &name);
    void SavePreset(const QString &name);
    void ApplyProfile(const QString &name);
    void SetSweetSpot(int seat);
    void SetDbe(const QString &name, int value);
    void SetChannelDelay(uint channel, int value);
    void SetCvcMode(bool enable);
    void SetTwoMicMode(bool enable);
    void SetCvcSendMode(int mode);
    void SetCvcRecvMode(int mode);
    QString Export(const QString &format);
    QVariantMap Import(const QString &data, bool dryRun, qulonglong expectedRevision);

private slots:
    void noteChange();

private:
    struct ExportJob;

    void announce(const QString &by);
    QVariantMap snapshot() const;
    QString caller() const;
    bool invalid(const QString &what);
    bool perform(const std::function<bool()> &operation, const QString &what);
    bool checkRange(qint64 value, TuningFile::Range range, const QString &what);
    int indexOf(const QStringList &names, const QString &name, const QString &what);
    bool applyNative(const TuningFile::Tuning &tuning, QString *refused);
    bool applyGains(int master, const QList<int> &bands, QString *refused);
    void startExport();
    void exportStep();

    Equalizer &eq;
    QDBusConnection bus;
    TuningFile::Catalogue catalogue;
    QVariantMap announced;
    qulonglong currentRevision = 0;
    QString changedBy = QStringLiteral("touch");
    bool announcePending = false;
    // Native exports read the card one control per event-loop turn, so the screen keeps answering.
    // Requests that arrive while one runs are answered together by the next.
    std::unique_ptr<ExportJob> exporting;
    QList<QDBusMessage> exportWaiting;
    QProcess exportGuard; // the runner's busy guard for these reads; never started
};
