import QtQuick 2.15

Rectangle {
    id: root
    width: 1280
    height: 720
    color: "#101418"

    Column {
        anchors.centerIn: parent
        spacing: 12

        Text {
            color: "white"
            font.pixelSize: 28
            text: qsTr("Equalizer: %1").arg(currentPeqName)
        }
        Text {
            color: "#c0c8d0"
            font.pixelSize: 20
            text: qsTr("Volume %1, preset %2").arg(Volume).arg(activatedPresetId)
        }
        Row {
            spacing: 8
            Repeater {
                model: PresetList
                delegate: Text {
                    color: "#80c0ff"
                    font.pixelSize: 20
                    text: name
                }
            }
        }
    }
}
