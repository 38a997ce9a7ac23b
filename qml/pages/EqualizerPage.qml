import QtQuick 2.15
import QtQuick.Layouts 1.15
import "../components"
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
    property var bandRows: readBandRows()
    property var history: []
    readonly property var curveBands: bandRows.map(function (row, i) {
        return { freq: row.freq, gain: i < gains.length ? gains[i] : 0 };
    })

    // Names and centre frequencies of the bands, by their "name" and "bandfreq" roles.
    function readBandRows() {
        const rows = [];
        const count = Math.min(10, GainList.rowCount());
        for (let i = 0; i < count; ++i) {
            const index = GainList.index(i, 0);
            rows.push({ name: String(GainList.data(index, Qt.UserRole + 2)),
                        freq: Number(GainList.data(index, Qt.UserRole + 3)) });
        }
        return rows;
    }

    // [master, band 1, ..., band 10] as the controller holds them right now.
    function snapshot() {
        return [masterGain, gain1, gain2, gain3, gain4, gain5, gain6, gain7, gain8, gain9, gain10];
    }

    function record(changes) {
        history = Undo.record(history, currentPeqIdx, changes);
    }

    function applyPreset(id) {
        const before = snapshot();
        setToPreset(id);
        record(Undo.diff(before, snapshot()));
    }

    function savePreset(id, name) {
        saveToPresets(id);
        notify(activatedPresetId === id ? qsTr("Current gains saved to %1").arg(name)
                                        : qsTr("Could not save to %1").arg(name));
    }

    function resetBands() {
        const before = snapshot();
        resetGains();
        record(Undo.diff(before, snapshot()));
    }

    function undoLast() {
        history = Undo.undo(history, function (peq, band, gain) {
            if (currentPeqIdx !== peq)
                changePeq(peq);
            return changeGain(band, gain);
        });
    }

    // Gains marked beside the sliders: 0, the ends and the edges of the fine range, leaving out
    // any that would crowd a mark already placed.
    function scaleMarks(top, bottom) {
        const marks = [];
        const ys = [];
        for (const db of [0, maxGain, minGain, 12, -12]) {
            if (db > maxGain || db < minGain || marks.indexOf(db) >= 0)
                continue;
            const y = master.yAt(db);
            if (ys.every(function (other) { return Math.abs(other - y) >= Theme.fontCaption * 1.2; })) {
                marks.push(db);
                ys.push(y);
            }
        }
        return marks;
    }

    // The core type's read-back after a speaker switch is announced with the mode's signal, so
    // the highlight depends on both.
    function coreTypeShown(modeIdx, coreTypeIdx) {
        return coreTypeIdx;
    }

    Connections {
        target: GainList
        function onModelReset() {
            if (page.bandRows.length !== Math.min(10, GainList.rowCount()))
                page.bandRows = page.readBandRows();
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

            Item {
                id: sliders
                anchors.fill: parent

                readonly property real scaleWidth: Math.round(Theme.fontCaption * 2.8)
                readonly property real columnWidth: Math.floor((width - scaleWidth) / 11)

                BandSlider {
                    id: master
                    band: 0
                    width: sliders.columnWidth
                    height: parent.height
                    label: qsTr("Master")
                    shown: masterGain
                    from: minGain
                    to: maxGain
                    emphasised: true
                    accessibleLabel: qsTr("Master gain")
                    write: function (value) { return changeGain(0, value); }
                    onStepDone: page.record([{ band: band, from: before, to: after }])
                }

                // The gain axis, between the master and the bands.
                Item {
                    id: scale
                    x: master.width
                    width: sliders.scaleWidth
                    height: parent.height
                    Accessible.ignored: true

                    Rectangle {
                        x: 0
                        y: master.trackTop
                        width: 1
                        height: master.trackBottom - master.trackTop
                        color: Theme.outline
                    }
                    Repeater {
                        model: page.scaleMarks(master.trackTop, master.trackBottom)
                        Text {
                            anchors.right: parent.right
                            anchors.rightMargin: Math.round(Theme.spacing / 2)
                            y: master.yAt(modelData) - height / 2
                            text: modelData > 0 ? "+" + modelData : String(modelData)
                            color: modelData === 0 ? Theme.text : Theme.textDim
                            font.pixelSize: Theme.fontCaption
                        }
                    }
                    Text {
                        anchors.right: parent.right
                        anchors.rightMargin: Math.round(Theme.spacing / 2)
                        anchors.top: parent.top
                        text: qsTr("dB")
                        color: Theme.textDim
                        font.pixelSize: Theme.fontCaption
                    }
                }

                Item {
                    id: bandArea
                    x: master.width + sliders.scaleWidth
                    width: sliders.columnWidth * 10
                    height: parent.height

                    ResponseCurve {
                        objectName: "responseCurve"
                        anchors.fill: parent
                        bands: page.curveBands
                        from: minGain
                        to: maxGain
                        firstColumnX: sliders.columnWidth / 2
                        columnStep: sliders.columnWidth
                        topY: master.trackTop
                        bottomY: master.trackBottom
                    }

                    Row {
                        Repeater {
                            model: 10

                            BandSlider {
                                readonly property string name: index < page.bandRows.length ? page.bandRows[index].name : String(index + 1)
                                band: index + 1
                                width: sliders.columnWidth
                                height: bandArea.height
                                label: name
                                unit: Theme.compact ? "" : qsTr("Hz")
                                shown: page.gains[index]
                                from: minGain
                                to: maxGain
                                accessibleLabel: qsTr("Band %1 Hz").arg(name)
                                write: function (value) { return changeGain(band, value); }
                                onStepDone: page.record([{ band: band, from: before, to: after }])
                            }
                        }
                    }
                }
            }
        }

        RowLayout {
            Layout.fillWidth: true
            spacing: Theme.spacing

            Text {
                text: qsTr("Presets")
                color: Theme.textDim
                font.pixelSize: Theme.fontCaption
            }
            Repeater {
                model: PresetList

                PresetButton {
                    objectName: "preset:" + model.name
                    text: model.name
                    Layout.preferredWidth: Math.max(implicitWidth, Math.round(Theme.touch * 1.8))
                    selected: activatedPresetId === model.ID
                    Accessible.name: activatedPresetId === model.ID
                                     ? qsTr("Preset %1, active; hold to save").arg(model.name)
                                     : qsTr("Preset %1; hold to save").arg(model.name)
                    onClicked: page.applyPreset(model.ID)
                    onPressAndHold: page.savePreset(model.ID, model.name)
                }
            }
            Text {
                Layout.fillWidth: true
                text: qsTr("Hold to save")
                color: Theme.textDim
                font.pixelSize: Theme.fontCaption
                elide: Text.ElideRight
                visible: !Theme.compact
            }
            Item {
                Layout.fillWidth: true
                visible: Theme.compact
            }
            TouchButton {
                objectName: "undo"
                iconPath: Icons.undo
                text: page.history.length > 0 ? qsTr("Undo (%1)").arg(page.history.length) : qsTr("Undo")
                enabled: page.history.length > 0
                Accessible.name: qsTr("Undo, %n step(s) left", "", page.history.length)
                onClicked: page.undoLast()
            }
            TouchButton {
                objectName: "reset"
                iconPath: Icons.reset
                text: qsTr("Reset")
                Accessible.name: qsTr("Reset all bands to 0 dB")
                onClicked: page.resetBands()
            }
        }
    }
}
