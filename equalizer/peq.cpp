#include "equalizer/equalizer.h"

bool Equalizer::changePeq(int) { return false; }
bool Equalizer::changeMode(int) { return false; }
bool Equalizer::changeCoreType(int) { return false; }
bool Equalizer::changeGain(int, int) { return false; }
void Equalizer::resetGains() {}
void Equalizer::readSwitchMode() {}
void Equalizer::readCoreType() {}
void Equalizer::readGains() {}
void Equalizer::initFreq() {}
