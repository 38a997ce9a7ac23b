import QtQuick 2.15

// A seat of the cabin seen from above, its occupant facing the front: cushion ahead of the
// backrest, the name below; the chosen one stands in a lit zone.
ButtonBase {
    id: seat

    property int seatId: 0
    property string seatName
    property bool chosen: false
    checkable: true
    checked: chosen

    objectName: "seat" + seatId

    Accessible.name: chosen ? qsTr("Sweet spot %1, selected").arg(seatName)
                            : qsTr("Sweet spot %1").arg(seatName)

    Rectangle {
        anchors.fill: parent
        radius: Theme.radius * 1.5
        color: seat.chosen ? Theme.accentZone : "transparent"
        border.width: seat.chosen || seat.visualFocus ? Math.max(2, Math.round(3 * Theme.scale)) : 0
        border.color: seat.visualFocus ? Theme.text : Theme.accent

        Item {
            anchors.horizontalCenter: parent.horizontalCenter
            y: Math.round(Theme.spacing / 2)
            width: Math.min(parent.width * 0.7, height * 0.8)
            height: parent.height - seatLabel.height - Theme.spacing * 1.5

            Rectangle {
                anchors.horizontalCenter: parent.horizontalCenter
                width: parent.width * 0.86
                height: parent.height * 0.66
                radius: Theme.radius * 1.5
                color: seat.chosen ? Theme.accent : (seat.down ? Theme.pressed : Theme.raised)
                border.width: 1
                border.color: seat.chosen ? Theme.accent : Theme.outline
            }
            Rectangle {
                anchors.horizontalCenter: parent.horizontalCenter
                anchors.bottom: parent.bottom
                width: parent.width
                height: parent.height * 0.26
                radius: Theme.radius
                color: seat.chosen ? Theme.accentDim : (seat.down ? Theme.pressed : Theme.raised)
                border.width: 1
                border.color: seat.chosen ? Theme.accent : Theme.outline
            }
        }
    }
    Item {
        anchors.fill: parent

        Text {
            id: seatLabel
            anchors.bottom: parent.bottom
            anchors.bottomMargin: Math.round(Theme.spacing / 2)
            width: parent.width
            text: seat.seatName
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.WordWrap
            maximumLineCount: 2
            elide: Text.ElideRight
            color: seat.chosen ? Theme.accent : Theme.text
            font.pixelSize: Theme.fontCaption
            font.weight: seat.chosen ? Font.DemiBold : Font.Normal
        }
    }
}
