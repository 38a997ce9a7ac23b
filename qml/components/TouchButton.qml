import QtQuick 2.15

// The scene's button for an action: at least one touch target in each direction, a visible
// pressed state, an optional line icon before the text; `primary` lights the one to press.
// Reached with the Tab key, not taken by a tap.
ButtonFace {
    id: control

    property bool primary: false
    property string iconPath
    // A little more room at the sides than above and below.
    readonly property real sidePadding: padding + 2

    implicitWidth: Math.max(Theme.touch, label.implicitWidth + 2 * sidePadding)
    implicitHeight: Theme.touch
    padding: Theme.spacing
    font.pixelSize: Theme.fontBody
    lit: primary

    Accessible.name: text

    ButtonLabel {
        id: label
        anchors.fill: parent
        anchors.leftMargin: control.sidePadding
        anchors.rightMargin: control.sidePadding
        anchors.topMargin: control.padding
        anchors.bottomMargin: control.padding
        text: control.text
        font: control.font
        maximumWidth: width
        iconPath: control.iconPath
        color: control.primary ? Theme.textOnAccent : Theme.text
    }
}
