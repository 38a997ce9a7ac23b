#include "equalizer/equalizer.h"

#include "log/trace.h"
#include "settings/settingsfile.h"

#include <QSettings>

Equalizer::Equalizer(QObject *parent, const EqualizerPaths &paths)
    : QObject(parent), process(this), paths(paths)
{
    volume = getVolume();
    masterGain = 0;
    currentPeqIdx = 0;
    currentModeIdx = 0;
    minimized = false;
    viewer = nullptr;
    msgThread = nullptr;
    activatedPresetId = -1;
    sweetspotId = -1;

    openSettings();
    fillLists();
    fillTables();
    restoreSoundState();
    startWorkers();
}

Equalizer::~Equalizer()
{
    stopWorkers();
}

void Equalizer::openSettings()
{
    settings = SettingsFile::open(paths.settingsFile, paths.settingsLock, this);
    demoMode = settings->value(QStringLiteral("DemoMode"), false).toBool();

    const int level = settings->value(QStringLiteral("DebugLevel"), 4).toInt();
    const Trace::Flags flags = Trace::flagsForLevel(level);
    Trace::reportLevel(level, flags);
    logE = flags.e;
    logF = flags.f;
    logI = flags.i;
    logD = flags.d;

    minGain = settings->value(QStringLiteral("MinGain"), -60).toInt();
    maxGain = settings->value(QStringLiteral("MaxGain"), 20).toInt();
}

void Equalizer::fillLists()
{
    m_peqList.clear();
    const char *const peqs[] = {"User", "Spk1", "Spk2", "Spk3", "Spk4"};
    for (int i = 0; i < 5; ++i)
        m_peqList.append(EqItem(i, QString::fromLatin1(peqs[i]), 0, 0));

    // First values only: the read-back at the end of construction replaces the gains.
    struct Band {
        const char *name;
        int freq;
        int gain;
    };
    const Band bands[] = {{"60", 60, -55},      {"170", 170, -50},    {"310", 310, -40},
                          {"600", 600, -35},    {"1k", 1000, -20},    {"3k", 3000, -15},
                          {"6k", 6000, -10},    {"12k", 12000, 0},    {"14k", 14000, 10},
                          {"16k", 16000, 15}};
    m_freqList.clear();
    for (int i = 0; i < 10; ++i)
        m_freqList.append(EqItem(i, QString::fromLatin1(bands[i].name), bands[i].freq, bands[i].gain));

    const auto fill = [](EqItemList &list, std::initializer_list<const char *> names) {
        list.clear();
        int id = 0;
        for (const char *name : names)
            list.append(EqItem(id++, QString::fromLatin1(name), 0, 0));
    };
    fill(m_modeList, {"mute", "process", "bypass"});
    fill(m_coreTypeList, {"SH", "HQ", "DQ"});
    fill(m_presetList, {"Bass", "Rock", "Vocal", "Cust"});
    fill(m_profileList, {"User Profile", "Velto Profile", "Default Profile"});
}

void Equalizer::fillTables()
{
    const char *const dbeWords[] = {"Switch Mode", "Xover FC", "Mix Balance", "Effect Strength",
                                    "Amp Limit",   "LP FC",    "HP FC",       "Harm Content"};
    for (int type = 0; type < 8; ++type)
        dbeControls.insert(type, QString::fromLatin1(dbeWords[type]));

    for (const char *name : {"User PEQ", "Spk1 PEQ", "Spk2 PEQ", "Spk3 PEQ", "Spk4 PEQ", "Music DBE"})
        peqNameTable.insert(QString::fromLatin1(name), 0);

    profileScripts.insert(QStringLiteral("User Profile"), QStringLiteral("SetAlsaDefault.sh"));
    profileScripts.insert(QStringLiteral("Velto Profile"), QStringLiteral("SetAlsaVelto.sh"));
    profileScripts.insert(QStringLiteral("Default Profile"), QStringLiteral("SetAlsaDefault.sh"));
}
