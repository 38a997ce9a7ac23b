#pragma once

#include <QHash>
#include <QObject>
#include <QProcess>
#include <QSettings>
#include <QString>
#include <QVariant>

#include "models/eqitemlist.h"
#include "platform/inputeventthread.h"
#include "settings/settingsfile.h"

#include <functional>

class QSettings;
class QtQuick2ApplicationViewer;
class MsgThread;

// Fixed places of the program. Tests hand other paths to the constructor; main() never does.
struct EqualizerPaths {
    QString settingsFile = QString::fromLatin1(SettingsFile::path);
    QString settingsLock = QString::fromLatin1(SettingsFile::lockPath);
    QString keyDevice = QString::fromLatin1(InputEventThread::devicePath);
};

// The one controller of the application and the scene's root context object. Every read and write
// of the DSP is one synchronous run of amixer on the GUI thread; the members mirror what the card
// last confirmed.
class Equalizer : public QObject
{
    Q_OBJECT
    Q_PROPERTY(int Volume READ volumeValue WRITE setVolume NOTIFY volumeChanged)
    Q_PROPERTY(int minGain READ minGainValue NOTIFY gainThresholdChanged)
    Q_PROPERTY(int maxGain READ maxGainValue NOTIFY gainThresholdChanged)
    Q_PROPERTY(int currentPeqIdx READ currentPeqIdxValue WRITE changePeq NOTIFY currentPeqIdxChanged)
    Q_PROPERTY(QString currentPeqName READ currentPeqName NOTIFY currentPeqNameChanged)
    Q_PROPERTY(int currentModeIdx READ currentModeIdxValue WRITE changeMode NOTIFY currentModeIdxChanged)
    Q_PROPERTY(int currentCoreTypeIdx READ currentCoreTypeIdxValue WRITE changeCoreType NOTIFY currentCoreTypeIdxChanged)
    Q_PROPERTY(int activatedPresetId READ activatedPresetIdValue NOTIFY activatedPresetIdChanged)
    Q_PROPERTY(bool DemoMode READ demoModeValue NOTIFY demoModeChanged)
    Q_PROPERTY(int sweetspotId READ sweetspotIdValue NOTIFY sweetspotIdChanged)
    Q_PROPERTY(int masterGain READ masterGainValue NOTIFY gainChanged)
    Q_PROPERTY(int gain1 READ gain1 NOTIFY gainChanged)
    Q_PROPERTY(int gain2 READ gain2 NOTIFY gainChanged)
    Q_PROPERTY(int gain3 READ gain3 NOTIFY gainChanged)
    Q_PROPERTY(int gain4 READ gain4 NOTIFY gainChanged)
    Q_PROPERTY(int gain5 READ gain5 NOTIFY gainChanged)
    Q_PROPERTY(int gain6 READ gain6 NOTIFY gainChanged)
    Q_PROPERTY(int gain7 READ gain7 NOTIFY gainChanged)
    Q_PROPERTY(int gain8 READ gain8 NOTIFY gainChanged)
    Q_PROPERTY(int gain9 READ gain9 NOTIFY gainChanged)
    Q_PROPERTY(int gain10 READ gain10 NOTIFY gainChanged)
    Q_PROPERTY(int DBEModeIdx READ dbeModeIdx NOTIFY dbeParamsChanged)
    Q_PROPERTY(int DBEXoverFC READ dbeXoverFc NOTIFY dbeParamsChanged)
    Q_PROPERTY(int DBEMixBalance READ dbeMixBalance NOTIFY dbeParamsChanged)
    Q_PROPERTY(int DBEEffectStrength READ dbeEffectStrength NOTIFY dbeParamsChanged)
    Q_PROPERTY(int DBEAmpLimit READ dbeAmpLimit NOTIFY dbeParamsChanged)
    Q_PROPERTY(int DBELPFC READ dbeLpFc NOTIFY dbeParamsChanged)
    Q_PROPERTY(int DBEHPFC READ dbeHpFc NOTIFY dbeParamsChanged)
    Q_PROPERTY(int DBEHarmContent READ dbeHarmContent NOTIFY dbeParamsChanged)
    Q_PROPERTY(int chan1Delay READ chan1Delay NOTIFY chanDelaysChanged)
    Q_PROPERTY(int chan2Delay READ chan2Delay NOTIFY chanDelaysChanged)
    Q_PROPERTY(int chan3Delay READ chan3Delay NOTIFY chanDelaysChanged)
    Q_PROPERTY(int chan4Delay READ chan4Delay NOTIFY chanDelaysChanged)
    Q_PROPERTY(int activatedProfileId READ activatedProfileIdValue NOTIFY activatedProfileIdChanged)
    Q_PROPERTY(bool cvcMode READ cvcModeValue WRITE changeCvcMode NOTIFY currentCvcModeChanged)
    Q_PROPERTY(int currentCvcSendModeIdx READ currentCvcSendModeIdxValue WRITE changeCvcSendMode NOTIFY currentCvcSendModeIdxChanged)
    Q_PROPERTY(int currentCvcRecvModeIdx READ currentCvcRecvModeIdxValue WRITE changeCvcRecvMode NOTIFY currentCvcRecvModeIdxChanged)
    Q_PROPERTY(bool twoMicMode READ twoMicModeValue WRITE changeTwoMicMode NOTIFY currentTwoMicModeChanged)

public:
    explicit Equalizer(QObject *parent = nullptr, const EqualizerPaths &paths = EqualizerPaths());
    ~Equalizer() override;

