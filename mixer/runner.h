#pragma once

#include <QString>

class QProcess;

// Runs one amixer command line as a child process and waits for it without a time-out. No shell is
// involved: QProcess splits the line at blanks and keeps a double-quoted control name whole.
namespace MixerRunner {

// Integer read on the shared process: the value, or -1 when the process is busy or the tool exits
// non-zero.
int get(QProcess &process, const QString &cmd, bool logD);

// Text read on the shared process: the bracketed text, empty on failure.
QString getString(QProcess &process, const QString &cmd, bool logD);

// Write on the shared process: true when the tool exits 0. Unless logD is set, the literal
// " < /dev/null 2>&1" is appended to cmd in place; without a shell these are three more arguments.
bool set(QProcess &process, QString &cmd, bool logD);

// The volume read, on a process of its own; 0 on failure.
int getVolume(const QString &cmd, bool logD);

} // namespace MixerRunner
