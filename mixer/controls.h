#pragma once

#include <QString>

// Every mixer control the equaliser touches, as command lines for amixer. Each line is a control
// template filled with QString::arg in a fixed order: the tool verb, then the name placeholders,
// then the value last. The quotes belong to the line: QProcess keeps a quoted name as one argument.
namespace MixerControls {

extern const QString getVerb; // "amixer sget"
extern const QString setVerb; // "amixer sset"

// PEQ gains are whole dB in the controller and dB + 60 on the card. The offset wraps around instead
// of overflowing: bounds come from a hand-edited settings file and read-backs from a parsed reply,
// so neither is guaranteed to be near zero.
constexpr int gainOffset = 60;
constexpr int gainToDsp(int dB) { return int(unsigned(dB) + unsigned(gainOffset)); }
constexpr int dspToGain(int value) { return int(unsigned(value) - unsigned(gainOffset)); }

QString readPeqSwitchMode(const QString &peq);
QString writePeqSwitchMode(const QString &peq, int mode);
QString readPeqCoreType(const QString &peq);
QString writePeqCoreType(const QString &peq, int type);
QString readPeqMasterGain(const QString &peq);
QString writePeqMasterGain(const QString &peq, int dspValue);
QString readPeqBandGain(const QString &peq, int band);
QString writePeqBandGain(const QString &peq, int band, int dspValue);
QString writePeqBandFc(const QString &peq, int band, int hz);
QString readMainVolume();
QString writeMainVolume(int value);
QString readDbe(const QString &word);
QString writeDbe(const QString &word, int value);
QString readChanDelay(int channel);
QString writeChanDelay(int channel, int delay);
QString readCvcSendMode();
QString writeCvcSendMode(int mode);
QString readCvcRecvMode();
QString writeCvcRecvMode(int mode);
QString readCvcTwoMic();
QString writeCvcTwoMic(const QString &onOff);

} // namespace MixerControls