    // Property reads. Missing hash entries and missing band rows read as 0.
    int volumeValue() const { return volume; }
    int minGainValue() const { return minGain; }
    int maxGainValue() const { return maxGain; }
    int currentPeqIdxValue() const { return currentPeqIdx; }
    int currentModeIdxValue() const { return currentModeIdx; }
    int currentCoreTypeIdxValue() const { return currentCoreTypeIdx; }
    int activatedPresetIdValue() const { return activatedPresetId; }
    bool demoModeValue() const { return demoMode; }
    int sweetspotIdValue() const { return sweetspotId; }
    int masterGainValue() const { return masterGain; }
    int gain1() const { return bandGain(1); }
    int gain2() const { return bandGain(2); }
    int gain3() const { return bandGain(3); }
    int gain4() const { return bandGain(4); }
    int gain5() const { return bandGain(5); }
    int gain6() const { return bandGain(6); }
    int gain7() const { return bandGain(7); }
    int gain8() const { return bandGain(8); }
    int gain9() const { return bandGain(9); }
    int gain10() const { return bandGain(10); }
    int dbeModeIdx() const { return dbeParams.value(0); }
    int dbeXoverFc() const { return dbeParams.value(1); }
    int dbeMixBalance() const { return dbeParams.value(2); }
    int dbeEffectStrength() const { return dbeParams.value(3); }
    int dbeAmpLimit() const { return dbeParams.value(4); }
    int dbeLpFc() const { return dbeParams.value(5); }
    int dbeHpFc() const { return dbeParams.value(6); }
    int dbeHarmContent() const { return dbeParams.value(7); }
    int chan1Delay() const { return chanDelays.value(1); }
    int chan2Delay() const { return chanDelays.value(2); }
    int chan3Delay() const { return chanDelays.value(3); }
    int chan4Delay() const { return chanDelays.value(4); }
    int activatedProfileIdValue() const { return activatedProfileId; }
    bool cvcModeValue() const { return cvcMode; }
    int currentCvcSendModeIdxValue() const { return currentCvcSendModeIdx; }
    int currentCvcRecvModeIdxValue() const { return currentCvcRecvModeIdx; }
    bool twoMicModeValue() const { return twoMicMode; }
    // The gains stored for a preset row, by band name; empty when it was never saved.
    QVariantHash storedPreset(int id) const
    {
        const QString key = m_presetList.at(id).name;
        return key.isEmpty() ? QVariantHash() : settings->value(key).toHash();
    }

signals:
    void appPaused();
    void volumeChanged();
    void gainThresholdChanged();
    void currentPeqIdxChanged(int newIdx);
    void currentPeqNameChanged();
    void currentModeIdxChanged(int newIdx);
    void currentCoreTypeIdxChanged(int newIdx);
    void gainChanged();
    void activatedPresetIdChanged();
    void sweetspotIdChanged();
    void demoModeChanged();
    void dbeParamsChanged();
    void chanDelaysChanged();
    void activatedProfileIdChanged();
    void currentCvcModeChanged(bool cvcMode);
    void currentCvcSendModeIdxChanged(int newIdx);
    void currentCvcRecvModeIdxChanged(int newIdx);
    void currentTwoMicModeChanged();

public slots:
    EqItemList *peqList() { return &m_peqList; }
    EqItemList *freqList() { return &m_freqList; }
    EqItemList *modeList() { return &m_modeList; }
    EqItemList *coreTypeList() { return &m_coreTypeList; }
    EqItemList *presetList() { return &m_presetList; }
    EqItemList *profileList() { return &m_profileList; }
    QString currentPeqName() const;
    void setViewer(QtQuick2ApplicationViewer *viewer);
    void minimize();
    void show();
    bool setVolume(int v);
    int getVolume();
    bool changePeq(int newPeqIdx);
    bool changeMode(int newModeIdx);
    bool changeCoreType(int newTypeIdx);
    bool changeGain(int bandIdx, int gainValue);
    bool changeDBEParams(int type, int value);
    bool changeChanDelay(int chanId, int delay);
    void resetGains();
    void saveToPresets(int id);
    void setToPreset(int id);
    void setSweetspot(int id);
    void saveToProfiles(int id);
    void setToProfiles(int id);
    bool changeCvcMode(bool enable);
    bool changeCvcSendMode(int newModeIdx);
    bool changeCvcRecvMode(int newModeIdx);
    bool changeTwoMicMode(bool enable);
    void saveUserProfile(QString cmd);

private:
    int bandGain(int band) const { return m_freqList.at(band - 1).gain; }

