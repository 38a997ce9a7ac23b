#include "equalizer/equalizer.h"

#include "mixer/controls.h"
#include "mixer/runner.h"

bool Equalizer::setVolume(int v)
{
    return writeControl(MixerControls::writeMainVolume(v), false, nullptr, Recorded, [&] {
        volume = v;
        emit volumeChanged();
    });
}

int Equalizer::getVolume()
{
    return MixerRunner::getVolume(MixerControls::readMainVolume(), logD);
}
