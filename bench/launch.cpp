// bench_launch: starts a program and measures the wall time from its exec to the first line on its
// standard error that contains a marker (by default the scene graph's "Frame rendered" timing line,
// switched on with QT_LOGGING_RULES=qt.scenegraph.time.renderloop=true), then its memory.
//
//   bench_launch [--marker TEXT] [--timeout SECONDS] [--settle MS] [--stdout FILE] [--log FILE]
//                -- PROGRAM [ARGS...]
//
// Prints one line
//     startup_ms=<exec to marker> hwm_kb=<VmHWM> rss_kb=<VmRSS> cpu_ms=<user + system time>
// read --settle milliseconds after the marker (the CPU time, in clock ticks, includes the children
// the program has waited for), and passes through every standard-error line of the program that
// starts with "EQBENCH ". The program then gets SIGTERM (SIGKILL if it lingers).
// EQ_BENCH_T0_NS in the program's environment holds the launcher's clock just before the fork, so
// a program can report its own phases on the same time axis. Exit status 1: no marker in time.

#include "bench/spawn.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace {

struct Options {
    std::string marker = "Frame rendered";
    double timeoutS = 60;
    int settleMs = 300;
    std::string stdoutPath = "/dev/null";
    std::string logPath;
    char **program = nullptr;
};

long statusField(pid_t pid, const char *field)
{
    std::ifstream in("/proc/" + std::to_string(pid) + "/status");
    std::string line;
    const size_t len = strlen(field);
    while (std::getline(in, line)) {
        if (line.compare(0, len, field) == 0 && line.size() > len && line[len] == ':')
            return strtol(line.c_str() + len + 1, nullptr, 10);
    }
    return -1;
}

// Collects the program's standard error into lines, noting the time of the first marker line.
class ErrReader
{
public:
    ErrReader(int fd, const Options &options, FILE *log) : fd(fd), options(options), log(log) {}

    // Reads until the deadline; returns false at end of file (the program has gone).
    bool readUntil(int64_t deadline, bool stopAtMarker)
    {
        while (!(stopAtMarker && markerNs)) {
            const int64_t left = deadline - Bench::nowNs();
            if (left <= 0)
                return true;
            pollfd p = {fd, POLLIN, 0};
            const int ready = poll(&p, 1, int(left / 1000000) + 1);
            if (ready < 0 && errno == EINTR)
                continue;
            if (ready <= 0)
                continue;
            char buf[4096];
            const ssize_t got = read(fd, buf, sizeof buf);
            if (got < 0 && errno == EINTR)
                continue;
            if (got <= 0)
                return false;
            const int64_t now = Bench::nowNs();
            pending.append(buf, size_t(got));
            size_t nl;
            while ((nl = pending.find('\n')) != std::string::npos) {
                line(pending.substr(0, nl), now);
                pending.erase(0, nl + 1);
            }
        }
        return true;
    }

    int64_t markerNs = 0;

private:
    void line(const std::string &text, int64_t now)
    {
        if (!markerNs && text.find(options.marker) != std::string::npos)
            markerNs = now;
        if (text.compare(0, 8, "EQBENCH ") == 0)
            printf("%s\n", text.c_str());
        if (log)
            fprintf(log, "%s\n", text.c_str());
    }

    int fd;
    const Options &options;
    FILE *log;
    std::string pending;
};

void stop(pid_t pid)
{
    kill(pid, SIGTERM);
    const int64_t deadline = Bench::nowNs() + 3000000000LL;
    for (;;) {
        int status;
        const pid_t done = waitpid(pid, &status, WNOHANG);
        if (done == pid || (done < 0 && errno != EINTR))
            return;
        if (Bench::nowNs() > deadline) {
            kill(pid, SIGKILL);
            waitpid(pid, &status, 0);
            return;
        }
        usleep(5000);
    }
}

