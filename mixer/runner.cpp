#include "mixer/runner.h"

#include "log/trace.h"
#include "mixer/reply.h"

#include <QProcess>
#include <QSet>

#include <cstdio>

namespace MixerRunner {

namespace {

// Qt 5.15 on Linux reports a program that cannot be started (not on PATH, not executable) with
// error() FailedToStart and exit code 255: the child that failed to exec exits with -1, and Qt
// reaps it. The exit-code rule therefore reads -1 (text reads: empty, the volume: 0) and reports
// a failed write, which looks just like a card refusing the control. The one line on stderr per
// tool is what tells a user "no amixer" apart from "the card said no". The next start resets
// error(), so it describes the last run only.
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

// Split at blanks, keeping double-quoted words whole, as QProcess::start(command) does. A line
// with no word starts nothing and counts as a failure: QProcess would leave the previous run's
// exit code in place, so the result would depend on whatever ran before.
bool run(QProcess &process, const QString &cmd, QProcess::ProcessChannelMode mode)
{
    QStringList args = QProcess::splitCommand(cmd);
    if (args.isEmpty())
        return false;
    const QString program = args.takeFirst();
    process.setProcessChannelMode(mode);
    process.start(program, args, QIODevice::ReadWrite);
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

bool set(QProcess &process, const QString &cmd, bool logD, QString *ran)
{
    if (process.state() == QProcess::Running)
        return false;
    // An out-of-range profile has an empty script name. It fails here rather than after the
    // suffix, which would otherwise be run as a program called "<".
    const bool nothingToRun = QProcess::splitCommand(cmd).isEmpty();
    const QString line = logD ? cmd : cmd + QStringLiteral(" < /dev/null 2>&1");
    if (ran)
        *ran = line;
    if (nothingToRun)
        return false;
    return run(process, line, QProcess::ForwardedChannels);
}

int getVolume(const QString &cmd, bool logD)
{
    QProcess process;
    if (!run(process, cmd, QProcess::SeparateChannels))
        return 0;
    const MixerReply::Slice slice = MixerReply::volumeValue(process.readAllStandardOutput());
    if (logD) {
        Trace::line("index: %d, %d", slice.begin, slice.end);
        Trace::line("getVolume result: %s, %d", slice.text.constData(), slice.value);
    }
    return slice.value;
}

} // namespace MixerRunner
