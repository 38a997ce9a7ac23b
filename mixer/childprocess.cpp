#include "mixer/childprocess.h"

#include <QHash>

#include <vector>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

extern char **environ;

namespace ChildProcess {

namespace {

// Where each program name was found, for the PATH it was found on: a test or a script that changes
// PATH gets a fresh lookup.
struct Lookup {
    QByteArray path;
    QHash<QByteArray, QByteArray> found;
};

QByteArray locate(const QByteArray &name, bool fresh)
{
    static Lookup cache;
    if (name.contains('/'))
        return name;
    const QByteArray path = qgetenv("PATH");
    if (fresh || path != cache.path) {
        cache.path = path;
        cache.found.clear();
    }
    const auto hit = cache.found.constFind(name);
    if (hit != cache.found.constEnd())
        return *hit;
    for (const QByteArray &dir : path.split(':')) {
        const QByteArray candidate = (dir.isEmpty() ? QByteArray(".") : dir) + '/' + name;
        struct stat st;
        if (::stat(candidate.constData(), &st) == 0 && S_ISREG(st.st_mode)
            && ::access(candidate.constData(), X_OK) == 0) {
            cache.found.insert(name, candidate);
            return candidate;
        }
    }
    return QByteArray();
}

// The child gets default dispositions and an empty signal mask whatever the GUI thread blocks or
// handles for itself.
int spawn(pid_t *pid, const QByteArray &program, char *const argv[], int outFd)
{
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    if (outFd >= 0) {
        posix_spawn_file_actions_adddup2(&actions, outFd, STDOUT_FILENO);
        posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    }
    posix_spawnattr_t attr;
    posix_spawnattr_init(&attr);
    sigset_t none, defaults;
    sigemptyset(&none);
    sigemptyset(&defaults);
    for (int sig : {SIGTERM, SIGINT, SIGHUP, SIGPIPE, SIGCHLD})
        sigaddset(&defaults, sig);
    posix_spawnattr_setsigmask(&attr, &none);
    posix_spawnattr_setsigdefault(&attr, &defaults);
    posix_spawnattr_setflags(&attr, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    const int error = posix_spawn(pid, program.constData(), &actions, &attr, argv, environ);
    posix_spawnattr_destroy(&attr);
    posix_spawn_file_actions_destroy(&actions);
    return error;
}

void reportUnstartable(const QByteArray &name, int error)
{
    // Once per program: "no amixer" must be told apart from "the card said no", but not at every run.
    static QHash<QByteArray, bool> reported;
    if (reported.contains(name))
        return;
    reported.insert(name, true);
    fprintf(stderr, "equalizer: cannot start \"%s\" (%s); is it installed and on PATH?\n",
            name.constData(), strerror(error));
}

} // namespace

Result run(const QStringList &argv, bool capture)
{
    Result result;
    QList<QByteArray> words;
    for (const QString &word : argv)
        words << word.toLocal8Bit();
    std::vector<char *> args;
    for (QByteArray &word : words)
        args.push_back(word.data());
    args.push_back(nullptr);

    int pipeFds[2] = {-1, -1};
    if (capture && ::pipe2(pipeFds, O_CLOEXEC) != 0) {
        reportUnstartable(words.first(), errno);
        return result;
    }
    // Lines this program wrote must stand before the child's own on a shared output.
    fflush(stdout);

    pid_t pid = -1;
    int error = ENOENT;
    for (bool fresh : {false, true}) {
        const QByteArray program = locate(words.first(), fresh);
        error = program.isEmpty() ? ENOENT : spawn(&pid, program, args.data(), pipeFds[1]);
        // A program moved since it was found is looked for once more.
        if (error != ENOENT)
            break;
    }
    if (pipeFds[1] >= 0)
        ::close(pipeFds[1]);
    if (error != 0) {
        if (pipeFds[0] >= 0)
            ::close(pipeFds[0]);
        reportUnstartable(words.first(), error);
        return result;
    }
    result.started = true;

    if (capture) {
        char buffer[16384];
        for (;;) {
            const ssize_t n = ::read(pipeFds[0], buffer, sizeof buffer);
            if (n > 0)
                result.output.append(buffer, int(n));
            else if (n == 0 || errno != EINTR)
                break;
        }
        ::close(pipeFds[0]);
    }
    int status = 0;
    pid_t reaped;
    do
        reaped = ::waitpid(pid, &status, 0);
    while (reaped < 0 && errno == EINTR);
    if (reaped == pid && WIFEXITED(status))
        result.exitCode = WEXITSTATUS(status);
    return result;
}

} // namespace ChildProcess
