import QtQuick 2.15
import QtQuick.Layouts 1.15

// The presets (a tap applies one, a hold saves the gains now shown into it), undo and reset. Save
// offers the same without the hold: after it, the next preset tapped is saved into. The bar only
// asks; the page does the work.
RowLayout {
    id: bar

    property int undoSteps: 0
    property bool saving: false

    signal applyRequested(int id)
    signal saveRequested(int id, string name)
    signal undoRequested()
    signal resetRequested()

    spacing: Theme.spacing

    Text {
        visible: Theme.scale > 0.9
        text: qsTr("Presets")
        color: Theme.textDim
        font.pixelSize: Theme.fontCaption
    }
    Repeater {
        model: PresetList

        PresetButton {
            objectName: "preset:" + model.name
            text: model.name
            Layout.preferredWidth: Math.max(implicitWidth, Math.round(Theme.touch * (Theme.compact ? 1.3 : 1.5)))
            selected: activatedPresetId === model.ID
            Accessible.name: bar.saving ? qsTr("Save to preset %1").arg(model.name)
                                        : activatedPresetId === model.ID
                                          ? qsTr("Preset %1, active; hold to save").arg(model.name)
                                          : qsTr("Preset %1; hold to save").arg(model.name)
            onClicked: {
                if (bar.saving)
                    bar.saveRequested(model.ID, model.name);
                else
                    bar.applyRequested(model.ID);
                bar.saving = false;
            }
            onPressAndHold: {
                bar.saving = false;
                bar.saveRequested(model.ID, model.name);
            }
        }
    }
    TouchButton {
        objectName: "savePreset"
        iconPath: Icons.save
        text: Theme.compact ? "" : (bar.saving ? qsTr("Cancel") : qsTr("Save"))
        primary: bar.saving
        Accessible.name: bar.saving ? qsTr("Cancel saving") : qsTr("Save the gains into a preset")
        onClicked: bar.saving = !bar.saving
    }
    Item {
        Layout.fillWidth: true
    }
    TouchButton {
        objectName: "undo"
        iconPath: Icons.undo
        // On a small screen the icon stands for the word.
        text: Theme.compact ? (bar.undoSteps > 0 ? String(bar.undoSteps) : "")
                            : (bar.undoSteps > 0 ? qsTr("Undo (%1)").arg(bar.undoSteps) : qsTr("Undo"))
        enabled: bar.undoSteps > 0
        Accessible.name: qsTr("Undo, %n step(s) left", "", bar.undoSteps)
        onClicked: bar.undoRequested()
    }
    TouchButton {
        objectName: "reset"
        iconPath: Icons.reset
        text: Theme.compact ? "" : qsTr("Reset")
        Accessible.name: qsTr("Reset all bands to 0 dB")
        onClicked: bar.resetRequested()
    }
}
