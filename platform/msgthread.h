#pragma once

#include <QThread>

struct DBusConnection;

// The link to the activity manager on the system bus. Its loop turns a "resume" broadcast into
// appResume(); onAppPaused(), called in the GUI thread, broadcasts "minimize". Both use the one
// shared system-bus connection, so libdbus's thread support is switched on before connecting.
class MsgThread : public QThread
{
    Q_OBJECT

public:
    explicit MsgThread(QObject *parent = nullptr);
    // Stops the loop, joins the thread and drops the connection.
    ~MsgThread() override;

    // Asks the receive loop to end and wakes it from its wait for the bus. Returns at once; the
    // owner joins with wait(). Final: a loop started after it ends once the queue is drained.
    void stop();

signals:
    void appResume();

public slots:
    void onAppPaused();

protected:
    void run() override;

private:
    void sendMessage(const char *member);
    void receive(DBusConnection *bus);
    // Waits until the bus socket has data, at most one second; false once stop() has been called.
    bool pause(int socket);
    // Reads what the socket holds until a message is complete; false once the bus is gone.
    bool readAvailable(DBusConnection *bus);

    DBusConnection *connection = nullptr;
    int wakeFd = -1;
};
