#pragma once

#include <QString>

class QObject;
class QSettings;

namespace SettingsFile {

constexpr const char path[] = "/var/lib/equalizer/Equalizer.conf";
constexpr const char lockPath[] = "/var/lib/equalizer/Equalizer.conf.lock";

// Removes a lock left behind by an earlier run (reporting it on standard output), then opens the
// store in the native INI format. Folder and file are left to the store to create.
// What the store cannot survive is dealt with first, each time with one line on standard error: a
// FIFO, device or folder at either path is moved aside to "<path>.damaged-<UTC time>"; a damaged
// file (see IniCheck) is copied to such a name and written back without its damaged lines. When
// that fails the store starts empty and saves nothing.
QSettings *open(const QString &path, const QString &lockPath, QObject *parent);

} // namespace SettingsFile
