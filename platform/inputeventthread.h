#pragma once

#include <QString>
#include <QThread>

// Watches the hardware key device and emits homeKeyClicked() when the Home key is released.
class InputEventThread : public QThread
{
    Q_OBJECT

public:
    // The unit's key device; scripts/laptop-platform.sh reads it from this line.
    static constexpr const char *devicePath = "/dev/input/by-path/platform-10d80000.adc:adc-keys-event";

    explicit InputEventThread(QObject *parent = nullptr,
                              const QString &device = QString::fromLatin1(devicePath));
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
    const QString device;
    int wakeFd = -1;
};
