#include "equalizer/equalizer.h"

void Equalizer::saveUserProfile(QString cmd)
{
    // One entry per control: the key is the command without its value.
    const int pos = cmd.lastIndexOf(QLatin1Char(' '));
    const QString key = pos < 0 ? cmd : cmd.left(pos);
    userProfile.insert(key, QVariant(cmd));
}
