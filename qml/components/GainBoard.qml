import QtQuick 2.15

// The master gain, the gain axis and the ten bands over their frequency response, all on the
// master's gain axis. Each slider gesture is reported as `stepDone`, for undo.
Item {
    id: board

    // The ten band gains, their names and centre frequencies ([{name, freq}]), and both together
    // for the curve ([{freq, gain}]).
    property var gains: []
    property var bandRows: []
    property var bands: []

    readonly property real scaleWidth: Math.round(Theme.fontCaption * 2.8)
    readonly property real columnWidth: Math.floor((width - scaleWidth) / 11)

    signal stepDone(int band, int before, int after)

    BandSlider {
        id: master
        band: 0
        width: board.columnWidth
        height: parent.height
        label: qsTr("Master")
        shown: masterGain
        from: minGain
        to: maxGain
        emphasised: true
        accessibleLabel: qsTr("Master gain")
        write: function (value) { return changeGain(0, value); }
        onStepDone: board.stepDone(band, before, after)
    }

    GainScale {
        x: master.width
        width: board.scaleWidth
        height: parent.height
        from: minGain
        to: maxGain
        trackTop: master.trackTop
        trackBottom: master.trackBottom
    }

    Item {
        id: bandArea
        x: master.width + board.scaleWidth
        width: board.columnWidth * 10
        height: parent.height

        ResponseCurve {
            objectName: "responseCurve"
            anchors.fill: parent
            bands: board.bands
            master: masterGain
            from: minGain
            to: maxGain
            firstColumnX: board.columnWidth / 2
            columnStep: board.columnWidth
            topY: master.trackTop
            bottomY: master.trackBottom
        }

        Row {
            Repeater {
                model: 10

                BandSlider {
                    readonly property string name: index < board.bandRows.length ? board.bandRows[index].name : String(index + 1)
                    band: index + 1
                    width: board.columnWidth
                    height: bandArea.height
                    label: name
                    unit: Theme.compact ? "" : qsTr("Hz")
                    shown: board.gains[index]
                    from: minGain
                    to: maxGain
                    accessibleLabel: qsTr("Band %1 Hz").arg(name)
                    write: function (value) { return changeGain(band, value); }
                    onStepDone: board.stepDone(band, before, after)
                }
            }
        }
    }
}
