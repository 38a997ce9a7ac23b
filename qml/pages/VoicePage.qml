import QtQuick 2.15
import QtQuick.Layouts 1.15
import "../components"
import "../logic/limits.js" as Limits

// Voice-call processing: clear voice on or off, the two-microphone mode, and the raw send and
// receive modes for the installer.
Item {
    id: page

    objectName: "page:voice"

    readonly property var offOn: [qsTr("Off"), qsTr("On")]

    // One row per setting: its picker's name, title, description and choices (`wide` for a switch).
    readonly property var settings: [
        { key: "cvc", title: qsTr("Clear voice"), description: qsTr("Echo and noise reduction on both call paths"),
          choices: offOn, wide: true },
        { key: "twoMic", title: qsTr("Two microphones"), description: qsTr("A second microphone to reject cabin noise"),
          choices: offOn, wide: true },
        { key: "sendMode", title: qsTr("Send mode"), description: qsTr("Processing of the microphone path"),
          choices: Limits.voiceModes, wide: false },
        { key: "receiveMode", title: qsTr("Receive mode"), description: qsTr("Processing of the loudspeaker path"),
          choices: Limits.voiceModes, wide: false }
    ]
    // The choice each row shows, kept apart so that a change does not rebuild the rows. Switching
    // clear voice changes both modes but announces only itself; this list reads them again then.
    readonly property var chosen: [cvcMode ? 1 : 0, twoMicMode ? 1 : 0,
                                   Limits.voiceModes.indexOf(currentCvcSendModeIdx),
                                   Limits.voiceModes.indexOf(currentCvcRecvModeIdx)]

    function pick(key, index) {
        switch (key) {
        case "cvc": changeCvcMode(index === 1); break;
        case "twoMic": changeTwoMicMode(index === 1); break;
        case "sendMode": changeCvcSendMode(Limits.voiceModes[index]); break;
        case "receiveMode": changeCvcRecvMode(Limits.voiceModes[index]); break;
        }
    }

    Panel {
        anchors.fill: parent
        anchors.margins: Theme.margin

        // Labels in the first column, pickers in the second, one row per setting.
        GridLayout {
            id: grid
            anchors.left: parent.left
            anchors.right: parent.right
            columns: 2
            columnSpacing: Theme.margin * 2
            rowSpacing: Theme.margin

            Repeater {
                model: page.settings

                SettingLabel {
                    Layout.row: index
                    Layout.column: 0
                    Layout.preferredWidth: Math.round(grid.width * 0.36)
                    title: modelData.title
                    description: modelData.description
                }
            }
            Repeater {
                model: page.settings

                SegmentedPicker {
                    Layout.row: index
                    Layout.column: 1
                    objectName: modelData.key
                    accessibleCaption: modelData.title
                    model: modelData.choices
                    labelFor: function (choice) { return String(choice); }
                    minimumSegmentWidth: modelData.wide ? Theme.touch * 2 : Theme.touch
                    currentIndex: page.chosen[index]
                    onPicked: page.pick(modelData.key, index)
                }
            }
        }
    }
}
