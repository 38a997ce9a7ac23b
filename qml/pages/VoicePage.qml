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

    // Switching clear voice changes both modes but announces only itself, so the mode highlights
    // depend on it as well.
    function modeShown(cvc, modeIdx) {
        return modeIdx;
    }

    Panel {
        anchors.fill: parent
        anchors.margins: Theme.margin

        GridLayout {
            anchors.left: parent.left
            anchors.right: parent.right
            columns: 2
            columnSpacing: Theme.margin * 2
            rowSpacing: Theme.margin

            SettingLabel {
                Layout.preferredWidth: Math.round(parent.width * 0.36)
                title: qsTr("Clear voice")
                description: qsTr("Echo and noise reduction on both call paths")
            }
            SegmentedPicker {
                objectName: "cvc"
                model: page.offOn
                minimumSegmentWidth: Theme.touch * 2
                currentIndex: cvcMode ? 1 : 0
                accessibleCaption: qsTr("Clear voice")
                onPicked: changeCvcMode(index === 1)
            }

            SettingLabel {
                Layout.preferredWidth: Math.round(parent.width * 0.36)
                title: qsTr("Two microphones")
                description: qsTr("A second microphone to reject cabin noise")
            }
            SegmentedPicker {
                objectName: "twoMic"
                accessibleCaption: qsTr("Two microphones")
                model: page.offOn
                minimumSegmentWidth: Theme.touch * 2
                currentIndex: twoMicMode ? 1 : 0
                onPicked: changeTwoMicMode(index === 1)
            }

            SettingLabel {
                Layout.preferredWidth: Math.round(parent.width * 0.36)
                title: qsTr("Send mode")
                description: qsTr("Processing of the microphone path")
            }
            SegmentedPicker {
                objectName: "sendMode"
                accessibleCaption: qsTr("Send mode")
                model: Limits.voiceModes
                labelFor: function (mode) { return String(mode); }
                currentIndex: Limits.voiceModes.indexOf(page.modeShown(cvcMode, currentCvcSendModeIdx))
                onPicked: changeCvcSendMode(Limits.voiceModes[index])
            }

            SettingLabel {
                Layout.preferredWidth: Math.round(parent.width * 0.36)
                title: qsTr("Receive mode")
                description: qsTr("Processing of the loudspeaker path")
            }
            SegmentedPicker {
                objectName: "receiveMode"
                accessibleCaption: qsTr("Receive mode")
                model: Limits.voiceModes
                labelFor: function (mode) { return String(mode); }
                currentIndex: Limits.voiceModes.indexOf(page.modeShown(cvcMode, currentCvcRecvModeIdx))
                onPicked: changeCvcRecvMode(Limits.voiceModes[index])
            }
        }
    }
}
