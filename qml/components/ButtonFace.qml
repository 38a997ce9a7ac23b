import QtQuick 2.15

// The face of the scene's buttons: raised, or lit in the accent colour (`lit`), darker while
// pressed (`down`), dimmed when disabled, ringed when the keyboard is on it (`focused`).
// `holdProgress` (0..1) fills it while a press-and-hold runs.
Rectangle {
    property bool lit: false
    property bool down: false
    property bool focused: false
    property bool borderless: false
    property real holdProgress: 0

    radius: Theme.radius
    color: lit ? (down ? Theme.accentDim : Theme.accent) : (down ? Theme.pressed : Theme.raised)
    border.width: focused ? 2 : (borderless ? 0 : 1)
    border.color: focused ? Theme.text : Theme.outline
    opacity: enabled ? 1 : 0.4

    Rectangle {
        visible: parent.holdProgress > 0
        anchors.left: parent.left
        anchors.top: parent.top
        anchors.bottom: parent.bottom
        width: parent.width * parent.holdProgress
        radius: parent.radius
        color: Theme.warning
        opacity: 0.55
    }
}
