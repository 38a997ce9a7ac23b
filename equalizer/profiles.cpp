#include "equalizer/equalizer.h"

#include "log/trace.h"

#include <QSettings>

// Stores only what this run recorded, replacing whatever an earlier run stored under the name.
void Equalizer::saveToProfiles(int id)
{
    if (logD)
        Trace::line("saveToProfiles(id=%d)", id);
    // An id outside the list names the empty key, which the store refuses (noisily); skip it.
    const QString key = m_profileList.at(id).name;
    if (!key.isEmpty())
        store(key, userProfile);
}

void Equalizer::setToProfiles(int id)
{
    if (logD)
        Trace::line("setToProfiles(id=%d)", id);
    // The choice is kept even when the script below fails.
    updateProfileId(id);

    const QString name = m_profileList.at(id).name;
    const QString script = profileScripts.value(name);
    if (logE)
        Trace::line("setToProfiles, cmd : %s", qUtf8Printable(script));
    // A bare file name: the search path decides which script runs.
    QString run = script;
    bool result = runSetCmd(run);

    // Only the user profile replays its stored commands, on top of the default script. A failed
    // command does not stop the others.
    if (name == QLatin1String("User Profile")) {
        const QVariantHash stored = settings->value(QStringLiteral("User Profile")).toHash();
        for (const QVariant &value : stored) {
            QString cmd = value.toString();
            if (logE)
                Trace::line("changMode cmd: %s", qUtf8Printable(cmd));
            if (!runSetCmd(cmd))
                result = false;
        }
    }

    // Whatever happened above, the mirror is refreshed from what the card now holds.
    readSwitchMode();
    readDbeParams();
    readCoreType();
    readGains();
    readChanDelays();
    readCvcModes();
    readTwoMicMode();
    volume = getVolume();
    emit volumeChanged();

    if (logE)
        Trace::line("setToProfiles, result=%d", result ? 1 : 0);
}

void Equalizer::updateProfileId(int id)
{
    if (logF)
        Trace::line("updateProfileId(%d)", id);
    activatedProfileId = id;
    store(QStringLiteral("ProfileId"), id);
    emit activatedProfileIdChanged();
}
