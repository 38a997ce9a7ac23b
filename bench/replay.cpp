// bench_replay FILE: runs the command lines of FILE once, one after another, and prints
//     replay_ms=<wall time> lines=<count> failures=<lines that exited non-zero>
// This is the floor of a start-up or an operation: the same mixer tool runs with nothing around them.

#include "bench/spawn.h"

#include <cstdio>

int main(int argc, char **argv)
{
    if (argc != 2) {
        fprintf(stderr, "usage: %s FILE\n", argv[0]);
        return 2;
    }
    const std::vector<std::string> lines = Bench::readLines(argv[1]);
    if (lines.empty()) {
        fprintf(stderr, "%s: no command lines in %s\n", argv[0], argv[1]);
        return 1;
    }
    int failures = 0;
    const int64_t elapsed = Bench::replay(lines, &failures);
    printf("replay_ms=%.3f lines=%zu failures=%d\n", Bench::toMs(elapsed), lines.size(), failures);
    return 0;
}
