#include "platform/inputeventthread.h"

// Placeholder until the key reader is built: the loop ends at once.

QString InputEventThread::defaultDevicePath()
{
    return QStringLiteral("/dev/input/by-path/platform-10d80000.adc:adc-keys-event");
}

InputEventThread::InputEventThread(QObject *parent, const QString &devicePath)
    : QThread(parent), devicePath(devicePath)
{
}

InputEventThread::~InputEventThread()
{
    stop();
    wait();
}

void InputEventThread::stop()
{
}

void InputEventThread::run()
{
}
