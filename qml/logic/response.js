.pragma library
// The frequency response that the ten peaking bands add up to, and the frequency axis it is drawn
// on. Pure functions of their arguments, so that a test can check the curve without a scene.

// One octave of bandwidth: neighbouring bands (roughly an octave apart below 6 kHz) overlap
// without merging into one broad bump.
var defaultQ = 1.41;

// Gain in dB of one analogue peaking filter at f: exactly gainDb at f0, 0 dB far away, symmetric
// on a log-frequency axis. |H|^2 = ((1-w^2)^2 + (wA/Q)^2) / ((1-w^2)^2 + (w/(AQ))^2), w = f/f0,
// A = 10^(gain/40).
function peakingDb(f, f0, gainDb, q) {
    if (!(f > 0) || !(f0 > 0) || !isFinite(gainDb) || gainDb === 0)
        return 0;
    var Q = q > 0 ? q : defaultQ;
    var A = Math.pow(10, gainDb / 40);
    var w = f / f0;
    var d = (1 - w * w) * (1 - w * w);
    var num = d + (w * A / Q) * (w * A / Q);
    var den = d + (w / (A * Q)) * (w / (A * Q));
    return 10 * Math.log(num / den) / Math.LN10;
}

// Sum of every band at f. bands: [{freq: Hz, gain: dB}]
function responseDb(f, bands, q) {
    var sum = 0;
    for (var i = 0; i < bands.length; ++i)
        sum += peakingDb(f, bands[i].freq, bands[i].gain, q);
    return sum;
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
    for (var k = 0; k <= count; ++k) {
        var x = first + k / steps;
        points.push({ x: x, db: responseDb(frequencyAt(x, centres), bands, q) });
    }
    return points;
}
