#include "equalizer/equalizer.h"

// The runner may append its redirection to the line it runs; the profile keeps the line as built.
bool Equalizer::runRecordedSetCmd(const QString &cmd)
{
    QString run = cmd;
    if (!runSetCmd(run))
        return false;
    saveUserProfile(cmd);
    return true;
}

void Equalizer::saveUserProfile(QString cmd)
{
    // One entry per control: the key is the command without its value.
    const int pos = cmd.lastIndexOf(QLatin1Char(' '));
    const QString key = pos < 0 ? cmd : cmd.left(pos);
    userProfile.insert(key, QVariant(cmd));
}
