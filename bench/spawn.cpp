#include "bench/spawn.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <fstream>

extern char **environ;

namespace Bench {

int64_t nowNs()
{
    timespec ts;
    clock_gettime(CLOCK_MONOTONIC, &ts);
    return int64_t(ts.tv_sec) * 1000000000 + ts.tv_nsec;
}

double toMs(int64_t ns)
{
    return double(ns) / 1e6;
}

std::vector<std::string> splitCommand(const std::string &line)
{
    std::vector<std::string> words;
    std::string word;
    bool quoted = false;
    for (char c : line) {
        if (c == '"') {
            quoted = !quoted;
        } else if (!quoted && (c == ' ' || c == '\t')) {
            if (!word.empty())
                words.push_back(word);
            word.clear();
        } else {
            word += c;
        }
    }
    if (!word.empty())
        words.push_back(word);
    return words;
}

int run(const std::vector<std::string> &argv, const char *stdinPath)
{
    if (argv.empty())
        return -1;
    std::vector<char *> args;
    for (const std::string &arg : argv)
        args.push_back(const_cast<char *>(arg.c_str()));
    args.push_back(nullptr);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 0, stdinPath, O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, 1, 2);

    pid_t pid;
    const int err = posix_spawnp(&pid, args[0], &actions, nullptr, args.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (err != 0)
        return -1;

    int status = 0;
    while (waitpid(pid, &status, 0) < 0) {
        if (errno != EINTR)
            return -1;
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

std::vector<std::string> readLines(const std::string &path)
{
    std::vector<std::string> lines;
    std::ifstream in(path);
    std::string line;
    while (std::getline(in, line)) {
        if (!line.empty())
            lines.push_back(line);
    }
    return lines;
}

int64_t replay(const std::vector<std::string> &lines, int *failures)
{
    // Split beforehand: the loop times the runs, not the parsing.
    std::vector<std::vector<std::string>> commands;
    commands.reserve(lines.size());
    for (const std::string &line : lines)
        commands.push_back(splitCommand(line));

    int failed = 0;
    const int64_t start = nowNs();
    for (const auto &argv : commands) {
        if (run(argv) != 0)
            ++failed;
    }
    const int64_t elapsed = nowNs() - start;
    if (failures)
        *failures += failed;
    return elapsed;
}

} // namespace Bench
