#include "mixer/runner.h"

#include "log/trace.h"
#include "mixer/childprocess.h"
#include "mixer/reply.h"

#include <QProcess>

namespace MixerRunner {

namespace {

// Split at blanks, keeping double-quoted words whole, as QProcess::start(command) does. A line
// with no word starts nothing and counts as a failure. A program that cannot be started fails like
// one that exits non-zero (reads: -1 or empty, the volume: 0; writes: false), which looks just like
// a card refusing the control; the one line on stderr per program tells the two apart.
bool run(const QString &cmd, bool capture, QByteArray *output = nullptr)
{
    const QStringList args = QProcess::splitCommand(cmd);
    if (args.isEmpty())
        return false;
    ChildProcess::Result result = ChildProcess::run(args, capture);
    if (output)
        *output = std::move(result.output);
    return result.exitCode == 0;
}

} // namespace

int get(QProcess &process, const QString &cmd, bool logD)
{
    if (logD)
        Trace::line("changMode cmd: %s", qUtf8Printable(cmd));
    if (process.state() == QProcess::Running)
        return -1;
    QByteArray reply;
    if (!run(cmd, true, &reply))
        return -1;
    const MixerReply::Slice slice = MixerReply::integerValue(reply);
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
    QByteArray reply;
    if (!run(cmd, true, &reply))
        return result;
    const MixerReply::Slice slice = MixerReply::bracketText(reply);
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
    return run(line, false);
}

int getVolume(const QString &cmd, bool logD)
{
    QByteArray reply;
    if (!run(cmd, true, &reply))
        return 0;
    const MixerReply::Slice slice = MixerReply::volumeValue(reply);
    if (logD) {
        Trace::line("index: %d, %d", slice.begin, slice.end);
        Trace::line("getVolume result: %s, %d", slice.text.constData(), slice.value);
    }
    return slice.value;
}

} // namespace MixerRunner
