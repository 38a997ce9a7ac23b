import QtQuick 2.15
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
            color: Theme.glass
        }
        Rectangle {
            x: parent.width * 0.16
            y: parent.height * 0.9
            width: parent.width * 0.68
            height: Math.max(5, parent.height * 0.035)
            radius: height / 2
            color: Theme.glass
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

                CabinSeat {
                    seatId: index + 1
                    seatName: index < cabin.seatNames.length ? cabin.seatNames[index] : String(seatId)
                    chosen: cabin.selected === seatId
                    width: seats.seatWidth
                    height: seats.seatHeight
                    onClicked: cabin.picked(seatId)
                }
            }
        }
    }
}
