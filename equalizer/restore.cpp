#include "equalizer/equalizer.h"

void Equalizer::restoreSoundState() {}
