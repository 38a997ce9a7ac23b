#include "settings/settingsfile.h"

#include <QFile>
#include <QSettings>

#include <cstdio>

namespace SettingsFile {

QSettings *open(const QString &path, const QString &lockPath, QObject *parent)
{
    QFile lock(lockPath);
    if (lock.exists()) {
        puts("Warn, Equalizer.conf.lcok exists, remove it");
        lock.remove();
    }
    return new QSettings(path, QSettings::NativeFormat, parent);
}

} // namespace SettingsFile
