import QtQuick 2.15
import QtQuick.Layouts 1.15

// A named raw value of the card: its name and the value the controller reports on one line (the
// finger's value while a drag runs), then a stepper that writes once on release.
ColumnLayout {
    id: row

    property string label
    property string unit
    property int shown: 0
    property int from: 0
    property int to: 100
    property var write: null
    property string objectPrefix: label

    readonly property string valueText: withUnit(shown)

    function withUnit(value) {
        return unit.length > 0 ? qsTr("%1 %2").arg(value).arg(unit) : String(value);
    }

    spacing: Math.round(Theme.spacing / 2)

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
            text: stepper.pressed ? row.withUnit(Math.round(stepper.draggedValue)) : row.valueText
            color: stepper.pressed ? Theme.accent : Theme.text
            font.pixelSize: Theme.fontValue
            font.weight: Font.DemiBold
        }
    }

    Stepper {
        id: stepper
        Layout.fillWidth: true
        objectPrefix: row.objectPrefix
        writeWhileDragging: false
        from: row.from
        to: row.to
        shown: row.shown
        write: row.write
        decreaseName: qsTr("Decrease %1, now %2").arg(row.label).arg(row.valueText)
        increaseName: qsTr("Increase %1, now %2").arg(row.label).arg(row.valueText)
        sliderName: qsTr("%1, %2").arg(row.label).arg(row.valueText)
    }
}
