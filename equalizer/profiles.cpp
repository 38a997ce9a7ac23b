#include "equalizer/equalizer.h"

void Equalizer::saveToProfiles(int) {}
void Equalizer::setToProfiles(int) {}
void Equalizer::updateProfileId(int) {}
