#include "platform/inputeventthread.h"

#include <linux/input.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

namespace {

const unsigned short homeKey = 172;

} // namespace

InputEventThread::InputEventThread(QObject *parent, const QString &device)
    : QThread(parent), device(device), wakeFd(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
{
}

InputEventThread::~InputEventThread()
{
    stop();
    wait();
    if (wakeFd >= 0)
        close(wakeFd);
}

void InputEventThread::stop()
{
    if (wakeFd >= 0)
        eventfd_write(wakeFd, 1);
}

void InputEventThread::run()
{
    puts("InputEventThread start");
    // Non-blocking so that neither open() (a FIFO stand-in waits there for a writer) nor read()
    // can hold the thread; all waiting happens in poll(), which stop() interrupts.
    const int fd = open(device.toLocal8Bit().constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0) {
        puts("Can't open the input file");
        return;
    }

    // The record layout is the running kernel's own (16 bytes on 32-bit, 24 on 64-bit). evdev
    // hands out whole records only; a pipe standing in for the device may split one across reads,
    // so bytes are collected until a record is complete rather than discarded.
    input_event event;
    char record[sizeof event];
    size_t filled = 0;
    for (;;) {
        pollfd fds[2] = {{fd, POLLIN, 0}, {wakeFd, POLLIN, 0}};
        if (poll(fds, 2, -1) < 0) {
            if (errno == EINTR)
                continue;
            break;
        }
        if (fds[1].revents)
            break;
        const ssize_t got = read(fd, record + filled, sizeof record - filled);
        if (got < 0 && (errno == EAGAIN || errno == EINTR))
            continue;
        // End of file (the last writer of a FIFO left) or a read error ends the loop.
        if (got <= 0)
            break;
        filled += size_t(got);
        if (filled < sizeof record)
            continue;
        filled = 0;
        memcpy(&event, record, sizeof event);
        if (event.type != EV_KEY)
            continue;
        printf("event code: %d, event value: %d\n", event.code, event.value);
        if (event.code == homeKey && event.value == 0)
            emit homeKeyClicked();
    }
    close(fd);
}
