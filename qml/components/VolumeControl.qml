import QtQuick 2.15
import QtQuick.Layouts 1.15
import "../logic/limits.js" as Limits

// The main volume, on every page: a slider that writes as it moves, with step buttons and the
// value the controller reports.
RowLayout {
    id: volume

    property int shown: 0
    property var write: null

    spacing: Theme.spacing

    function nudge(delta) {
        const target = Math.max(Limits.volume.from, Math.min(Limits.volume.to, shown + delta));
        if (target !== shown && write)
            write(target);
    }

    Icon {
        Layout.alignment: Qt.AlignVCenter
        path: Icons.speaker
        size: Math.round(Theme.touch * 0.5)
        color: Theme.textDim
        visible: !Theme.compact
    }
    TouchButton {
        objectName: "volume:decrease"
        text: "\u2212"
        font.pixelSize: Theme.fontTitle
        autoRepeat: true
        Accessible.name: qsTr("Volume down, now %1").arg(volume.shown)
        onClicked: volume.nudge(-1)
    }
    HorizontalSlider {
        id: slider
        objectName: "volume"
        Layout.fillWidth: true
        Layout.preferredHeight: Theme.touch
        from: Limits.volume.from
        to: Limits.volume.to
        shown: volume.shown
        write: volume.write
        Accessible.name: qsTr("Volume, %1").arg(volume.shown)
    }
    TouchButton {
        objectName: "volume:increase"
        text: "+"
        font.pixelSize: Theme.fontTitle
        autoRepeat: true
        Accessible.name: qsTr("Volume up, now %1").arg(volume.shown)
        onClicked: volume.nudge(1)
    }
    Text {
        Layout.preferredWidth: Math.round(Theme.fontValue * 2.2)
        horizontalAlignment: Text.AlignRight
        text: String(volume.shown)
        color: Theme.text
        font.pixelSize: Theme.fontValue
        font.weight: Font.DemiBold
        Accessible.ignored: true
    }
}
