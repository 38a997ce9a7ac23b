.pragma library
// The frequency response that the ten peaking bands add up to, the frequency axis it is drawn on,
// and its loudest point. Pure functions of their arguments, so that a test can check them without
// a scene.

// One octave of bandwidth: neighbouring bands (roughly an octave apart below 6 kHz) overlap
// without merging into one broad bump.
var defaultQ = 1.41;

// The response in dB of the bands ([{freq: Hz, gain: dB}]) as a function of the frequency. Each
// band is an analogue peaking filter: exactly its gain at its centre f0, 0 dB far away, symmetric on
// a log-frequency axis; |H|^2 = ((1-w^2)^2 + (wA/Q)^2) / ((1-w^2)^2 + (w/(AQ))^2), w = f/f0,
// A = 10^(gain/40). The bands multiply, so one logarithm serves them all; a band without a
// frequency or a finite gain adds nothing.
function response(bands, q) {
    var Q = q > 0 ? q : defaultQ;
    var filters = [];
    for (var i = 0; i < bands.length; ++i) {
        var band = bands[i];
        if (!band || !(band.freq > 0) || !isFinite(band.freq) || !isFinite(band.gain) || band.gain === 0)
            continue;
        var A = Math.pow(10, band.gain / 40);
        filters.push({ f0: band.freq, boost: (A / Q) * (A / Q), cut: 1 / ((A * Q) * (A * Q)) });
    }
    return function (f) {
        if (!(f > 0))
            return 0;
        var power = 1;
        for (var j = 0; j < filters.length; ++j) {
            var w2 = (f / filters[j].f0) * (f / filters[j].f0);
            var d = (1 - w2) * (1 - w2);
            power *= (d + w2 * filters[j].boost) / (d + w2 * filters[j].cut);
        }
        return 10 * Math.log(power) / Math.LN10;
    };
}

// The response of the bands at f.
function responseDb(f, bands, q) {
    return response(bands, q)(f);
}

// The axis under the sliders: column i stands at centres[i], and between two columns the
// frequency runs logarithmically, so each slider sits on its own frequency. Beyond the first and
// last column the axis goes on with the slope of the nearest gap. Returns a fractional column.
function columnAt(f, centres) {
    var n = centres.length;
    if (n === 0 || !(f > 0))
        return 0;
    if (n === 1)
        return 0;
    var i = 0;
    while (i < n - 2 && f > centres[i + 1])
        ++i;
    var lo = Math.log(centres[i]), hi = Math.log(centres[i + 1]);
    if (hi === lo)
        return i;
    return i + (Math.log(f) - lo) / (hi - lo);
}

// The inverse of columnAt: the frequency drawn at fractional column x.
function frequencyAt(x, centres) {
    var n = centres.length;
    if (n === 0)
        return 0;
    if (n === 1)
        return centres[0];
    var i = Math.max(0, Math.min(n - 2, Math.floor(x)));
    var lo = Math.log(centres[i]), hi = Math.log(centres[i + 1]);
    return Math.exp(lo + (x - i) * (hi - lo));
}

// Points of the curve from half a column before the first band to half a column after the last:
// [{x: fractional column, db}], `perColumn` points per column gap.
function curve(bands, perColumn, q) {
    var centres = bands.map(function (b) { return b.freq; });
    var points = [];
    if (centres.length === 0)
        return points;
    var steps = Math.max(1, Math.round(perColumn || 16));
    var first = -0.5, last = centres.length - 0.5;
    var count = Math.round((last - first) * steps);
    var dbAt = response(bands, q);
    for (var k = 0; k <= count; ++k) {
        var x = first + k / steps;
        points.push({ x: x, db: dbAt(frequencyAt(x, centres)) });
    }
    return points;
}

// The loudest point of the whole chain, master gain included, from 20 Hz to 20 kHz: {freq: Hz, db},
// or null when the master or a band's gain is not a finite number. A band without a frequency adds
// nothing, as in the drawn curve. A scan at 1/24 octave and at every band's centre, then the best
// point narrowed down between its neighbours of the scan.
function peak(bands, master, q) {
    if (!isFinite(master) || !Array.isArray(bands))
        return null;
    for (var i = 0; i < bands.length; ++i) {
        if (bands[i] && !isFinite(bands[i].gain))
            return null;
    }
    var lo = Math.log(20), hi = Math.log(20000);
    var step = Math.LN2 / 24;
    var at = response(bands, q);
    var dbAt = function (x) { return at(Math.exp(x)); };
    var bestX = lo, bestDb = dbAt(lo);
    var consider = function (x) {
        var db = dbAt(x);
        if (db > bestDb) {
            bestX = x;
            bestDb = db;
        }
    };
    for (var x = lo + step; x < hi; x += step)
        consider(x);
    consider(hi);
    for (var j = 0; j < bands.length; ++j) {
        var centre = bands[j] ? Math.log(bands[j].freq) : NaN;
        if (centre > lo && centre < hi)
            consider(centre);
    }
    // Golden-section search; the response is smooth and has one top within a scan step.
    var a = Math.max(lo, bestX - step), b = Math.min(hi, bestX + step);
    var r = (Math.sqrt(5) - 1) / 2;
    for (var k = 0; k < 24; ++k) {
        var c = b - r * (b - a), d = a + r * (b - a);
        if (dbAt(c) > dbAt(d))
            b = d;
        else
            a = c;
    }
    consider((a + b) / 2);
    return { freq: Math.exp(bestX), db: master + bestDb };
}

// A level within 0.05 dB of a whole dB counts as that whole dB: what the sums of the filters leave
// over is not worth a decibel of the master.
function nearWhole(db) {
    var whole = Math.round(db);
    return Math.abs(db - whole) <= 0.05 ? whole : db;
}

// The whole-dB master gain that puts the peak at or just below 0 dB: the master minus the peak
// (nearWhole), rounded down, within [minGain, maxGain], so a fit lands on 0 dB rather than one below. Where every band cuts, the fit raises the
// master. Null without a peak, or when the master or a band lies outside the bounds (a failed read
// gives -61): a fit on values nobody knows would be a guess.
function fit(top, bands, master, minGain, maxGain) {
    if (!top || !isFinite(top.db) || !Array.isArray(bands) || !(minGain <= maxGain) || !(master >= minGain && master <= maxGain))
        return null;
    for (var i = 0; i < bands.length; ++i) {
        if (bands[i] && !(bands[i].gain >= minGain && bands[i].gain <= maxGain))
            return null;
    }
    return Math.max(minGain, Math.min(maxGain, Math.floor(master - nearWhole(top.db))));
}
