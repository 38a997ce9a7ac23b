import QtQuick 2.15

// A short confirmation at the bottom of the screen that fades by itself.
Rectangle {
    id: toast

    function show(message) {
        label.text = message;
        fade.restart();
    }

    objectName: "toast"
    visible: opacity > 0
    opacity: 0
    width: Math.min(parent ? parent.width - 2 * Theme.margin : 600, label.implicitWidth + 3 * Theme.margin)
    height: Math.max(Theme.touch, label.implicitHeight + 2 * Theme.spacing)
    radius: height / 2
    color: Theme.text
    Accessible.role: Accessible.AlertMessage
    Accessible.name: label.text

    Text {
        id: label
        anchors.fill: parent
        anchors.leftMargin: Theme.margin
        anchors.rightMargin: Theme.margin
        horizontalAlignment: Text.AlignHCenter
        verticalAlignment: Text.AlignVCenter
        elide: Text.ElideRight
        color: Theme.background
        font.pixelSize: Theme.fontBody
        font.weight: Font.DemiBold
    }

    SequentialAnimation {
        id: fade
        NumberAnimation { target: toast; property: "opacity"; to: 1; duration: 150 }
        PauseAnimation { duration: 2200 }
        NumberAnimation { target: toast; property: "opacity"; to: 0; duration: 400 }
    }
}
