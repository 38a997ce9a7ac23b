#pragma once

#include <QString>
#include <QThread>

// Watches the hardware key device and emits homeKeyClicked() when the Home key is released.
class InputEventThread : public QThread
{
    Q_OBJECT

public:
    static QString defaultDevicePath();

    explicit InputEventThread(QObject *parent = nullptr, const QString &devicePath = defaultDevicePath());
    // Stops the loop and joins the thread.
    ~InputEventThread() override;

    // Asks the read loop to end and wakes it even while it waits for the device. Returns at once;
    // the owner joins with wait(). Final: a loop started after it ends at once.
    void stop();

signals:
    void homeKeyClicked();

protected:
    void run() override;

private:
    const QString devicePath;
    int wakeFd = -1;
};
