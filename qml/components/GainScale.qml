import QtQuick 2.15
import "../logic/scale.js" as Scale

// The gain axis between the master and the bands: a line along the handles' travel, from
// `trackTop` (at `to`) to `trackBottom` (at `from`), and the gains marked on it.
Item {
    id: gainAxis

    property int from: -60
    property int to: 20
    property real trackTop: 0
    property real trackBottom: height

    function yAt(db) {
        return trackTop + (1 - Scale.position(db, from, to)) * (trackBottom - trackTop);
    }

    Accessible.ignored: true

    Rectangle {
        x: 0
        y: gainAxis.trackTop
        width: 1
        height: gainAxis.trackBottom - gainAxis.trackTop
        color: Theme.outline
    }
    Repeater {
        model: Scale.marks(gainAxis.from, gainAxis.to, gainAxis.yAt, Theme.fontCaption * 1.2)
        Text {
            anchors.right: parent.right
            anchors.rightMargin: Math.round(Theme.spacing / 2)
            y: gainAxis.yAt(modelData) - height / 2
            text: modelData > 0 ? "+" + modelData : String(modelData)
            color: modelData === 0 ? Theme.text : Theme.textDim
            font.pixelSize: Theme.fontCaption
        }
    }
    Text {
        anchors.right: parent.right
        anchors.rightMargin: Math.round(Theme.spacing / 2)
        anchors.top: parent.top
        text: qsTr("dB")
        color: Theme.textDim
        font.pixelSize: Theme.fontCaption
    }
}
