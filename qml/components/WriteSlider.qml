import QtQuick 2.15
import "../logic/drag.js" as Drag

// A slider that shows the controller's value (`shown`) and asks for changes through `write`, a
// function that returns whether the controller took the value. A finger's drag writes once per
// whole-step change (or once on release when `writeWhileDragging` is false); an arrow key, or a
// screen reader's Increase, Decrease or new value, is one write, rounded and kept within from..to.
// Whatever the controller refuses, the slider goes on showing what it reports. `stepDone` reports
// what one gesture changed, for undo.
//
// Screen readers read `value`, `minimumValue`, `maximumValue` and `stepSize`, in the control's own
// unit. `toPosition` and `fromPosition` map a value to its place along the travel (0 at the left or
// the bottom, 1 at the other end) and back, where the travel is not linear. The one who draws the
// slider sets `handle`, whose length is kept off both ends of the travel.
Item {
    id: control

    property int shown: 0
    property var write: null
    property int from: 0
    property int to: 100
    property bool vertical: false
    property bool writeWhileDragging: true
    property var toPosition: function (v) { return to > from ? (v - from) / (to - from) : 0.5; }
    property var fromPosition: function (p) { return from + p * (to - from); }
    property Item handle: null

    readonly property alias pressed: finger.pressed
    // The value under the finger while it is down.
    readonly property real fingerValue: fromPosition(finger.place)
    // Where the handle stands: under the finger while a drag writes only on release, else at the
    // value the controller reports.
    readonly property real visualPosition: pressed && !writeWhileDragging
                                           ? finger.place : Math.max(0, Math.min(1, toPosition(shown)))

    property real value: shown
    readonly property int minimumValue: from
    readonly property int maximumValue: to
    readonly property int stepSize: 1

    signal stepDone(int before, int after)

    // One write of `target` as a gesture of its own.
    function request(target) {
        if (!isFinite(target) || !write)
            return;
        const gesture = Drag.begin(shown);
        const v = Drag.move(gesture, Math.max(from, Math.min(to, target)));
        if (v !== null)
            write(v);
        const change = Drag.end(gesture, shown);
        if (change !== null)
            stepDone(change.from, change.to);
    }

    // Called by the accessibility layer for the Increase and Decrease actions.
    function accessibleIncreaseAction() { request(shown + stepSize); }
    function accessibleDecreaseAction() { request(shown - stepSize); }

    implicitWidth: Theme.touch
    implicitHeight: Theme.touch
    activeFocusOnTab: true
    Accessible.role: Accessible.Slider

    // A value set from outside (a screen reader) is a request; the slider goes on reporting the
    // controller's value.
    onValueChanged: {
        if (value === shown)
            return;
        const asked = value;
        value = Qt.binding(function () { return control.shown; });
        request(asked);
    }

    Keys.onPressed: {
        if (event.key === Qt.Key_Up || event.key === Qt.Key_Right)
            control.accessibleIncreaseAction();
        else if (event.key === Qt.Key_Down || event.key === Qt.Key_Left)
            control.accessibleDecreaseAction();
        else
            return;
        event.accepted = true;
    }

    MouseArea {
        id: finger

        property real place: 0
        property var gesture: null

        function follow(mouse) {
            const ends = control.handle ? (control.vertical ? control.handle.height : control.handle.width) : 0;
            const travel = (control.vertical ? height : width) - ends;
            const along = (control.vertical ? height - mouse.y : mouse.x) - ends / 2;
            place = travel > 0 ? Math.max(0, Math.min(1, along / travel)) : 0.5;
        }
        function send() {
            const v = Drag.move(gesture, control.fingerValue);
            if (v !== null && control.write)
                control.write(v);
        }
        function finish() {
            const change = gesture === null ? null : Drag.end(gesture, control.shown);
            gesture = null;
            if (change !== null)
                control.stepDone(change.from, change.to);
        }

        anchors.fill: parent
        preventStealing: true
        onPressed: {
            follow(mouse);
            gesture = Drag.begin(control.shown);
        }
        onPositionChanged: {
            follow(mouse);
            if (control.writeWhileDragging)
                send();
        }
        onReleased: {
            follow(mouse);
            send();
            finish();
        }
        onCanceled: finish()
    }

    Rectangle {
        anchors.fill: parent
        z: 1
        visible: control.activeFocus
        color: "transparent"
        radius: Theme.radius
        border.width: 2
        border.color: Theme.accent
    }
}
