import QtQuick 2.15
import QtQuick.Layouts 1.15

// A named raw value of the card: its name and the value the controller reports on one line, then
// a slider between a decrease and an increase button. The buttons repeat while held; each step is
// one write. The slider writes once on release unless `writeWhileDragging` is set.
ColumnLayout {
    id: row

    property string label
    property string unit
    property int shown: 0
    property int from: 0
    property int to: 100
    property var write: null
    property alias writeWhileDragging: slider.writeWhileDragging
    property string objectPrefix: label

    readonly property string valueText: unit.length > 0 ? qsTr("%1 %2").arg(shown).arg(unit) : String(shown)

    spacing: Math.round(Theme.spacing / 2)

    function nudge(delta) {
        const target = Math.max(from, Math.min(to, shown + delta));
        if (target !== shown && write)
            write(target);
    }

    RowLayout {
        Layout.fillWidth: true
        Layout.leftMargin: Math.round(Theme.spacing / 2)
        Layout.rightMargin: Math.round(Theme.spacing / 2)

        Text {
            Layout.fillWidth: true
            text: row.label
            color: Theme.text
            font.pixelSize: Theme.fontBody
            elide: Text.ElideRight
        }
        Text {
            text: slider.pressed && !slider.writeWhileDragging
                  ? (row.unit.length > 0 ? qsTr("%1 %2").arg(Math.round(slider.value)).arg(row.unit) : String(Math.round(slider.value)))
                  : row.valueText
            color: slider.pressed ? Theme.accent : Theme.text
            font.pixelSize: Theme.fontValue
            font.weight: Font.DemiBold
        }
    }

    RowLayout {
        Layout.fillWidth: true
        spacing: Theme.spacing

        TouchButton {
            objectName: row.objectPrefix + ":decrease"
            text: "\u2212"
            font.pixelSize: Theme.fontTitle
            autoRepeat: true
            enabled: row.shown > row.from
            Accessible.name: qsTr("Decrease %1, now %2").arg(row.label).arg(row.valueText)
            onClicked: row.nudge(-1)
        }
        HorizontalSlider {
            id: slider
            objectName: row.objectPrefix + ":slider"
            Layout.fillWidth: true
            Layout.preferredHeight: Theme.touch
            from: row.from
            to: row.to
            shown: row.shown
            write: row.write
            writeWhileDragging: false
            Accessible.name: qsTr("%1, %2").arg(row.label).arg(row.valueText)
        }
        TouchButton {
            objectName: row.objectPrefix + ":increase"
            text: "+"
            font.pixelSize: Theme.fontTitle
            autoRepeat: true
            enabled: row.shown < row.to
            Accessible.name: qsTr("Increase %1, now %2").arg(row.label).arg(row.valueText)
            onClicked: row.nudge(1)
        }
    }
}
