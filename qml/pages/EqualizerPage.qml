import QtQml 2.15
import QtQuick 2.15
import QtQuick.Layouts 1.15
import "../components"
import "../logic/response.js" as Response
import "../logic/undo.js" as Undo

// The equaliser of the chosen speaker set: its mode and core type, the master gain, ten bands over
// their frequency response, the presets, reset and undo.
Item {
    id: page

    objectName: "page:equalizer"

    // A confirmation for the root to show.
    signal notify(string message)

    // Band gains as the controller reports them. A fixed list of ten rather than a view over the
    // band list: the list resets on every gain change, and sliders must survive that mid-drag.
    readonly property var gains: [gain1, gain2, gain3, gain4, gain5, gain6, gain7, gain8, gain9, gain10]
    // Names and centre frequencies of the bands, read again only when the number of rows changes.
    readonly property var bandRows: readBandRows(bandList.count)
    // The bands as the curve and the peak take them, [{freq, gain}].
    readonly property var bands: bandRows.map(function (row, i) { return { freq: row.freq, gain: gains[i] }; })
    readonly property var peak: Response.peak(bands, masterGain)
    property var history: []

    function readBandRows(count) {
        const rows = [];
        for (let i = 0; i < Math.min(10, count); ++i)
            rows.push({ name: bandList.objectAt(i).name, freq: bandList.objectAt(i).freq });
        return rows;
    }

    // [master, band 1, ..., band 10] as the controller holds them right now.
    function snapshot() {
        return [masterGain, gain1, gain2, gain3, gain4, gain5, gain6, gain7, gain8, gain9, gain10];
    }

    // Runs a change of several bands as one undo step.
    function edit(act) {
        history = Undo.around(history, currentPeqIdx, snapshot, act);
    }

    function record(band, before, after) {
        history = Undo.record(history, currentPeqIdx, [{ band: band, from: before, to: after }]);
    }

    function undoLast() {
        history = Undo.undoOn(history, {
            peq: function () { return currentPeqIdx; },
            changePeq: function (peq) { changePeq(peq); },
            gain: function (band) { return snapshot()[band]; },
            changeGain: function (band, gain) { return changeGain(band, gain); }
        });
    }

    function savePreset(id, name) {
        saveToPresets(id);
        notify(activatedPresetId === id ? qsTr("Current gains saved to %1").arg(name)
                                        : qsTr("Could not save to %1").arg(name));
    }

    // The core type's read-back after a speaker switch is announced with the mode's signal, so
    // the highlight depends on both.
    function coreTypeShown(modeIdx, coreTypeIdx) {
        return coreTypeIdx;
    }

    // The band list's rows by their role names.
    Instantiator {
        id: bandList
        model: GainList
        delegate: QtObject {
            readonly property string name: model.name
            readonly property int freq: model.bandfreq
        }
    }

    ColumnLayout {
        anchors.fill: parent
        anchors.margins: Theme.margin
        spacing: Theme.spacing

        Flow {
            Layout.fillWidth: true
            spacing: Theme.spacing

            SegmentedPicker {
                objectName: "speakers"
                caption: qsTr("Speakers")
                model: PEQList
                currentIndex: currentPeqIdx
                onPicked: changePeq(index)
            }
            SegmentedPicker {
                objectName: "mode"
                visible: !DemoMode
                caption: qsTr("Mode")
                model: ModeList
                currentIndex: currentModeIdx
                onPicked: changeMode(index)
            }
            SegmentedPicker {
                objectName: "coreType"
                visible: !DemoMode
                caption: qsTr("Core")
                model: CoreTypeList
                currentIndex: page.coreTypeShown(currentModeIdx, currentCoreTypeIdx)
                onPicked: changeCoreType(index)
            }
        }

        Panel {
            Layout.fillWidth: true
            Layout.fillHeight: true

            GainBoard {
                anchors.fill: parent
                gains: page.gains
                bandRows: page.bandRows
                bands: page.bands
                onStepDone: page.record(band, before, after)
            }
        }

        RowLayout {
            Layout.fillWidth: true
            spacing: Theme.margin

            // Beside the master, whose gain it sets: one write, one undo step, as a drag of it.
            HeadroomReadout {
                peak: page.peak
                fit: Response.fit(page.peak, page.bands, masterGain, minGain, maxGain)
                onFitRequested: page.edit(function () { changeGain(0, gain); })
            }
            PresetBar {
                Layout.fillWidth: true
                undoSteps: page.history.length
                onApplyRequested: page.edit(function () { setToPreset(id); })
                onSaveRequested: page.savePreset(id, name)
                onUndoRequested: page.undoLast()
                onResetRequested: page.edit(function () { resetGains(); })
            }
        }
    }
}
