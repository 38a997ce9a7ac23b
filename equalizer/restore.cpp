#include "equalizer/equalizer.h"

#include <QSettings>

// The last choices are re-applied through the operations the scene uses; the preset goes before
// the profile so that gains set by the profile's script and commands win. The profile's read-back
// is what fills the mirror of the card.
void Equalizer::restoreSoundState()
{
    initFreq();
    setToPreset(settings->value(QStringLiteral("PresetedId"), -1).toInt());
    setSweetspot(settings->value(QStringLiteral("Sweetspot"), -1).toInt());
    setToProfiles(settings->value(QStringLiteral("ProfileId"), 2).toInt());
}
