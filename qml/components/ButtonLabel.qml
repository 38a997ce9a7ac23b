import QtQuick 2.15

// The text of the scene's buttons, with an optional line icon before it, centred and cut short
// only where the button cannot grow (`maximumWidth`).
Item {
    id: label

    property string text
    property font font
    property string iconPath
    property color color: Theme.text
    property real maximumWidth: implicitWidth
    readonly property real gap: Math.round(Theme.spacing / 2)

    implicitWidth: (icon.visible ? icon.width + (caption.visible ? gap : 0) : 0) + (caption.visible ? caption.implicitWidth : 0)
    implicitHeight: Math.max(icon.visible ? icon.height : 0, caption.implicitHeight)

    Row {
        anchors.centerIn: parent
        spacing: label.gap

        // Made only for a button that has an icon: most have none.
        Loader {
            id: icon
            anchors.verticalCenter: parent.verticalCenter
            active: label.iconPath.length > 0
            visible: active
            sourceComponent: Icon {
                path: label.iconPath
                size: Math.round(Theme.touch * 0.45)
                color: label.color
            }
        }
        Text {
            id: caption
            anchors.verticalCenter: parent.verticalCenter
            visible: label.text.length > 0
            width: Math.min(implicitWidth, label.maximumWidth - (icon.visible ? icon.width + parent.spacing : 0))
            text: label.text
            font: label.font
            color: label.color
            horizontalAlignment: Text.AlignHCenter
            elide: Text.ElideRight
        }
    }
}
