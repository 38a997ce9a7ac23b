/* Preloaded into every process of a test that runs under user-mode emulation (the arm64 programs
 * and the build machine's own, which they start), for what the emulator cannot do:
 *
 * - Starting an arm64 program by path: without binfmt support the kernel refuses it, so such a
 *   start becomes a start of the emulator with that program (tests rerun their own binary, start
 *   the built programs, or have a shell do it).
 * - clone() with CLONE_PIDFD, which QProcess uses when the kernel has pidfds; the emulator passes
 *   the kernel's pidfd probe through but refuses the flag. Failing the probe makes QProcess fork
 *   the classic way.
 * - posix_spawn() reporting a program that cannot be started: the emulator turns its shared-memory
 *   vfork into a fork, so the child's exec error never reaches the caller. The common causes are
 *   checked before the spawn.
 *
 * An emulated process also takes its program's name (/proc/PID/comm), as the kernel would give it
 * when starting the program itself; a peer that names its caller by it sees the same name.
 *
 * Built for both machines from this one file; the loader picks its own copy through $LIB. The build
 * machine's copy only starts arm64 programs through the emulator.
 * Everything that runs between fork and exec is async-signal-safe: no allocation, no lookups. */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <elf.h>
#include <errno.h>
#include <fcntl.h>
#include <spawn.h>
#include <stdarg.h>
#include <string.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#ifndef P_PIDFD
#define P_PIDFD 3
#endif

typedef int (*execve_fn)(const char *, char *const[], char *const[]);
typedef long (*syscall_fn)(long, ...);
typedef int (*spawn_fn)(pid_t *, const char *, const posix_spawn_file_actions_t *, const posix_spawnattr_t *,
                        char *const[], char *const[]);

static execve_fn next_execve;
#ifdef __aarch64__
static syscall_fn next_syscall;
static spawn_fn next_posix_spawn;
#endif

__attribute__((constructor)) static void resolve(void)
{
    next_execve = (execve_fn)dlsym(RTLD_NEXT, "execve");
#ifdef __aarch64__
    next_syscall = (syscall_fn)dlsym(RTLD_NEXT, "syscall");
    next_posix_spawn = (spawn_fn)dlsym(RTLD_NEXT, "posix_spawn");
    /* The emulator shows the emulated program as /proc/self/exe. */
    char exe[4096];
    const ssize_t n = readlink("/proc/self/exe", exe, sizeof exe - 1);
    if (n > 0) {
        exe[n] = 0;
        const char *name = strrchr(exe, '/');
        prctl(PR_SET_NAME, name ? name + 1 : exe, 0, 0, 0);
    }
#endif
}

static int is_arm64_program(const char *path)
{
    unsigned char header[EI_NIDENT + 4];
    const int fd = open(path, O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        return 0;
    const ssize_t got = read(fd, header, sizeof header);
    close(fd);
    /* e_machine follows e_type, little-endian on both machines. */
    return got == (ssize_t)sizeof header && header[EI_MAG0] == ELFMAG0 && header[EI_MAG1] == ELFMAG1
        && header[EI_MAG2] == ELFMAG2 && header[EI_MAG3] == ELFMAG3
        && (header[EI_NIDENT + 2] | header[EI_NIDENT + 3] << 8) == EM_AARCH64;
}

int execve(const char *path, char *const argv[], char *const envp[])
{
    if (!is_arm64_program(path))
        return next_execve(path, argv, envp);
    size_t argc = 0;
    while (argv[argc])
        ++argc;
    /* EMULATOR -0 ARGV0 PATH ARGV1...: the program sees the argv[0] it was given. */
    const char *args[argc + 5];
    size_t n = 0;
    args[n++] = EQ_EMULATOR;
    args[n++] = "-0";
    args[n++] = argc ? argv[0] : path;
    args[n++] = path;
    for (size_t i = 1; i < argc; ++i)
        args[n++] = argv[i];
    args[n] = 0;
    return next_execve(EQ_EMULATOR, (char *const *)args, envp);
}

int execv(const char *path, char *const argv[])
{
    return execve(path, argv, environ);
}

/* The rest is for the emulated processes only. */
#ifdef __aarch64__

int posix_spawn(pid_t *pid, const char *path, const posix_spawn_file_actions_t *actions,
                const posix_spawnattr_t *attr, char *const argv[], char *const envp[])
{
    struct stat st;
    if (stat(path, &st) != 0)
        return errno;
    if (!S_ISREG(st.st_mode) || access(path, X_OK) != 0)
        return EACCES;
    return next_posix_spawn(pid, path, actions, attr, argv, envp);
}

long syscall(long number, ...)
{
    va_list ap;
    va_start(ap, number);
    long a[6];
    for (int i = 0; i < 6; ++i)
        a[i] = va_arg(ap, long);
    va_end(ap);
    if (number == SYS_waitid && a[0] == P_PIDFD) {
        errno = ENOSYS;
        return -1;
    }
    return next_syscall(number, a[0], a[1], a[2], a[3], a[4], a[5]);
}

#endif
