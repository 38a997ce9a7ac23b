#pragma once

// Helpers for tests that construct the real controller, usually on a VirtualCard (made first: the
// controller reads it at once). Controller keeps its settings file and lock in a temporary folder
// and points the key device at a missing file; with the test environment's unreachable system bus
// both worker threads end at once, and start() waits for them, so their start-up lines are out
// before a test captures standard output. The capture helpers close the capture before they
// return, so that a failing comparison is reported where it can be seen.

#include "equalizer/equalizer.h"
#include "support/virtualcard.h"

#include <QStringList>
#include <QTemporaryDir>
#include <QVariantMap>

#include <functional>
#include <memory>

namespace ControllerFixture {

// A table column that calls one writer of the controller.
using Write = std::function<bool(Equalizer &)>;

EqualizerPaths paths(const QTemporaryDir &dir);

// Waits until both worker threads have ended by themselves (no bus, no key device).
void waitForWorkers(Equalizer &equalizer);

// What the action wrote to the descriptor (1: standard output, 2: standard error).
QByteArray output(const std::function<void()> &action, int fd = 1);

// The controller's trace lines, tag removed: in text from standard output, or written while action ran.
QStringList traceLines(const QByteArray &out);
QStringList traces(const std::function<void()> &action);

// A write as the runner runs it below debug level 4.
QString redirected(const QString &cmd);

// The user-profile entry of these commands: each under the command up to its last blank.
QVariantHash recording(const QStringList &cmds);

// The values of the object's own properties.
QVariantMap properties(const QObject &object);

// Every signal of the sender's own class, in the order emitted, as "name(arguments)":
// "currentModeIdxChanged(2)", "gainChanged()".
class SignalLog : public QObject
{
public:
    explicit SignalLog(QObject *sender);
    // The signals since construction or the last take().
    QStringList take();
    int qt_metacall(QMetaObject::Call call, int id, void **args) override;

private:
    QObject *sender;
    QStringList log;
};

class Controller
{
public:
    // Writes the settings, then starts the controller unless start is false.
    explicit Controller(const QVariantMap &settings = QVariantMap(), bool start = true);
    ~Controller();

    Controller(const Controller &) = delete;
    Controller &operator=(const Controller &) = delete;

    // Replaces the settings file with exactly these bytes; call it before start().
    void writeFile(const QByteArray &content);
    Equalizer &start();

    Equalizer *get() const { return eq.get(); }
    Equalizer *operator->() const { return eq.get(); }
    Equalizer &operator*() const { return *eq; }

    QVariant stored(const QString &key) const;
    QVariantMap storedAll() const;

    const QTemporaryDir dir;
    const EqualizerPaths paths;

private:
    std::unique_ptr<Equalizer> eq;
};

} // namespace ControllerFixture

Q_DECLARE_METATYPE(ControllerFixture::Write)
