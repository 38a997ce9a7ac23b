#include "equalizer/equalizer.h"

#include "mixer/runner.h"

int Equalizer::runGetCmd(const QString cmd)
{
    return MixerRunner::get(process, cmd, logD);
}

QString Equalizer::runGetCmdString(const QString cmd)
{
    return MixerRunner::getString(process, cmd, logD);
}

// The line is changed in place: callers that record it hand over a copy.
bool Equalizer::runSetCmd(QString &cmd)
{
    return MixerRunner::set(process, cmd, logD, &cmd);
}
