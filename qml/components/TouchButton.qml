import QtQuick 2.15
import QtQuick.Controls 2.15

// The scene's button: at least one touch target in each direction, a visible pressed state, and a
// selected state for pickers; an optional line icon before the text. `holdProgress` (0..1) fills
// the button while a press-and-hold runs.
Button {
    id: control

    property bool selected: false
    // Pickers are announced as checkable choices; plain actions are not.
    property bool selectable: false
    property bool primary: false
    property real holdProgress: 0
    property string iconPath
    property color textColor: selected || primary ? Theme.textOnAccent : Theme.text

    implicitWidth: Math.max(Theme.touch, contentItem.implicitWidth + leftPadding + rightPadding)
    implicitHeight: Theme.touch
    padding: Theme.spacing
    leftPadding: Theme.spacing
    rightPadding: Theme.spacing
    font.pixelSize: Theme.fontBody
    font.weight: selected ? Font.DemiBold : Font.Normal
    focusPolicy: Qt.NoFocus

    Accessible.name: text
    Accessible.checkable: selectable
    Accessible.checked: selected

    contentItem: Item {
        readonly property real gap: Math.round(Theme.spacing / 2)
        implicitWidth: (icon.visible ? icon.width + (label.visible ? gap : 0) : 0) + (label.visible ? label.implicitWidth : 0)
        implicitHeight: Math.max(icon.visible ? icon.height : 0, label.implicitHeight)

        Row {
            anchors.centerIn: parent
            spacing: parent.gap

            Icon {
                id: icon
                anchors.verticalCenter: parent.verticalCenter
                visible: control.iconPath.length > 0
                path: control.iconPath
                size: Math.round(Theme.touch * 0.45)
                color: control.textColor
            }
            Text {
                id: label
                anchors.verticalCenter: parent.verticalCenter
                visible: text.length > 0
                width: Math.min(implicitWidth, control.availableWidth - (icon.visible ? icon.width + parent.spacing : 0))
                text: control.text
                font: control.font
                color: control.textColor
                horizontalAlignment: Text.AlignHCenter
                elide: Text.ElideRight
            }
        }
    }

    background: Rectangle {
        radius: Theme.radius
        color: control.selected || control.primary
               ? (control.down ? Theme.accentDim : Theme.accent)
               : (control.down ? Theme.pressed : Theme.raised)
        border.width: control.selected ? 0 : 1
        border.color: Theme.outline
        opacity: control.enabled ? 1 : 0.4

        Rectangle {
            visible: control.holdProgress > 0
            anchors.left: parent.left
            anchors.top: parent.top
            anchors.bottom: parent.bottom
            width: parent.width * control.holdProgress
            radius: parent.radius
            color: Theme.warning
            opacity: 0.55
        }
    }
}
