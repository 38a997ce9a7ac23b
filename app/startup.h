#pragma once

class Equalizer;
class QtQuick2ApplicationViewer;

namespace Startup {

constexpr const char *mainQmlFile = "/usr/share/qml/equalizer/Equalizer_New.qml";

// Runs getopt_long_only over the command line and ignores every result: "platform" and "plugin"
// are the toolkit's own switches, read again by QGuiApplication. The parser may reorder argv.
void runOptionLoop(int argc, char **argv);

// Registers the list pointer type with the meta-type system so that QML sees the models.
void registerTypes();

// Makes the controller the root context object and publishes its six lists, before any scene is
// loaded, so that the scene's first evaluation finds them.
void publish(QtQuick2ApplicationViewer &viewer, Equalizer &equalizer);

// Loads the scene from its fixed path; a missing file leaves the window empty and says so on stderr.
void loadScene(QtQuick2ApplicationViewer &viewer, const char *path = mainQmlFile);

} // namespace Startup
