#include "equalizer/equalizer.h"

#include "log/trace.h"

#include <QSettings>

bool Equalizer::writeControl(const QString &cmd, bool traced, const char *label, Recording recording,
                             const std::function<void()> &apply)
{
    if (traced)
        Trace::line("%s cmd: %s", label, qUtf8Printable(cmd));
    // The runner appends its redirection to the line it runs; the profile keeps the line as built.
    QString run = cmd;
    if (!runSetCmd(run))
        return false;
    if (recording == Recorded)
        saveUserProfile(cmd);
    if (apply)
        apply();
    return true;
}

void Equalizer::store(const QString &key, const QVariant &value)
{
    if (settings->value(key) != value)
        settings->setValue(key, value);
}

void Equalizer::saveUserProfile(QString cmd)
{
    // One entry per control: the key is the command without its value.
    const int pos = cmd.lastIndexOf(QLatin1Char(' '));
    const QString key = pos < 0 ? cmd : cmd.left(pos);
    userProfile.insert(key, QVariant(cmd));
}
