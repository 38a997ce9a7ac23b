.pragma library
// The gain axis shared by the band sliders and the curve behind them. The controller's range is
// wide (-60..+20 dB by default) while most tuning happens within a few decibels of 0, so each
// decibel within `fine` of 0 gets four times the travel of one beyond it. Positions run from 0 at
// `from` to 1 at `to`.

var fine = 12;
var coarse = 0.25;

// Travel from `from` up to db, in fine-decibel units.
function weightTo(db, from) {
    var lo = Math.min(db, from), hi = Math.max(db, from);
    var inFine = Math.max(0, Math.min(hi, fine) - Math.max(lo, -fine));
    var w = inFine + coarse * ((hi - lo) - inFine);
    return db >= from ? w : -w;
}

function position(db, from, to) {
    var total = weightTo(to, from);
    if (!(total > 0))
        return 0.5;
    var clamped = Math.max(from, Math.min(to, db));
    return weightTo(clamped, from) / total;
}

// The gain at a position (a real number; callers round to whole decibels).
function gainAt(pos, from, to) {
    var total = weightTo(to, from);
    if (!(total > 0))
        return from;
    var target = Math.max(0, Math.min(1, pos)) * total;
    // Walk the three pieces of the axis: below -fine, within, above +fine.
    var edges = [from, Math.max(from, Math.min(to, -fine)), Math.max(from, Math.min(to, fine)), to];
    var done = 0;
    for (var i = 0; i < 3; ++i) {
        var span = edges[i + 1] - edges[i];
        var rate = (i === 1) ? 1 : coarse;
        if (target <= done + span * rate || i === 2)
            return edges[i] + (rate > 0 ? (target - done) / rate : 0);
        done += span * rate;
    }
    return to;
}

// Gains to mark beside the sliders: 0, the ends and the edges of the fine range, leaving out any
// whose height `yAt(db)` would come closer than `gap` to a mark already placed.
function marks(from, to, yAt, gap) {
    var picked = [], ys = [];
    var candidates = [0, to, from, fine, -fine];
    for (var i = 0; i < candidates.length; ++i) {
        var db = candidates[i];
        if (db > to || db < from || picked.indexOf(db) >= 0)
            continue;
        var y = yAt(db);
        if (ys.every(function (other) { return Math.abs(other - y) >= gap; })) {
            picked.push(db);
            ys.push(y);
        }
    }
    return picked;
}
