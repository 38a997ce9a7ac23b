#include "equalizer/equalizer.h"

#include "log/trace.h"
#include "mixer/controls.h"

// The four voice-call writes share one pattern: trace the command under the e flag, run a copy (the
// runner may append its redirection to the copy), and leave every field alone on failure.
bool Equalizer::writeVoicecall(const QString &cmd, const char *label)
{
    if (logE)
        Trace::line("%s cmd: %s", label, qUtf8Printable(cmd));
    QString run = cmd;
    return runSetCmd(run);
}

bool Equalizer::changeCvcMode(bool enable)
{
    const int value = enable ? 1 : 2;

    const QString send = MixerControls::writeCvcSendMode(value);
    if (!writeVoicecall(send, "changMode"))
        return false;
    saveUserProfile(send);

    // A failed receive write leaves the send path changed and recorded, with no field telling so.
    const QString recv = MixerControls::writeCvcRecvMode(value);
    if (!writeVoicecall(recv, "changMode"))
        return false;
    saveUserProfile(recv);

    currentCvcSendModeIdx = value;
    currentCvcRecvModeIdx = value;
    cvcMode = enable;
    // The index signals stay silent although both indices changed; QML follows cvcMode only.
    emit currentCvcModeChanged(enable);
    return true;
}

// The single-path writes are neither recorded nor folded into cvcMode.
bool Equalizer::changeCvcSendMode(int newModeIdx)
{
    if (!writeVoicecall(MixerControls::writeCvcSendMode(newModeIdx), "changMode"))
        return false;
    currentCvcSendModeIdx = newModeIdx;
    emit currentCvcSendModeIdxChanged(newModeIdx);
    return true;
}

bool Equalizer::changeCvcRecvMode(int newModeIdx)
{
    if (!writeVoicecall(MixerControls::writeCvcRecvMode(newModeIdx), "changMode"))
        return false;
    currentCvcRecvModeIdx = newModeIdx;
    emit currentCvcRecvModeIdxChanged(newModeIdx);
    return true;
}

bool Equalizer::changeTwoMicMode(bool enable)
{
    const QString cmd = MixerControls::writeCvcTwoMic(enable ? QStringLiteral("on") : QStringLiteral("off"));
    if (!writeVoicecall(cmd, "changTwoMicMode"))
        return false;
    saveUserProfile(cmd);
    twoMicMode = enable;
    emit currentTwoMicModeChanged();
    return true;
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
