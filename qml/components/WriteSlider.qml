import QtQuick 2.15
import QtQuick.Controls 2.15
import "../logic/drag.js" as Drag

// A slider that shows the controller's value (`shown`) and asks for changes through `write`, a
// function that returns whether the controller took the value. While dragging it writes once per
// whole-step change (or once on release when `writeWhileDragging` is false); after every write it
// binds back to `shown`, so a refused value springs back. `stepDone` reports what one gesture
// changed, for undo. `toPosition` and `fromPosition` map values to slider positions and back
// where the travel is not linear (then from and to are the position range).
Slider {
    id: control

    property int shown: 0
    property var write: null
    property bool writeWhileDragging: true
    property var toPosition: null
    property var fromPosition: null
    property var gesture: null
    readonly property real shownPosition: toPosition ? toPosition(shown) : shown

    signal stepDone(int before, int after)

    stepSize: 1
    snapMode: Slider.SnapAlways
    value: shownPosition
    focusPolicy: Qt.NoFocus

    function requested() {
        return fromPosition ? fromPosition(value) : value;
    }

    function showController() {
        control.value = Qt.binding(function () { return control.shownPosition; });
    }

    function send(v) {
        if (v !== null && control.write)
            control.write(v);
        showController();
    }

    onPressedChanged: {
        if (pressed) {
            gesture = Drag.begin(shown);
            return;
        }
        if (gesture === null)
            return;
        if (!writeWhileDragging)
            send(Drag.move(gesture, requested()));
        else
            showController();
        const change = Drag.end(gesture, shown);
        gesture = null;
        if (change !== null)
            stepDone(change.from, change.to);
    }

    onMoved: {
        if (!pressed) {
            // A step from the keyboard or an assistive tool: a gesture of its own.
            const single = Drag.begin(shown);
            send(Drag.move(single, requested()));
            const change = Drag.end(single, shown);
            if (change !== null)
                stepDone(change.from, change.to);
            return;
        }
        if (gesture === null)
            gesture = Drag.begin(shown);
        if (writeWhileDragging)
            send(Drag.move(gesture, requested()));
    }
}
