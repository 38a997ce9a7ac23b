#include "equalizer/equalizer.h"

bool Equalizer::changeDBEParams(int, int) { return false; }
bool Equalizer::changeChanDelay(int, int) { return false; }
void Equalizer::setSweetspot(int) {}
void Equalizer::readDbeParams() {}
void Equalizer::readChanDelays() {}
