#include "equalizer/equalizer.h"

#include "mixer/controls.h"
#include "mixer/runner.h"

bool Equalizer::setVolume(int v)
{
    const QString cmd = MixerControls::writeMainVolume(v);
    QString run = cmd;
    const bool ok = runSetCmd(run);
    if (ok) {
        saveUserProfile(cmd);
        volume = v;
        emit volumeChanged();
    }
    return ok;
}

int Equalizer::getVolume()
{
    return MixerRunner::getVolume(MixerControls::readMainVolume(), logD);
}
