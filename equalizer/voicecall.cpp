#include "equalizer/equalizer.h"

#include "log/trace.h"
#include "mixer/controls.h"

// The voice-call writes trace under the e flag. A failed write leaves every field alone.
bool Equalizer::changeCvcMode(bool enable)
{
    const int value = enable ? 1 : 2;
    // A failed receive write leaves the send path changed and recorded, with no field telling so.
    return writeControl(MixerControls::writeCvcSendMode(value), logE, "changMode", Recorded, {})
        && writeControl(MixerControls::writeCvcRecvMode(value), logE, "changMode", Recorded, [&] {
               currentCvcSendModeIdx = value;
               currentCvcRecvModeIdx = value;
               cvcMode = enable;
               // The index signals stay silent although both indices changed; QML follows cvcMode only.
               emit currentCvcModeChanged(enable);
           });
}

// The single-path writes are neither recorded nor folded into cvcMode.
bool Equalizer::changeCvcSendMode(int newModeIdx)
{
    return writeControl(MixerControls::writeCvcSendMode(newModeIdx), logE, "changMode", NotRecorded, [&] {
        currentCvcSendModeIdx = newModeIdx;
        emit currentCvcSendModeIdxChanged(newModeIdx);
    });
}

bool Equalizer::changeCvcRecvMode(int newModeIdx)
{
    return writeControl(MixerControls::writeCvcRecvMode(newModeIdx), logE, "changMode", NotRecorded, [&] {
        currentCvcRecvModeIdx = newModeIdx;
        emit currentCvcRecvModeIdxChanged(newModeIdx);
    });
}

bool Equalizer::changeTwoMicMode(bool enable)
{
    const QString onOff = enable ? QStringLiteral("on") : QStringLiteral("off");
    return writeControl(MixerControls::writeCvcTwoMic(onOff), logE, "changTwoMicMode", Recorded, [&] {
        twoMicMode = enable;
        emit currentTwoMicModeChanged();
    });
}

void Equalizer::readCvcModes()
{
    currentCvcSendModeIdx = runGetCmd(MixerControls::readCvcSendMode());
    currentCvcRecvModeIdx = runGetCmd(MixerControls::readCvcRecvMode());
    cvcMode = currentCvcSendModeIdx == 1 && currentCvcRecvModeIdx == 1;
    emit currentCvcModeChanged(cvcMode);
}

void Equalizer::readCvcSendMode()
{
    currentCvcSendModeIdx = runGetCmd(MixerControls::readCvcSendMode());
    emit currentCvcSendModeIdxChanged(currentCvcSendModeIdx);
}

void Equalizer::readCvcRecvMode()
{
    currentCvcRecvModeIdx = runGetCmd(MixerControls::readCvcRecvMode());
    emit currentCvcRecvModeIdxChanged(currentCvcRecvModeIdx);
}

void Equalizer::readTwoMicMode()
{
    const QString state = runGetCmdString(MixerControls::readCvcTwoMic());
    if (state == QLatin1String("on")) {
        twoMicMode = true;
        emit currentTwoMicModeChanged();
    } else if (state == QLatin1String("off")) {
        twoMicMode = false;
        emit currentTwoMicModeChanged();
    } else {
        if (logD)
            Trace::line("get Voicecall CVC 2Mic mode failed");
        // Notified once before the value is cleared and once after; the scene copes with both.
        emit currentTwoMicModeChanged();
        twoMicMode = false;
        emit currentTwoMicModeChanged();
    }
}
