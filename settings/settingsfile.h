#pragma once

#include <QString>

class QObject;
class QSettings;

namespace SettingsFile {

constexpr const char path[] = "/var/lib/equalizer/Equalizer.conf";
constexpr const char lockPath[] = "/var/lib/equalizer/Equalizer.conf.lock";

// Removes a lock left behind by an earlier run (reporting it on standard output), then opens the
// store in the native INI format. Folder and file are left to the store to create.
QSettings *open(const QString &path, const QString &lockPath, QObject *parent);

} // namespace SettingsFile
