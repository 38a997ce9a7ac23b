import QtQuick 2.15
import QtQuick.Controls 2.15

// The scene's button for an action: at least one touch target in each direction, a visible
// pressed state, an optional line icon before the text; `primary` lights the one to press.
// Reached with the Tab key, not taken by a tap.
Button {
    id: control

    property bool primary: false
    property string iconPath

    implicitWidth: Math.max(Theme.touch, contentItem.implicitWidth + leftPadding + rightPadding)
    implicitHeight: Theme.touch
    padding: Theme.spacing
    font.pixelSize: Theme.fontBody
    focusPolicy: Qt.TabFocus

    Accessible.name: text

    contentItem: ButtonLabel {
        text: control.text
        font: control.font
        maximumWidth: control.availableWidth
        iconPath: control.iconPath
        color: control.primary ? Theme.textOnAccent : Theme.text
    }
    background: ButtonFace {
        lit: control.primary
        down: control.down
        focused: control.visualFocus
    }
}