    // Mixer runners on the shared process (equalizer/runner.cpp).
    int runGetCmd(const QString cmd);
    QString runGetCmdString(const QString cmd);
    bool runSetCmd(QString &cmd);

    // Every write the scene asks for: traces cmd as "<label> cmd: <cmd>" when traced is set, runs a
    // copy, and only on success records cmd as built (when Recorded) and calls apply, which updates
    // the mirror and emits (equalizer/writes.cpp).
    enum Recording { NotRecorded, Recorded };
    // Writes a setting only when it differs from the stored one: each write rewrites the whole file.
    void store(const QString &key, const QVariant &value);
    bool writeControl(const QString &cmd, bool traced, const char *label, Recording recording,
                      const std::function<void()> &apply);

    // Construction (equalizer/construction.cpp).
    void openSettings();
    void fillLists();
    void fillTables();

    // Read-backs and private operations of each area.
    void readSwitchMode();
    void readCoreType();
    void readGains();
    void initFreq();
    void updatePresetedId(int id);
    void updateProfileId(int id);
    void readDbeParams();
    void readChanDelays();
    void readCvcModes();
    void readCvcSendMode();
    void readCvcRecvMode();
    void readTwoMicMode();
    void restoreSoundState();
    void startWorkers();
    void stopWorkers();

    bool logF = false;
    bool logE = false;
    bool logI = false;
    bool logD = false;
    EqItemList m_peqList;
    EqItemList m_freqList;
    EqItemList m_modeList;
    EqItemList m_coreTypeList;
    EqItemList m_presetList;
    EqItemList m_profileList;
    QHash<int, QString> dbeControls;
    QHash<int, int> dbeParams;
    QHash<int, int> chanDelays;
    QHash<QString, QVariant> peqNameTable;
    QHash<QString, QString> profileScripts;
    QVariantHash userProfile;
    QProcess process; // the runner's busy guard; children are started by ChildProcess
    int volume = 0;
    int masterGain = 0;
    int minGain = -60;
    int maxGain = 20;
    int currentPeqIdx = 0;
    int currentModeIdx = 0;
    int currentCoreTypeIdx = 0;
    int activatedPresetId = -1;
    int sweetspotId = -1;
    int activatedProfileId = 0;
    bool demoMode = false;
    bool minimized = false;
    bool cvcMode = false;
    int currentCvcSendModeIdx = 0;
    int currentCvcRecvModeIdx = 0;
    bool twoMicMode = false;
    QSettings *settings = nullptr;
    QtQuick2ApplicationViewer *viewer = nullptr;
    MsgThread *msgThread = nullptr;
    const EqualizerPaths paths;
};
