import QtQuick 2.15

// An entry of the side rail, a page tab: an icon over its name; the page on screen is marked by a
// bar and the accent colour, and selected for screen readers.
ButtonBase {
    id: control

    property string iconPath
    property bool current: false

    implicitWidth: Theme.railWidth
    implicitHeight: Math.max(Theme.touch, column.implicitHeight + 2 * Theme.spacing)
    Accessible.role: Accessible.PageTab
    Accessible.name: text
    Accessible.selectable: true
    Accessible.selected: current

    Rectangle {
        anchors.fill: parent
        color: control.down ? Theme.pressed : (control.current ? Theme.raised : "transparent")
        border.width: control.visualFocus ? 2 : 0
        border.color: Theme.text
        Rectangle {
            visible: control.current
            anchors.left: parent.left
            anchors.top: parent.top
            anchors.bottom: parent.bottom
            anchors.margins: Math.round(Theme.spacing / 2)
            width: Math.max(4, Math.round(5 * Theme.scale))
            radius: width / 2
            color: Theme.accent
        }
    }

    Item {
        anchors.fill: parent

        Column {
            id: column
            anchors.centerIn: parent
            width: parent.width - 8
            spacing: Math.round(Theme.spacing / 3)

            Icon {
                anchors.horizontalCenter: parent.horizontalCenter
                path: control.iconPath
                size: Math.round(Theme.touch * 0.5)
                color: control.current ? Theme.accent : Theme.textDim
            }
            Text {
                width: parent.width
                text: control.text
                horizontalAlignment: Text.AlignHCenter
                wrapMode: Text.WordWrap
                maximumLineCount: 2
                color: control.current ? Theme.text : Theme.textDim
                font.pixelSize: Theme.fontCaption
                font.weight: control.current ? Font.DemiBold : Font.Normal
            }
        }
    }
}
