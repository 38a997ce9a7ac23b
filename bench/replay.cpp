// bench_replay [--batch] FILE: runs the command lines of FILE once, one after another, and prints
//     replay_ms=<wall time> cpu_ms=<the runs' user + system time> lines=<count> failures=<non-zero exits>
// This is the floor of a start-up or an operation: the same mixer tool runs with nothing around them.
// With --batch the amixer lines go instead to one `amixer -q -s` run as its standard input (what
// the same work costs in one process); failures then counts that one run.

#include "bench/spawn.h"

#include <sys/resource.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>

namespace {

// The line as amixer's own command reader takes it: no program name, no options, none of the
// controller's shell-less redirection words.
std::string batchLine(const std::string &line)
{
    std::vector<std::string> words = Bench::splitCommand(line);
    size_t first = 1;
    while (first < words.size() && words[first][0] == '-')
        ++first;
    size_t end = words.size();
    if (end >= first + 3 && words[end - 3] == "<" && words[end - 2] == "/dev/null" && words[end - 1] == "2>&1")
        end -= 3;
    std::string out;
    for (size_t i = first; i < end; ++i) {
        if (!out.empty())
            out += ' ';
        out += words[i].find(' ') == std::string::npos ? words[i] : '"' + words[i] + '"';
    }
    return out;
}

double childrenCpuMs()
{
    rusage children;
    getrusage(RUSAGE_CHILDREN, &children);
    return double(children.ru_utime.tv_sec + children.ru_stime.tv_sec) * 1000.0
        + double(children.ru_utime.tv_usec + children.ru_stime.tv_usec) / 1000.0;
}

} // namespace

int main(int argc, char **argv)
{
    const bool batch = argc == 3 && std::string(argv[1]) == "--batch";
    if (argc != 2 && !batch) {
        fprintf(stderr, "usage: %s [--batch] FILE\n", argv[0]);
        return 2;
    }
    const char *file = argv[argc - 1];
    const std::vector<std::string> lines = Bench::readLines(file);
    if (lines.empty()) {
        fprintf(stderr, "%s: no command lines in %s\n", argv[0], file);
        return 1;
    }

    int failures = 0;
    int64_t elapsed;
    if (batch) {
        char input[] = "/tmp/bench_replay-XXXXXX";
        const int fd = mkstemp(input);
        if (fd < 0) {
            perror("mkstemp");
            return 1;
        }
        close(fd);
        {
            std::ofstream out(input);
            for (const std::string &line : lines)
                out << batchLine(line) << '\n';
        }
        const int64_t start = Bench::nowNs();
        if (Bench::run({"amixer", "-q", "-s"}, input) != 0)
            ++failures;
        elapsed = Bench::nowNs() - start;
        unlink(input);
    } else {
        elapsed = Bench::replay(lines, &failures);
    }
    printf("replay_ms=%.3f cpu_ms=%.0f lines=%zu failures=%d\n", Bench::toMs(elapsed), childrenCpuMs(),
           lines.size(), failures);
    return 0;
}
