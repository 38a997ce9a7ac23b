import QtQuick 2.15

// A preset: a tap applies it, a press and hold saves the current gains into it. The button fills
// while the hold runs, so the finger knows when to let go.
ChoiceButton {
    id: control

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
