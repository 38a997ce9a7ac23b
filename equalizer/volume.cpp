#include "equalizer/equalizer.h"

#include "mixer/controls.h"
#include "mixer/runner.h"

bool Equalizer::setVolume(int v)
{
    const bool ok = runRecordedSetCmd(MixerControls::writeMainVolume(v));
    if (ok) {
        volume = v;
        emit volumeChanged();
    }
    return ok;
}

int Equalizer::getVolume()
{
    return MixerRunner::getVolume(MixerControls::readMainVolume(), logD);
}
