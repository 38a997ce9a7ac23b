#include "equalizer/equalizer.h"

#include "log/trace.h"
#include "mixer/controls.h"

namespace {

// The gain offset with wrap-around instead of signed overflow: bounds come from a hand-edited
// settings file and read-backs from a parsed reply, so neither is guaranteed to be near zero.
int toDsp(int dB)
{
    return int(unsigned(dB) + unsigned(MixerControls::gainOffset));
}

int fromDsp(int value)
{
    return int(unsigned(value) - unsigned(MixerControls::gainOffset));
}

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
    const QString cmd = MixerControls::writePeqSwitchMode(currentPeqName(), newModeIdx);
    if (logE)
        Trace::line("changMode cmd: %s", cmd.toUtf8().constData());
    const bool ok = runRecordedSetCmd(cmd);
    if (ok) {
        currentModeIdx = newModeIdx;
        emit currentModeIdxChanged(newModeIdx);
    }
    return ok;
}

bool Equalizer::changeCoreType(int newTypeIdx)
{
    const QString cmd = MixerControls::writePeqCoreType(currentPeqName(), newTypeIdx);
    if (logE)
        Trace::line("changeCoreType cmd: %s", cmd.toUtf8().constData());
    const bool ok = runRecordedSetCmd(cmd);
    if (ok) {
        currentCoreTypeIdx = newTypeIdx;
        emit currentCoreTypeIdxChanged(newTypeIdx);
    }
    return ok;
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
    const QString cmd = bandIdx == 0 ? MixerControls::writePeqMasterGain(peq, toDsp(gainValue))
                                     : MixerControls::writePeqBandGain(peq, bandIdx, toDsp(gainValue));
    if (logD)
        Trace::line("changeGain cmd: %s", cmd.toUtf8().constData());
    if (!runRecordedSetCmd(cmd))
        return false;

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
    return true;
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
    masterGain = fromDsp(runGetCmd(MixerControls::readPeqMasterGain(peq)));
    for (int band = 1; band <= 10; ++band) {
        const int gain = fromDsp(runGetCmd(MixerControls::readPeqBandGain(peq, band)));
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
