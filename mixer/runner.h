#pragma once

#include <QString>

class QProcess;

// Runs one amixer command line as a child process and waits for it without a time-out. No shell is
// involved: the line is split at blanks and a double-quoted control name is kept whole. The exit
// code is the only test of success; a tool that cannot be started fails like any other (it is also
// named once on stderr), and a line with no word runs nothing and fails.
//
// The shared QProcess is only the busy guard: the runs themselves go through ChildProcess, which
// starts a program for a fraction of what QProcess costs in a process of this size. A test can
// still make the guard busy by starting the QProcess.
namespace MixerRunner {

// Integer read on the shared process: the value, or -1 when the process is busy or the tool exits
// non-zero.
int get(QProcess &process, const QString &cmd, bool logD);

// Text read on the shared process: the bracketed text, empty on failure.
QString getString(QProcess &process, const QString &cmd, bool logD);

// Write on the shared process: true when the tool exits 0. Unless logD is set, the literal
// " < /dev/null 2>&1" is appended to the line it runs; without a shell these are three more
// arguments. The line as run (cmd with or without the words) goes to *ran when given.
bool set(QProcess &process, const QString &cmd, bool logD, QString *ran = nullptr);

// The volume read, on a process of its own; 0 on failure.
int getVolume(const QString &cmd, bool logD);

} // namespace MixerRunner
