#include "mixer/controls.h"

namespace MixerControls {

const QString getVerb = QStringLiteral("amixer sget");
const QString setVerb = QStringLiteral("amixer sset");

namespace {
const QString peqSwitchMode = QStringLiteral("%1 \"%2 PEQ Switch Mode\"");
const QString peqSwitchModeSet = QStringLiteral("%1 \"%2 PEQ Switch Mode\" %3");
const QString peqCoreType = QStringLiteral("%1 \"%2 PEQ Core Type\"");
const QString peqCoreTypeSet = QStringLiteral("%1 \"%2 PEQ Core Type\" %3");
const QString peqMasterGain = QStringLiteral("%1 \"%2 PEQ Master Gain\"");
const QString peqMasterGainSet = QStringLiteral("%1 \"%2 PEQ Master Gain\" %3");
const QString peqBandGain = QStringLiteral("%1 \"%2 PEQ Band%3 Gain\"");
const QString peqBandGainSet = QStringLiteral("%1 \"%2 PEQ Band%3 Gain\" %4");
const QString peqBandFcSet = QStringLiteral("%1 \"%2 PEQ Band%3 FC\" %4");
const QString mainVolume = QStringLiteral("%1 \"Main Vol Master Gain\"");
const QString mainVolumeSet = QStringLiteral("%1 \"Main Vol Master Gain\" %2");
const QString dbe = QStringLiteral("%1 \"Music DBE %2\"");
const QString dbeSet = QStringLiteral("%1 \"Music DBE %2\" %3");
const QString chanDelay = QStringLiteral("%1 \"Music Chan%2 Delay\"");
const QString chanDelaySet = QStringLiteral("%1 \"Music Chan%2 Delay\" %3");
const QString cvcSendMode = QStringLiteral("%1 \"Voicecall CVC Send Mode\"");
const QString cvcSendModeSet = QStringLiteral("%1 \"Voicecall CVC Send Mode\" %2");
const QString cvcRecvMode = QStringLiteral("%1 \"Voicecall CVC Recv Mode\"");
const QString cvcRecvModeSet = QStringLiteral("%1 \"Voicecall CVC Recv Mode\" %2");
const QString cvcTwoMic = QStringLiteral("%1 \"Voicecall CVC 2Mic\"");
const QString cvcTwoMicSet = QStringLiteral("%1 \"Voicecall CVC 2Mic\" %2");
} // namespace

QString readPeqSwitchMode(const QString &peq) { return peqSwitchMode.arg(getVerb).arg(peq); }
QString writePeqSwitchMode(const QString &peq, int mode) { return peqSwitchModeSet.arg(setVerb).arg(peq).arg(mode); }
QString readPeqCoreType(const QString &peq) { return peqCoreType.arg(getVerb).arg(peq); }
QString writePeqCoreType(const QString &peq, int type) { return peqCoreTypeSet.arg(setVerb).arg(peq).arg(type); }
QString readPeqMasterGain(const QString &peq) { return peqMasterGain.arg(getVerb).arg(peq); }
QString writePeqMasterGain(const QString &peq, int dspValue) { return peqMasterGainSet.arg(setVerb).arg(peq).arg(dspValue); }
QString readPeqBandGain(const QString &peq, int band) { return peqBandGain.arg(getVerb).arg(peq).arg(band); }
QString writePeqBandGain(const QString &peq, int band, int dspValue) { return peqBandGainSet.arg(setVerb).arg(peq).arg(band).arg(dspValue); }
QString writePeqBandFc(const QString &peq, int band, int hz) { return peqBandFcSet.arg(setVerb).arg(peq).arg(band).arg(hz); }
QString readMainVolume() { return mainVolume.arg(getVerb); }
QString writeMainVolume(int value) { return mainVolumeSet.arg(setVerb).arg(value); }
QString readDbe(const QString &word) { return dbe.arg(getVerb).arg(word); }
QString writeDbe(const QString &word, int value) { return dbeSet.arg(setVerb).arg(word).arg(value); }
QString readChanDelay(int channel) { return chanDelay.arg(getVerb).arg(channel); }
QString writeChanDelay(int channel, int delay) { return chanDelaySet.arg(setVerb).arg(channel).arg(delay); }
QString readCvcSendMode() { return cvcSendMode.arg(getVerb); }
QString writeCvcSendMode(int mode) { return cvcSendModeSet.arg(setVerb).arg(mode); }
QString readCvcRecvMode() { return cvcRecvMode.arg(getVerb); }
QString writeCvcRecvMode(int mode) { return cvcRecvModeSet.arg(setVerb).arg(mode); }
QString readCvcTwoMic() { return cvcTwoMic.arg(getVerb); }
QString writeCvcTwoMic(const QString &onOff) { return cvcTwoMicSet.arg(setVerb).arg(onOff); }

} // namespace MixerControls
