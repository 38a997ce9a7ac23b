#include "equalizer/equalizer.h"

void Equalizer::saveToPresets(int) {}
void Equalizer::setToPreset(int) {}
void Equalizer::updatePresetedId(int) {}
