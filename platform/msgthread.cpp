#include "platform/msgthread.h"

// Placeholder until the bus link is built: no connection, nothing received, nothing sent.

MsgThread::MsgThread(QObject *parent)
    : QThread(parent)
{
}

MsgThread::~MsgThread()
{
    stop();
    wait();
}

void MsgThread::stop()
{
}

void MsgThread::onAppPaused()
{
    sendMessage("minimize");
}

void MsgThread::run()
{
}

void MsgThread::sendMessage(const char *)
{
}
