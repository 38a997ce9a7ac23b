.pragma library
// Writes of a dragged value control: one write per whole-step change of the finger's value, never
// a write for a value already asked for in this drag step, and one undo step per drag.
// A drag is {start, asked}: the controller's value when the finger went down and the last value
// written for it.

function begin(shown) {
    return { start: shown, asked: shown };
}

// The value to write for the finger at `requested`, or null when nothing is to be sent.
function move(drag, requested) {
    var v = Math.round(requested);
    if (!isFinite(v) || v === drag.asked)
        return null;
    drag.asked = v;
    return v;
}

// What the drag changed, from the controller's value when the finger went down to what it
// reports now (null when that is the same value).
function end(drag, shown) {
    return drag.start === shown ? null : { from: drag.start, to: shown };
}
