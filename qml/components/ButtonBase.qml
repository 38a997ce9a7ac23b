import QtQuick 2.15

// What the scene's buttons share, in plain Qt Quick (a control library costs the scene megabytes
// for a handful of buttons): a tap (`clicked`), a press and hold (`pressAndHold`), taps repeated
// while held (`autoRepeat`), Space or Enter once the Tab key has reached it, and a button to
// screen readers whose Press action is a tap. How it looks is up to the one who uses it; it
// draws nothing itself, but is a rectangle so that a button's face needs no item of its own.
Rectangle {
    id: control

    property string text
    property font font
    property real padding: 0
    property bool autoRepeat: false
    // A choice, a radio button to screen readers, when `checkable`; whoever uses it binds `checked`
    // to what the controller reports, never to the tap.
    property bool checkable: false
    property bool checked: false
    readonly property bool pressed: finger.pressed || keyDown
    readonly property bool down: pressed
    // The keyboard is on it: a tap never takes the focus, so this is the Tab key's ring.
    readonly property bool visualFocus: activeFocus
    property bool keyDown: false
    property bool held: false

    signal clicked()
    signal pressAndHold()

    color: "transparent"
    activeFocusOnTab: true
    Accessible.role: checkable ? Accessible.RadioButton : Accessible.Button
    Accessible.focusable: true
    Accessible.checkable: checkable
    Accessible.checked: checked
    Accessible.onPressAction: control.clicked()
    // Taking a choice is a tap: the controller decides whether it is taken.
    Accessible.onToggleAction: if (checkable) control.clicked()

    Keys.onPressed: {
        if (event.key !== Qt.Key_Space && event.key !== Qt.Key_Return && event.key !== Qt.Key_Enter)
            return;
        event.accepted = true;
        if (!event.isAutoRepeat)
            keyDown = true;
    }
    Keys.onReleased: {
        if (event.key !== Qt.Key_Space && event.key !== Qt.Key_Return && event.key !== Qt.Key_Enter)
            return;
        event.accepted = true;
        if (event.isAutoRepeat || !keyDown)
            return;
        keyDown = false;
        control.clicked();
    }
    onActiveFocusChanged: keyDown = false

    MouseArea {
        id: finger
        anchors.fill: parent
        onPressed: {
            control.held = false;
            if (control.autoRepeat)
                repeat.restart();
        }
        onPressAndHold: {
            if (control.autoRepeat)
                return;
            control.held = true;
            control.pressAndHold();
        }
        onReleased: {
            repeat.stop();
            if (containsMouse && !control.held)
                control.clicked();
        }
        onCanceled: repeat.stop()
    }

    // A tap after the first 300 ms of a hold, then one every 100 ms, and one more on release.
    Timer {
        id: repeat
        interval: 300
        repeat: true
        onTriggered: {
            interval = 100;
            control.clicked();
        }
        onRunningChanged: if (!running) interval = 300
    }
}
