#include "app/termination.h"

#include <QCoreApplication>
#include <QSocketNotifier>
#include <QThread>

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <unistd.h>

namespace Termination {
namespace {

const int handled[] = {SIGTERM, SIGINT, SIGHUP};
int wakePipe[2] = {-1, -1};

// Only async-signal-safe work here: the event loop does the rest.
void onSignal(int)
{
    const int savedErrno = errno;
    const char byte = 1;
    if (write(wakePipe[1], &byte, 1) < 0) {
        // Full pipe: a wake-up is already pending.
    }
    errno = savedErrno;
}

void setHandler(void (*handler)(int))
{
    struct sigaction action = {};
    action.sa_handler = handler;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    for (int signal : handled)
        sigaction(signal, &action, nullptr);
}

} // namespace

void quitOnSignals(QCoreApplication &app)
{
    if (pipe2(wakePipe, O_CLOEXEC | O_NONBLOCK) != 0)
        return;
    auto *notifier = new QSocketNotifier(wakePipe[0], QSocketNotifier::Read, &app);
    QObject::connect(notifier, &QSocketNotifier::activated, &app, [notifier] {
        // quit() only ends a loop that runs; events handled during start-up leave the byte to
        // the main loop.
        if (QThread::currentThread()->loopLevel() == 0)
            return;
        notifier->setEnabled(false);
        setHandler(SIG_DFL);
        QCoreApplication::quit();
    });
    setHandler(onSignal);
}

} // namespace Termination
