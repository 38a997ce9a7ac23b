import QtQuick 2.15
import QtQuick.Layouts 1.15
import "../components"
import "../logic/limits.js" as Limits

// The eight parameters of the bass enhancement block: its switch mode and seven tuning values.
Item {
    id: page

    objectName: "page:bass"

    // Values by parameter type, 0..7.
    readonly property var values: [DBEModeIdx, DBEXoverFC, DBEMixBalance, DBEEffectStrength,
                                   DBEAmpLimit, DBELPFC, DBEHPFC, DBEHarmContent]
    readonly property var names: [qsTr("Mode"), qsTr("Crossover"), qsTr("Mix balance"), qsTr("Effect strength"),
                                  qsTr("Amplifier limit"), qsTr("Low-pass"), qsTr("High-pass"), qsTr("Harmonic content")]

    function unitText(unit) {
        return unit === "Hz" ? qsTr("Hz") : qsTr("%");
    }

    Panel {
        anchors.fill: parent
        anchors.margins: Theme.margin

        ColumnLayout {
            anchors.fill: parent
            spacing: Theme.spacing

            // The block switches like an equaliser: mute, process or bypass.
            SegmentedPicker {
                objectName: "dbeMode"
                caption: page.names[0]
                model: ModeList
                currentIndex: DBEModeIdx
                onPicked: changeDBEParams(0, index)
            }

            GridLayout {
                Layout.fillWidth: true
                Layout.fillHeight: true
                columns: 2
                columnSpacing: Theme.margin * 2
                rowSpacing: Theme.spacing

                Repeater {
                    model: Limits.dbe

                    ValueRow {
                        Layout.fillWidth: true
                        Layout.alignment: Qt.AlignTop
                        objectPrefix: "dbe" + modelData.type
                        label: page.names[modelData.type]
                        unit: page.unitText(modelData.unit)
                        shown: page.values[modelData.type]
                        from: modelData.from
                        to: modelData.to
                        write: function (value) { return changeDBEParams(modelData.type, value); }
                    }
                }
            }
        }
    }
}
