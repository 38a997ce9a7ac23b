.pragma library
// Undo history of the equaliser page. A step is what one gesture changed: one slider drag, one
// reset, one preset applied. It remembers the speaker set it was made on and, per band (0 is the
// master gain), the gain before and after. Functions return a new history and never change the one
// they are given, so a QML property holding it notifies on every change.

var limit = 20;

// Changes between two snapshots of [master, band 1, ..., band 10].
function diff(before, after) {
    var changes = [];
    var n = Math.min(before.length, after.length);
    for (var band = 0; band < n; ++band) {
        if (before[band] !== after[band])
            changes.push({ band: band, from: before[band], to: after[band] });
    }
    return changes;
}

// Adds a step; a gesture that changed nothing adds none. The oldest steps fall off past the limit.
function record(history, peq, changes) {
    var real = changes.filter(function (c) { return c.from !== c.to; });
    if (real.length === 0)
        return history;
    var next = history.concat([{ peq: peq, changes: real }]);
    return next.length > limit ? next.slice(next.length - limit) : next;
}

// Takes the newest step back through apply(peq, band, gain, to), which returns whether the card took
// the write (`to` is the gain the step left the band at), newest band change first. Changes the card
// refused stay in the step for another try; the step goes once all of them are back.
function undo(history, apply) {
    if (history.length === 0)
        return history;
    var step = history[history.length - 1];
    var left = [];
    for (var i = step.changes.length - 1; i >= 0; --i) {
        var c = step.changes[i];
        if (!apply(step.peq, c.band, c.from, c.to))
            left.unshift(c);
    }
    var rest = history.slice(0, history.length - 1);
    return left.length === 0 ? rest : rest.concat([{ peq: step.peq, changes: left }]);
}

// Runs `act` and records as one step on speaker set `peq` what it changed, as `snapshot` reads
// [master, band 1, ..., band 10] before and after.
function around(history, peq, snapshot, act) {
    var before = snapshot();
    act();
    return record(history, peq, diff(before, snapshot()));
}

// undo() on the controller `c` ({peq(), changePeq(peq), gain(band), changeGain(band, gain)}): a step
// made on another speaker set switches to it first. A band that no longer holds what the step left
// it at was changed since by someone else (another program over the bus): that later change stands,
// and the step's change of the band is dropped.
function undoOn(history, c) {
    return undo(history, function (peq, band, gain, to) {
        if (c.peq() !== peq)
            c.changePeq(peq);
        return c.gain(band) !== to || c.changeGain(band, gain);
    });
}
