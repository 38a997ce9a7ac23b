import QtQuick 2.15
import QtQuick.Layouts 1.15
import "../logic/limits.js" as Limits

// The main volume, on every page: a stepper that writes as it moves, with the value the
// controller reports.
RowLayout {
    id: volume

    property int shown: 0
    property var write: null

    spacing: Theme.spacing

    Icon {
        Layout.alignment: Qt.AlignVCenter
        path: Icons.speaker
        size: Math.round(Theme.touch * 0.5)
        color: Theme.textDim
        visible: !Theme.compact
    }
    Stepper {
        Layout.fillWidth: true
        objectPrefix: "volume"
        sliderObjectName: "volume"
        showsValue: true
        from: Limits.volume.from
        to: Limits.volume.to
        shown: volume.shown
        write: volume.write
        decreaseName: qsTr("Volume down, now %1").arg(volume.shown)
        increaseName: qsTr("Volume up, now %1").arg(volume.shown)
        sliderName: qsTr("Volume, %1").arg(volume.shown)
    }
}
