import QtQuick 2.15
import QtQuick.Controls 2.15
import "../logic/format.js" as Format

// One column of the equaliser: the gain the controller reports on top, a vertical slider, and the
// band's name below. `trackTop` and `trackBottom` are where the handle's centre stands at `to` and
// at `from`, so the response curve behind the sliders can use the same scale.
Item {
    id: column

    property int band: 0
    property alias shown: slider.shown
    property alias from: slider.from
    property alias to: slider.to
    property alias write: slider.write
    property string label
    property string unit
    property string accessibleLabel
    property bool emphasised: false
    readonly property alias pressed: slider.pressed
    readonly property real trackTop: slider.y + slider.topPadding + slider.handle.height / 2
    readonly property real trackBottom: slider.y + slider.topPadding + slider.availableHeight - slider.handle.height / 2

    signal stepDone(int band, int from, int to)

    implicitWidth: Theme.touch

    Text {
        id: valueText
        anchors.top: parent.top
        anchors.horizontalCenter: parent.horizontalCenter
        text: Format.signed(column.shown)
        color: slider.pressed ? Theme.accent : Theme.text
        font.pixelSize: Theme.fontValue
        font.weight: Font.DemiBold
    }

    WriteSlider {
        id: slider
        objectName: "band" + column.band
        anchors.top: valueText.bottom
        anchors.bottom: nameText.top
        anchors.topMargin: Math.round(Theme.spacing / 2)
        anchors.bottomMargin: Math.round(Theme.spacing / 2)
        anchors.horizontalCenter: parent.horizontalCenter
        width: Math.max(Theme.touch, column.width)
        orientation: Qt.Vertical
        topPadding: 0
        bottomPadding: 0
        Accessible.name: qsTr("%1, %2 dB").arg(column.accessibleLabel).arg(Format.signed(column.shown))
        onStepDone: column.stepDone(column.band, from, to)

        background: Item {
            x: slider.leftPadding
            y: slider.topPadding
            width: slider.availableWidth
            height: slider.availableHeight

            // The track, and a bar from 0 dB to the handle, so boost and cut read at a glance.
            Rectangle {
                id: track
                anchors.horizontalCenter: parent.horizontalCenter
                y: slider.handle.height / 2
                width: Math.max(4, Math.round(6 * Theme.scale))
                height: parent.height - slider.handle.height
                radius: width / 2
                color: Theme.raised
                border.width: 1
                border.color: Theme.outline
            }
            Rectangle {
                readonly property real zero: slider.to === slider.from ? 0
                                             : (slider.to - Math.max(slider.from, Math.min(slider.to, 0))) / (slider.to - slider.from)
                readonly property real zeroY: track.y + zero * track.height
                readonly property real handleY: track.y + slider.visualPosition * track.height
                anchors.horizontalCenter: parent.horizontalCenter
                y: Math.min(zeroY, handleY)
                width: track.width
                height: Math.abs(zeroY - handleY)
                radius: width / 2
                color: column.emphasised ? Theme.warning : Theme.accent
            }
        }

        handle: Rectangle {
            x: slider.leftPadding + (slider.availableWidth - width) / 2
            y: slider.topPadding + slider.visualPosition * (slider.availableHeight - height)
            implicitWidth: Math.max(30, Math.round(46 * Theme.scale))
            implicitHeight: Math.max(20, Math.round(28 * Theme.scale))
            radius: Math.round(height / 3)
            color: slider.pressed ? Theme.accent : Theme.text
            border.width: 2
            border.color: column.emphasised ? Theme.warning : Theme.accent

            Rectangle {
                anchors.centerIn: parent
                width: parent.width * 0.5
                height: 2
                color: slider.pressed ? Theme.textOnAccent : Theme.background
            }
        }
    }

    Text {
        id: nameText
        anchors.bottom: parent.bottom
        anchors.horizontalCenter: parent.horizontalCenter
        width: parent.width
        // Two lines always, so every column's track has the same length as its neighbours'.
        height: Math.round(Theme.fontCaption * 2.3)
        verticalAlignment: Text.AlignTop
        horizontalAlignment: Text.AlignHCenter
        text: column.unit.length > 0 ? column.label + "\n" + column.unit : column.label
        lineHeight: 0.9
        color: Theme.textDim
        font.pixelSize: Theme.fontCaption
        elide: Text.ElideRight
    }
}
