#pragma once

#include <QByteArray>
#include <QStringList>

// One child process run to its end, with the least work a program can do for it: posix_spawn (no
// copy of the parent's page tables), the program looked up on PATH once per name, one pipe for the
// output of a read and none for a write, and a wait without a time-out.
namespace ChildProcess {

struct Result {
    bool started = false; // false: not found on PATH, or the kernel refused to run it
    int exitCode = -1;    // the exit code; -1 when the program did not start or died by a signal
    QByteArray output;    // standard output, when it was captured
};

// Runs argv[0] (found on PATH) with the rest as its arguments. Standard input is /dev/null. With
// capture, standard output is returned and standard error discarded; without, both are the
// caller's own.
Result run(const QStringList &argv, bool capture);

} // namespace ChildProcess
