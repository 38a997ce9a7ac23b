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

            Text {
                text: qsTr("Clear voice")
                color: Theme.text
                font.pixelSize: Theme.fontBody
            }
            SegmentedPicker {
                objectName: "cvc"
                model: page.offOn
                minimumSegmentWidth: Theme.touch * 2
                currentIndex: cvcMode ? 1 : 0
                accessibleCaption: qsTr("Clear voice")
                onPicked: changeCvcMode(index === 1)
            }

            Text {
                text: qsTr("Two microphones")
                color: Theme.text
                font.pixelSize: Theme.fontBody
            }
            SegmentedPicker {
                objectName: "twoMic"
                accessibleCaption: qsTr("Two microphones")
                model: page.offOn
                minimumSegmentWidth: Theme.touch * 2
                currentIndex: twoMicMode ? 1 : 0
                onPicked: changeTwoMicMode(index === 1)
            }

            Text {
                text: qsTr("Send mode")
                color: Theme.text
                font.pixelSize: Theme.fontBody
            }
            SegmentedPicker {
                objectName: "sendMode"
                accessibleCaption: qsTr("Send mode")
                model: Limits.voiceModes
                labelFor: function (mode) { return String(mode); }
                currentIndex: Limits.voiceModes.indexOf(page.modeShown(cvcMode, currentCvcSendModeIdx))
                onPicked: changeCvcSendMode(Limits.voiceModes[index])
            }

            Text {
                text: qsTr("Receive mode")
                color: Theme.text
                font.pixelSize: Theme.fontBody
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
