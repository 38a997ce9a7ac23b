#include "support/controllerfixture.h"

#include <QThread>

namespace ControllerFixture {

EqualizerPaths paths(const QTemporaryDir &dir)
{
    EqualizerPaths paths;
    paths.settingsFile = dir.filePath(QStringLiteral("Equalizer.conf"));
    paths.settingsLock = paths.settingsFile + QStringLiteral(".lock");
    paths.keyDevice = dir.filePath(QStringLiteral("no-key-device"));
    return paths;
}

void waitForWorkers(Equalizer &equalizer)
{
    for (QThread *worker : equalizer.findChildren<QThread *>())
        worker->wait();
}

} // namespace ControllerFixture
