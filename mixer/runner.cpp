#include "mixer/runner.h"

#include "log/trace.h"
#include "mixer/reply.h"

#include <QProcess>
#include <QSet>

#include <cstdio>

namespace MixerRunner {

namespace {

// Qt 5.15 leaves the exit code of a program that could not be started at 0, so by the exit-code
// rule a missing amixer reads as 0 and writes as success. The one line on stderr is what tells a
// user "no amixer" apart from "the card says 0".
void reportUnstartable(const QProcess &process)
{
    if (process.error() != QProcess::FailedToStart)
        return;
    static QSet<QString> reported;
    const QString program = process.program();
    if (reported.contains(program))
        return;
    reported.insert(program);
    fprintf(stderr, "equalizer: cannot start \"%s\" (%s); is it installed and on PATH?\n",
            qUtf8Printable(program), qUtf8Printable(process.errorString()));
}

// What QProcess::start(command, mode) does, without its deprecation: split at blanks, keeping
// double-quoted words whole. An empty line starts nothing and leaves the last exit code in place.
void start(QProcess &process, const QString &cmd)
{
    QStringList args = QProcess::splitCommand(cmd);
    if (args.isEmpty())
        return;
    const QString program = args.takeFirst();
    process.start(program, args, QIODevice::ReadWrite);
}

bool run(QProcess &process, const QString &cmd, QProcess::ProcessChannelMode mode)
{
    process.setProcessChannelMode(mode);
    start(process, cmd);
    process.waitForFinished(-1);
    reportUnstartable(process);
    return process.exitCode() == 0;
}

} // namespace

int get(QProcess &process, const QString &cmd, bool logD)
{
    if (logD)
        Trace::line("changMode cmd: %s", qUtf8Printable(cmd));
    if (process.state() == QProcess::Running)
        return -1;
    if (!run(process, cmd, QProcess::SeparateChannels))
        return -1;
    const MixerReply::Slice slice = MixerReply::integerValue(process.readAllStandardOutput());
    if (logD) {
        Trace::line("index: %d, %d", slice.begin, slice.end);
        Trace::line("initFreq sub result: %s, %d", slice.text.constData(), slice.value);
    }
    return slice.value;
}

QString getString(QProcess &process, const QString &cmd, bool logD)
{
    if (logD)
        Trace::line("changMode cmd: %s", qUtf8Printable(cmd));
    QString result;
    if (process.state() == QProcess::Running)
        return result;
    if (!run(process, cmd, QProcess::SeparateChannels))
        return result;
    const MixerReply::Slice slice = MixerReply::bracketText(process.readAllStandardOutput());
    result = QString::fromLatin1(slice.text.constData());
    if (logD) {
        Trace::line("index: %d, %d", slice.begin, slice.end);
        Trace::line("initFreq sub result: %s, %d", slice.text.constData(), slice.value);
    }
    return result;
}

bool set(QProcess &process, QString &cmd, bool logD)
{
    if (process.state() == QProcess::Running)
        return false;
    if (!logD)
        cmd.append(QStringLiteral(" < /dev/null 2>&1"));
    return run(process, cmd, QProcess::ForwardedChannels);
}

int getVolume(const QString &cmd, bool logD)
{
    QProcess process;
    start(process, cmd);
    process.waitForFinished(-1);
    reportUnstartable(process);
    if (process.exitCode() != 0)
        return 0;
    const MixerReply::Slice slice = MixerReply::volumeValue(process.readAllStandardOutput());
    if (logD) {
        Trace::line("index: %d, %d", slice.begin, slice.end);
        Trace::line("getVolume result: %s, %d", slice.text.constData(), slice.value);
    }
    return slice.value;
}

} // namespace MixerRunner
