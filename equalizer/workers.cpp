#include "equalizer/equalizer.h"

#include "platform/inputeventthread.h"
#include "platform/msgthread.h"

void Equalizer::startWorkers()
{
    msgThread = new MsgThread(this);
    connect(msgThread, SIGNAL(appResume()), this, SLOT(show()));
    connect(this, SIGNAL(appPaused()), msgThread, SLOT(onAppPaused()));
    msgThread->start(QThread::InheritPriority);

    auto *inputThread = new InputEventThread(this, paths.keyDevice);
    connect(inputThread, SIGNAL(homeKeyClicked()), this, SLOT(minimize()));
    inputThread->start(QThread::InheritPriority);
}

// Both loops are told to end first and joined afterwards, so their wake-ups overlap.
void Equalizer::stopWorkers()
{
    const QList<QThread *> workers = findChildren<QThread *>(QString(), Qt::FindDirectChildrenOnly);
    for (QThread *worker : workers) {
        if (auto *bus = qobject_cast<MsgThread *>(worker))
            bus->stop();
        else if (auto *keys = qobject_cast<InputEventThread *>(worker))
            keys->stop();
    }
    for (QThread *worker : workers)
        worker->wait();
}
