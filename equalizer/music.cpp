#include "equalizer/equalizer.h"

#include "log/trace.h"
#include "mixer/controls.h"

#include <QSettings>

namespace {

// Delays of channels 1 to 4 for sweet spots 1 to 4: the chosen channel gets the shortest delay,
// its partner (1 with 4, 2 with 3) the longest.
const int sweetspotDelays[4][4] = {
    {91, 203, 203, 272},
    {203, 91, 272, 203},
    {203, 272, 91, 203},
    {272, 203, 203, 91},
};

} // namespace

bool Equalizer::changeDBEParams(int type, int value)
{
    if (dbeParams.value(type, -1) == value)
        return false;

    // No range check of type or value: the card decides.
    return writeControl(MixerControls::writeDbe(dbeControls.value(type), value), logD,
                        "changeDBEParams", Recorded, [&] {
                            dbeParams.insert(type, value);
                            emit dbeParamsChanged();
                        });
}

bool Equalizer::changeChanDelay(int chanId, int delay)
{
    if (logF)
        Trace::line("changeChanDelay(%d, %d)", chanId, delay);
    if (unsigned(delay) > 768)
        return false;

    // Sent even when the delay is unchanged.
    return writeControl(MixerControls::writeChanDelay(chanId, delay), logE, "changeChanDelay",
                        Recorded, [&] {
                            chanDelays.insert(chanId, delay);
                            emit chanDelaysChanged();
                        });
}

void Equalizer::setSweetspot(int id)
{
    // Stored for any id; only 1 to 4 move the delays.
    sweetspotId = id;
    store(QStringLiteral("Sweetspot"), id);
    emit sweetspotIdChanged();

    if (id < 1 || id > 4)
        return;
    for (int chan = 1; chan <= 4; ++chan)
        changeChanDelay(chan, sweetspotDelays[id - 1][chan - 1]);
}

void Equalizer::readDbeParams()
{
    for (int type = 0; type < 8; ++type)
        dbeParams.insert(type, runGetCmd(MixerControls::readDbe(dbeControls.value(type))));
    emit dbeParamsChanged();
}

void Equalizer::readChanDelays()
{
    for (int chan = 1; chan <= 4; ++chan)
        chanDelays.insert(chan, runGetCmd(MixerControls::readChanDelay(chan)));
    emit chanDelaysChanged();
}
