import QtQuick 2.15
import QtQuick.Layouts 1.15
import "../logic/response.js" as Response

// How far the loudest point of the chain lies above 0 dB ("+5 dB over", in the warning colour) or
// below it ("3 dB headroom"), in whole decibels, and a button that sets the master gain to fit it
// under 0 dB. Hidden when there is nothing to fit on (no peak, or a value the controller could not
// read). A peak over 0 dB never reads "+0".
RowLayout {
    id: readout

    // {freq: Hz, db} of the loudest point, and the master gain that fits it (null: none).
    property var peak: null
    property var fit: null

    signal fitRequested(int gain)

    readonly property real level: peak ? Response.nearWhole(peak.db) : 0
    readonly property bool over: level > 0
    readonly property string text: over ? qsTr("+%1 dB over").arg(Math.max(1, Math.round(level)))
                                        : qsTr("%1 dB headroom").arg(Math.round(-level))

    visible: peak !== null && fit !== null
    spacing: Theme.spacing

    Text {
        objectName: "headroom"
        text: readout.text
        color: readout.over ? Theme.warning : Theme.textDim
        font.pixelSize: Theme.fontCaption
        font.weight: readout.over ? Font.DemiBold : Font.Normal
        Accessible.role: Accessible.StaticText
        Accessible.name: qsTr("%1; loudest point %2 dB at %3 Hz").arg(readout.text)
                         .arg(readout.peak ? readout.peak.db.toFixed(1) : "")
                         .arg(readout.peak ? Math.round(readout.peak.freq) : "")
    }
    TouchButton {
        objectName: "fit"
        text: qsTr("Fit")
        primary: readout.over && enabled
        enabled: readout.fit !== null && readout.fit !== masterGain
        Accessible.name: qsTr("Fit: master gain to %1 dB").arg(readout.fit)
        onClicked: readout.fitRequested(readout.fit)
    }
}
