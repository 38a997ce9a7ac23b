#include "equalizer/equalizer.h"

#include "log/trace.h"
#include "mixer/controls.h"

namespace {

// Row of a band in freqList; anything that is no band maps to a row the list does not have.
int bandRow(int band)
{
    return band > 0 ? band - 1 : -1;
}

} // namespace

bool Equalizer::changePeq(int newPeqIdx)
{
    currentPeqIdx = newPeqIdx;
    emit currentPeqIdxChanged(newPeqIdx);
    emit currentPeqNameChanged();
    readSwitchMode();
    readCoreType();
    readGains();
    return true;
}

bool Equalizer::changeMode(int newModeIdx)
{
    return writeControl(MixerControls::writePeqSwitchMode(currentPeqName(), newModeIdx), logE,
                        "changMode", Recorded, [&] {
                            currentModeIdx = newModeIdx;
                            emit currentModeIdxChanged(newModeIdx);
                        });
}

bool Equalizer::changeCoreType(int newTypeIdx)
{
    return writeControl(MixerControls::writePeqCoreType(currentPeqName(), newTypeIdx), logE,
                        "changeCoreType", Recorded, [&] {
                            currentCoreTypeIdx = newTypeIdx;
                            emit currentCoreTypeIdxChanged(newTypeIdx);
                        });
}

bool Equalizer::changeGain(int bandIdx, int gainValue)
{
    if (logF)
        Trace::line("changeGain(%d, %d)", bandIdx, gainValue);

    // The unchanged test comes first on purpose: a non-band with gain 0 matches the empty row.
    const int current = bandIdx == 0 ? masterGain : m_freqList.at(bandRow(bandIdx)).gain;
    if (gainValue == current)
        return true;
    if (unsigned(bandIdx) > 10)
        return false;
    if (gainValue < minGain || gainValue > maxGain)
        return false;

    const QString peq = currentPeqName();
    const int value = MixerControls::gainToDsp(gainValue);
    const QString cmd = bandIdx == 0 ? MixerControls::writePeqMasterGain(peq, value)
                                     : MixerControls::writePeqBandGain(peq, bandIdx, value);
    return writeControl(cmd, logD, "changeGain", Recorded, [&] {
        if (bandIdx == 0) {
            // The master gain is no part of a preset, so the selection stays.
            masterGain = gainValue;
        } else {
            const int row = bandIdx - 1;
            const EqItem old = m_freqList.at(row);
            m_freqList.replace(row, EqItem(row, old.name, old.bandfreq, gainValue));
            updatePresetedId(-1);
        }
        emit gainChanged();
    });
}

void Equalizer::resetGains()
{
    // Bands only: the master gain is left where the user put it.
    for (int band = 1; band <= 10; ++band)
        changeGain(band, 0);
}

void Equalizer::readSwitchMode()
{
    currentModeIdx = runGetCmd(MixerControls::readPeqSwitchMode(currentPeqName()));
    emit currentModeIdxChanged(currentModeIdx);
}

void Equalizer::readCoreType()
{
    currentCoreTypeIdx = runGetCmd(MixerControls::readPeqCoreType(currentPeqName()));
    // The scene learns the core type after a PEQ switch through the mode signal; kept as it is.
    emit currentModeIdxChanged(currentCoreTypeIdx);
}

void Equalizer::readGains()
{
    const QString peq = currentPeqName();
    masterGain = MixerControls::dspToGain(runGetCmd(MixerControls::readPeqMasterGain(peq)));
    for (int band = 1; band <= 10; ++band) {
        const int gain = MixerControls::dspToGain(runGetCmd(MixerControls::readPeqBandGain(peq, band)));
        const int row = band - 1;
        const EqItem old = m_freqList.at(row);
        m_freqList.replace(row, EqItem(row, old.name, old.bandfreq, gain));
    }
    emit gainChanged();
}

void Equalizer::initFreq()
{
    for (int p = 0; p < m_peqList.rowCount(); ++p) {
        const QString peq = m_peqList.at(p).name;
        for (int r = 0; r < m_freqList.rowCount(); ++r) {
            QString cmd = MixerControls::writePeqBandFc(peq, r + 1, m_freqList.at(r).bandfreq);
            runSetCmd(cmd);
        }
    }
}
