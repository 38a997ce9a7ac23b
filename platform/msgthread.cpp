#include "platform/msgthread.h"

#include <QtGlobal>

#include <dbus/dbus.h>

#include <cerrno>
#include <cstdio>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

namespace {

const char tag[] = "<Equalizer - MsgThread>";
const char inboundInterface[] = "zk.app.Equalizer.interface";
const char matchRule[] = "type='signal',interface='zk.app.Equalizer.interface'";

bool readable(int fd)
{
    pollfd ready = {fd, POLLIN, 0};
    return poll(&ready, 1, 0) > 0 && (ready.revents & POLLIN);
}

} // namespace

MsgThread::MsgThread(QObject *parent)
    : QThread(parent), wakeFd(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
{
    // The loop polls the connection on its own thread while onAppPaused() sends on the GUI thread;
    // libdbus only locks a shared connection once its thread support is on.
    dbus_threads_init_default();

    DBusError error;
    dbus_error_init(&error);
    connection = dbus_bus_get(DBUS_BUS_SYSTEM, &error);
    if (connection)
        // A bus that goes away ends the receive loop; it must not end the whole application.
        dbus_connection_set_exit_on_disconnect(connection, FALSE);
    else
        printf("%s dbus get error\n", tag);
    dbus_error_free(&error);
}

MsgThread::~MsgThread()
{
    stop();
    wait();
    if (connection)
        dbus_connection_unref(connection);
    if (wakeFd >= 0)
        close(wakeFd);
}

void MsgThread::stop()
{
    if (wakeFd >= 0)
        eventfd_write(wakeFd, 1);
}

void MsgThread::onAppPaused()
{
    sendMessage("minimize");
}

void MsgThread::sendMessage(const char *member)
{
    if (!connection) {
        QMessageLogger().debug("error: %s dbus connection is null\r\n", tag);
        return;
    }
    DBusMessage *message =
        dbus_message_new_signal("/zk/activity/Equalizer", "zk.activity.manager.interface", member);
    if (!message) {
        QMessageLogger().debug("warning : msg is null for radio send %s to manager \r\n", member);
        return;
    }
    dbus_connection_send(connection, message, nullptr);
    dbus_connection_flush(connection);
    QMessageLogger().debug("%s sent %s to launch\r\n", tag, member);
    dbus_message_unref(message);
}

void MsgThread::run()
{
    DBusError error;
    dbus_error_init(&error);
    DBusConnection *bus = dbus_bus_get(DBUS_BUS_SYSTEM, &error);
    if (!bus) {
        QMessageLogger().debug("error: %s dbus connection is null\r\n", tag);
    } else {
        dbus_bus_add_match(bus, matchRule, &error);
        if (dbus_error_is_set(&error)) {
            QMessageLogger().debug("error: %s dbus connection add match fail\r\n", tag);
        } else {
            receive(bus);
            // The connection is shared and may serve a later loop: stop routing our signals to it.
            dbus_bus_remove_match(bus, matchRule, nullptr);
            dbus_connection_flush(bus);
        }
        dbus_connection_unref(bus);
    }
    dbus_error_free(&error);
    puts("Radio recv dbus deamon exit ");
}

// Waits in poll() on the bus socket and the stop descriptor, never inside libdbus. Stop requests
// are looked at only when the queue is empty, so a burst of queued signals is always handled in
// one pass.
void MsgThread::receive(DBusConnection *bus)
{
    for (;;) {
        while (DBusMessage *message = dbus_connection_pop_message(bus)) {
            if (dbus_message_is_signal(message, inboundInterface, "resume")) {
                QMessageLogger().debug("%s ---- received resume message\r\n", tag);
                emit appResume();
            } else {
                QMessageLogger().debug("warning unknown message.ignore..\r\n");
            }
            dbus_message_unref(message);
        }
        // No socket once the bus has gone away: nothing can arrive any more, so the loop ends and
        // run() reports it like a bus that was never there.
        int socket = -1;
        if (!dbus_connection_get_unix_fd(bus, &socket) || !pause(socket) || !readAvailable(bus))
            return;
    }
}

// libdbus reads a few KiB per call: reading on until the socket is drained makes a large message
// whole as soon as its last byte is here. Ends early once a message is queued, so that a flood
// cannot keep the loop from handling what has come.
bool MsgThread::readAvailable(DBusConnection *bus)
{
    int socket = -1;
    do {
        if (!dbus_connection_read_write(bus, 0))
            return false;
    } while (dbus_connection_get_dispatch_status(bus) != DBUS_DISPATCH_DATA_REMAINS
             && dbus_connection_get_unix_fd(bus, &socket) && readable(socket));
    return true;
}

// Up to a second between wake-ups, as the loop always had; false once stop() has been called.
bool MsgThread::pause(int socket)
{
    pollfd fds[2] = {{socket, POLLIN, 0}, {wakeFd, POLLIN, 0}};
    return poll(fds, 2, 1000) >= 0 ? !fds[1].revents : errno == EINTR;
}
