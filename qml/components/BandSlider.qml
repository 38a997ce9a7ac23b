import QtQuick 2.15
import "../logic/format.js" as Format
import "../logic/scale.js" as Scale

// One column of the equaliser: the gain the controller reports on top, a vertical slider, and the
// band's name below, on the gain axis of scale.js. `yAt(dB)` is where the handle's centre stands
// for a gain, so the response curve and the scale beside the sliders can follow the same axis.
Item {
    id: column

    property int band: 0
    property alias shown: slider.shown
    property int from: -60
    property int to: 20
    property alias write: slider.write
    property string label
    property string unit
    property string accessibleLabel
    property bool emphasised: false
    readonly property alias pressed: slider.pressed
    readonly property real trackTop: slider.y + knob.height / 2
    readonly property real trackBottom: slider.y + slider.height - knob.height / 2

    signal stepDone(int band, int before, int after)

    function yAt(db) {
        return trackTop + (1 - Scale.position(db, from, to)) * (trackBottom - trackTop);
    }

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

    objectName: "band" + column.band

    WriteSlider {
        id: slider
        objectName: "band" + column.band + ":slider"
        anchors.top: valueText.bottom
        anchors.bottom: nameText.top
        anchors.topMargin: Math.round(Theme.spacing / 2)
        anchors.bottomMargin: Math.round(Theme.spacing / 2)
        anchors.horizontalCenter: parent.horizontalCenter
        width: Math.max(Theme.touch, column.width)
        vertical: true
        from: column.from
        to: column.to
        toPosition: function (db) { return Scale.position(db, column.from, column.to); }
        fromPosition: function (p) { return Scale.gainAt(p, column.from, column.to); }
        handle: knob
        Accessible.name: qsTr("%1, %2 dB").arg(column.accessibleLabel).arg(Format.signed(column.shown))
        onStepDone: column.stepDone(column.band, before, after)

        // The groove lit from 0 dB to the handle, so boost and cut read at a glance.
        SliderGroove {
            y: knob.height / 2
            width: parent.width
            height: parent.height - knob.height
            vertical: true
            fillFrom: Scale.position(0, column.from, column.to)
            fillTo: slider.visualPosition
            fillColor: column.emphasised ? Theme.warning : Theme.accent
        }
        Rectangle {
            id: knob
            anchors.horizontalCenter: parent.horizontalCenter
            y: (1 - slider.visualPosition) * (slider.height - height)
            width: Math.max(30, Math.round(46 * Theme.scale))
            height: Math.max(20, Math.round(28 * Theme.scale))
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
        // The same height in every column, so that all tracks line up.
        height: Math.round(Theme.fontCaption * (Theme.compact ? 1.2 : 2.3))
        verticalAlignment: Text.AlignTop
        horizontalAlignment: Text.AlignHCenter
        text: column.unit.length > 0 ? column.label + "\n" + column.unit : column.label
        lineHeight: 0.9
        color: Theme.textDim
        font.pixelSize: Theme.fontCaption
        elide: Text.ElideRight
    }
}
