import QtQuick 2.15

// A raised surface with an optional title, grouping the controls of one subject.
Rectangle {
    id: panel

    property string title
    default property alias content: body.data

    radius: Theme.radius * 1.5
    color: Theme.surface
    border.width: 1
    border.color: Theme.divider

    Text {
        id: heading
        visible: panel.title.length > 0
        x: Theme.margin
        y: Math.round(Theme.spacing * 1.2)
        text: panel.title
        color: Theme.textDim
        font.pixelSize: Theme.fontCaption
        font.weight: Font.DemiBold
        font.capitalization: Font.AllUppercase
        font.letterSpacing: 1
    }

    Item {
        id: body
        anchors.fill: parent
        anchors.topMargin: heading.visible ? heading.y + heading.height + Theme.spacing : Theme.margin
        anchors.leftMargin: Theme.margin
        anchors.rightMargin: Theme.margin
        anchors.bottomMargin: Theme.margin
    }
}
