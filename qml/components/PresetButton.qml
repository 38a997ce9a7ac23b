import QtQuick 2.15

// A preset: a tap applies it, a press and hold saves the current gains into it. The button fills
// while the hold runs, so the finger knows when to let go.
ChoiceButton {
    id: control

    // 0..1 while a press-and-hold runs.
    property real holdProgress: 0

    onDownChanged: {
        if (down) {
            hold.restart();
        } else {
            hold.stop();
            holdProgress = 0;
        }
    }
    onPressAndHold: {
        hold.stop();
        holdProgress = 0;
    }

    Rectangle {
        visible: control.holdProgress > 0
        anchors.left: parent.left
        anchors.top: parent.top
        anchors.bottom: parent.bottom
        width: parent.width * control.holdProgress
        radius: parent.radius
        color: Theme.warning
        opacity: 0.55
    }

    SequentialAnimation {
        id: hold
        // A plain tap never shows the fill.
        PauseAnimation { duration: 150 }
        NumberAnimation {
            target: control
            property: "holdProgress"
            from: 0
            to: 1
            duration: Math.max(100, Qt.styleHints.mousePressAndHoldInterval - 150)
        }
    }
}
