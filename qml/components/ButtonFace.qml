import QtQuick 2.15

// A button with the face of the scene's buttons: raised, or lit in the accent colour (`lit`),
// darker while pressed, faded when disabled (the face, not its label), ringed when the keyboard
// is on it.
ButtonBase {
    id: face

    property bool lit: false
    property bool borderless: false

    function faded(c) {
        return face.enabled ? c : Qt.rgba(c.r, c.g, c.b, c.a * 0.4);
    }

    radius: Theme.radius
    color: faded(lit ? (down ? Theme.accentDim : Theme.accent) : (down ? Theme.pressed : Theme.raised))
    border.width: visualFocus ? 2 : (borderless ? 0 : 1)
    border.color: faded(visualFocus ? Theme.text : Theme.outline)
}
