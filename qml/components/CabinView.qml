import QtQuick 2.15
import QtQuick.Controls 2.15
import QtQuick.Shapes 1.15

// The cabin seen from above, front at the top, with its four seats as buttons. Seat n is the one
// nearest output channel n: 1 front left, 2 front right, 3 rear left, 4 rear right.
Item {
    id: cabin

    property int selected: -1
    property var seatNames: []

    signal picked(int seat)

    implicitWidth: 360
    implicitHeight: 520

    // The body keeps a car's proportions inside whatever space the page gives.
    readonly property real bodyHeight: Math.min(height, width / 0.62)
    readonly property real bodyWidth: bodyHeight * 0.62

    Item {
        id: body
        anchors.centerIn: parent
        width: cabin.bodyWidth
        height: cabin.bodyHeight

        Shape {
            anchors.fill: parent
            antialiasing: true
            ShapePath {
                fillColor: Theme.surface
                strokeColor: Theme.outline
                strokeWidth: 2
                startX: body.width * 0.28
                startY: 0
                PathLine { x: body.width - body.width * 0.28; y: 0 }
                PathQuad { x: body.width; y: body.width * 0.28; controlX: body.width; controlY: 0 }
                PathLine { x: body.width; y: body.height - body.width * 0.18 }
                PathQuad { x: body.width - body.width * 0.18; y: body.height; controlX: body.width; controlY: body.height }
                PathLine { x: body.width * 0.18; y: body.height }
                PathQuad { x: 0; y: body.height - body.width * 0.18; controlX: 0; controlY: body.height }
                PathLine { x: 0; y: body.width * 0.28 }
                PathQuad { x: body.width * 0.28; y: 0; controlX: 0; controlY: 0 }
            }
        }

        // Windscreen and rear window.
        Rectangle {
            x: parent.width * 0.12
            y: parent.height * 0.16
            width: parent.width * 0.76
            height: Math.max(6, parent.height * 0.045)
            radius: height / 2
            color: "#2a3a4a"
        }
        Rectangle {
            x: parent.width * 0.16
            y: parent.height * 0.9
            width: parent.width * 0.68
            height: Math.max(5, parent.height * 0.035)
            radius: height / 2
            color: "#2a3a4a"
        }
        Text {
            anchors.horizontalCenter: parent.horizontalCenter
            y: parent.height * 0.05
            text: qsTr("Front")
            color: Theme.textDim
            font.pixelSize: Theme.fontCaption
        }

        Grid {
            id: seats
            anchors.horizontalCenter: parent.horizontalCenter
            y: parent.height * 0.25
            columns: 2
            columnSpacing: parent.width * 0.08
            rowSpacing: parent.height * 0.06
            readonly property real seatWidth: Math.max(Theme.touch, (body.width * 0.8 - columnSpacing) / 2)
            readonly property real seatHeight: Math.max(Theme.touch, (body.height * 0.6 - rowSpacing) / 2)

            Repeater {
                model: 4

                AbstractButton {
                    id: seat
                    readonly property int seatId: index + 1
                    readonly property bool chosen: cabin.selected === seatId
                    readonly property string seatName: index < cabin.seatNames.length ? cabin.seatNames[index] : String(seatId)
                    objectName: "seat" + seatId
                    width: seats.seatWidth
                    height: seats.seatHeight
                    focusPolicy: Qt.NoFocus
                    Accessible.role: Accessible.RadioButton
                    Accessible.name: chosen ? qsTr("Sweet spot %1, selected").arg(seatName)
                                            : qsTr("Sweet spot %1").arg(seatName)
                    Accessible.checkable: true
                    Accessible.checked: chosen
                    onClicked: cabin.picked(seatId)

                    // The seat seen from above, its occupant facing the front: cushion ahead of
                    // the backrest, the name below; the chosen one stands in a lit zone.
                    background: Rectangle {
                        radius: Theme.radius * 1.5
                        color: seat.chosen ? "#2636c4f4" : "transparent"
                        border.width: seat.chosen ? Math.max(2, Math.round(3 * Theme.scale)) : 0
                        border.color: Theme.accent

                        Item {
                            id: shape
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
                    contentItem: Item {
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
            }
        }
    }
}
