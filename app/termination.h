#pragma once

class QCoreApplication;

namespace Termination {

// Makes SIGTERM, SIGINT and SIGHUP quit the event loop, so that the program ends through its
// normal shutdown: pending settings written, worker threads joined, exit status 0. A signal that
// comes before the loop runs takes effect as soon as it does; a second one ends the program at once.
void quitOnSignals(QCoreApplication &app);

} // namespace Termination
