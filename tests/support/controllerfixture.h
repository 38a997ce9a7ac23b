#pragma once

// Helpers for tests that construct the real controller, usually on a VirtualCard.
//
//     VirtualCard card;                                  // first: the controller reads it at once
//     ControllerFixture::Controller eq(1);               // "DebugLevel" 1, started
//     const QStringList lines = ControllerFixture::traces([&] { eq->changeMode(0); });
//     QCOMPARE(lines, QStringList{"changMode cmd: amixer sset \"User PEQ Switch Mode\" 0"});
//     QCOMPARE(card.commands(), QStringList{ControllerFixture::redirected(
//                                   "amixer sset \"User PEQ Switch Mode\" 0")});
//     QCOMPARE(eq.stored("ProfileId").toInt(), 2);
//
// Controller keeps the settings file and its lock in a temporary folder of its own and points the
// key device at a file that does not exist, so the key thread ends at once; with the test
// environment's unreachable system bus the bus thread ends at once too. start() waits for both, so
// their start-up lines are out before a test captures standard output. Settings handed to the
// constructor (or bytes given to writeFile()) are what the controller finds when it starts.
// stored() reads the file back with a store of its own, after the running controller's store has
// been written out.
//
// SignalLog lists every signal of the controller's own class, in the order emitted, as
// "name(arguments)": "currentModeIdxChanged(2)", "gainChanged()", "currentCvcModeChanged(true)".
//
// loadGains() and shownGains() put gains on the card's PEQ "User" and read what the controller shows;
// recording() is a user-profile entry as the controller stores it; Write is a table column that
// calls one writer of the controller.
//
// traces() keeps only the controller's own lines ("<Equalizer>" and the message; the tag is
// removed): the worker threads tag theirs differently. Both capture helpers close the capture
// before they return, so that a failing comparison is reported where it can be seen.

#include "equalizer/equalizer.h"
#include "support/virtualcard.h"

#include <QStringList>
#include <QTemporaryDir>
#include <QVariantMap>

#include <functional>
#include <memory>

namespace ControllerFixture {

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

// The 29 reads that end every profile application, in their order (PEQ "User").
QStringList profileReadBack();

// The user-profile entry of these commands: each under the command up to its last blank.
QVariantHash recording(const QStringList &cmds);

// Master and band gains in dB, in that order (11 values).
QList<int> shownGains(const Equalizer &equalizer);
// Puts them on PEQ "User" of the card, lets the controller read them back, then clears the logs.
void loadGains(VirtualCard &card, Equalizer &equalizer, const QList<int> &gains);

// The values of the object's own properties.
QVariantMap properties(const QObject &object);

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
    // A controller started on a file that holds only "DebugLevel".
    explicit Controller(int debugLevel);
    ~Controller();

    Controller(const Controller &) = delete;
    Controller &operator=(const Controller &) = delete;

    // Replaces the settings file with exactly these bytes; call it before start().
    void writeFile(const QByteArray &content);
    Equalizer &start();
    // Destroys the controller; its store is written out.
    void stop();

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
