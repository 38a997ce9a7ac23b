#pragma once

// Plain process helpers shared by the benchmark tools, free of Qt so that the floor they measure
// carries no toolkit cost: a monotonic clock, the command-line splitting that the application's
// runner uses, and one child process run to its end with the least work a program can do for it.

#include <cstdint>
#include <string>
#include <vector>

namespace Bench {

// CLOCK_MONOTONIC in nanoseconds; one clock for every process on the machine, so that a launcher
// and the program it starts can compare their readings.
int64_t nowNs();

double toMs(int64_t ns);

// Splits a command line at blanks and keeps double-quoted words whole, dropping empty words, as
// the application's runner does (QProcess::splitCommand).
std::vector<std::string> splitCommand(const std::string &line);

// Runs argv[0] from the search path with standard input from stdinPath, output and error on
// /dev/null, and waits for it. Returns the exit code, or -1 when it could not be started or did not
// exit normally.
int run(const std::vector<std::string> &argv, const char *stdinPath = "/dev/null");

// Reads a file of command lines, one a line, skipping empty lines.
std::vector<std::string> readLines(const std::string &path);

// Runs every line one after another, as a plain loop would; returns the wall time in nanoseconds.
// Lines that fail are counted in *failures when it is given.
int64_t replay(const std::vector<std::string> &lines, int *failures = nullptr);

} // namespace Bench
