import QtQuick 2.15

// A page of the scene, made when it is first shown and kept from then on. Pages nobody visits are
// never made: made ahead, the four hidden ones would add a tenth to the unit's resident memory.
Loader {
    id: loader

    property bool shown: false
    property bool allowed: true
    property bool made: false

    // A confirmation the page asks the scene to show.
    signal notify(string message)

    active: allowed && (shown || made)
    onShownChanged: made = made || shown
    Component.onCompleted: made = shown

    Connections {
        target: loader.item
        ignoreUnknownSignals: true
        function onNotify(message) { loader.notify(message); }
    }
}