// User and system time of the program and of its children that it has waited for (the mixer
// tool's runs, the tuning script and its own children), in milliseconds; -1 when unreadable.
double cpuMs(pid_t pid)
{
    std::ifstream in("/proc/" + std::to_string(pid) + "/stat");
    std::string stat;
    std::getline(in, stat);
    // The name in brackets may hold blanks; the fields after it start with field 3.
    const size_t close = stat.rfind(')');
    if (close == std::string::npos)
        return -1;
    std::istringstream fields(stat.substr(close + 1));
    std::vector<std::string> words;
    std::string word;
    while (fields >> word)
        words.push_back(word);
    if (words.size() < 15)
        return -1;
    // Fields 14 to 17: utime, stime, cutime, cstime.
    long long ticks = 0;
    for (size_t i = 11; i <= 14; ++i)
        ticks += atoll(words[i].c_str());
    return double(ticks) * 1000.0 / double(sysconf(_SC_CLK_TCK));
}

int usage(const char *self)
{
    fprintf(stderr,
            "usage: %s [--marker TEXT] [--timeout SECONDS] [--settle MS] [--stdout FILE] "
            "[--log FILE] -- PROGRAM [ARGS...]\n",
            self);
    return 2;
}

} // namespace

int main(int argc, char **argv)
{
    Options options;
    int i = 1;
    for (; i < argc; ++i) {
        const std::string arg = argv[i];
        if (arg == "--") {
            ++i;
            break;
        }
        if (i + 1 >= argc)
            return usage(argv[0]);
        const char *value = argv[++i];
        if (arg == "--marker")
            options.marker = value;
        else if (arg == "--timeout")
            options.timeoutS = atof(value);
        else if (arg == "--settle")
            options.settleMs = atoi(value);
        else if (arg == "--stdout")
            options.stdoutPath = value;
        else if (arg == "--log")
            options.logPath = value;
        else
            return usage(argv[0]);
    }
    if (i >= argc)
        return usage(argv[0]);
    options.program = argv + i;

    FILE *log = nullptr;
    if (!options.logPath.empty() && !(log = fopen(options.logPath.c_str(), "a"))) {
        perror(options.logPath.c_str());
        return 2;
    }
    const int outFd = open(options.stdoutPath.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
    if (outFd < 0) {
        perror(options.stdoutPath.c_str());
        return 2;
    }
    int errPipe[2];
    if (pipe2(errPipe, O_CLOEXEC) != 0) {
        perror("pipe2");
        return 2;
    }

    const int64_t t0 = Bench::nowNs();
    setenv("EQ_BENCH_T0_NS", std::to_string(t0).c_str(), 1);
    const pid_t pid = fork();
    if (pid < 0) {
        perror("fork");
        return 2;
    }
    if (pid == 0) {
        const int null = open("/dev/null", O_RDONLY);
        dup2(null, 0);
        dup2(outFd, 1);
        dup2(errPipe[1], 2);
        execvp(options.program[0], options.program);
        fprintf(stderr, "bench_launch: cannot run %s: %s\n", options.program[0], strerror(errno));
        _exit(127);
    }
    close(errPipe[1]);
    close(outFd);

    ErrReader reader(errPipe[0], options, log);
    const bool alive = reader.readUntil(t0 + int64_t(options.timeoutS * 1e9), true);
    int result = 0;
    if (!reader.markerNs) {
        fprintf(stderr, "bench_launch: no \"%s\" from %s (%s)\n", options.marker.c_str(),
                options.program[0], alive ? "timed out" : "it ended");
        result = 1;
    } else {
        reader.readUntil(reader.markerNs + int64_t(options.settleMs) * 1000000, false);
        const long hwm = statusField(pid, "VmHWM");
        const long rss = statusField(pid, "VmRSS");
        printf("startup_ms=%.3f hwm_kb=%ld rss_kb=%ld cpu_ms=%.0f\n", Bench::toMs(reader.markerNs - t0), hwm,
               rss, cpuMs(pid));
    }
    stop(pid);
    close(errPipe[0]);
    if (log)
        fclose(log);
    return result;
}
