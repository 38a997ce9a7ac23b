#include "equalizer/equalizer.h"

bool Equalizer::changeCvcMode(bool) { return false; }
bool Equalizer::changeCvcSendMode(int) { return false; }
bool Equalizer::changeCvcRecvMode(int) { return false; }
bool Equalizer::changeTwoMicMode(bool) { return false; }
bool Equalizer::writeVoicecall(const QString &, const char *) { return false; }
void Equalizer::readCvcModes() {}
void Equalizer::readCvcSendMode() {}
void Equalizer::readCvcRecvMode() {}
void Equalizer::readTwoMicMode() {}
