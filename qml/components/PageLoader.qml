import QtQuick 2.15

// A page of the scene, made when it is first shown or, ahead of that, bit by bit in the idle time
// between frames once `early` is set; showing it while it is still being made finishes it at once.
// Once made it stays.
Loader {
    id: loader

    property bool shown: false
    property bool allowed: true
    property bool early: false
    property bool made: false

    // A confirmation the page asks the scene to show.
    signal notify(string message)

    active: allowed && (shown || made || early)
    asynchronous: !shown
    onShownChanged: made = made || shown
    Component.onCompleted: made = shown

    Connections {
        target: loader.item
        ignoreUnknownSignals: true
        function onNotify(message) { loader.notify(message); }
    }
}
