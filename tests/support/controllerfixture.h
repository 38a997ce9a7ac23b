#pragma once

// Helpers for tests that construct the real controller.
//
//     QTemporaryDir dir;
//     Equalizer eq(nullptr, ControllerFixture::paths(dir));
//     ControllerFixture::waitForWorkers(eq);   // their start-up lines are printed before you capture
//
// paths() keeps the settings file and its lock in the given folder and points the key device at a
// file that does not exist, so the key thread ends at once; with the test environment's unreachable
// system bus the bus thread ends at once too.

#include "equalizer/equalizer.h"

#include <QTemporaryDir>

namespace ControllerFixture {

EqualizerPaths paths(const QTemporaryDir &dir);

// Waits until both worker threads have ended by themselves (no bus, no key device).
void waitForWorkers(Equalizer &equalizer);

} // namespace ControllerFixture
