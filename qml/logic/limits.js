.pragma library
// Ranges the screen offers for the driver's raw controls. The controller passes these values
// through unchecked, so these are the only bounds a finger can reach; the card has the last word.

var volume = { from: 0, to: 127 };
var delay = { from: 0, to: 768 };
var voiceModes = [0, 1, 2, 3, 4, 5, 6, 7];

// The Music DBE parameters after the switch mode (type 0), in type order 1..7.
var dbe = [
    { type: 1, from: 20, to: 500, unit: "Hz" },
    { type: 2, from: 0, to: 100, unit: "%" },
    { type: 3, from: 0, to: 100, unit: "%" },
    { type: 4, from: 0, to: 100, unit: "%" },
    { type: 5, from: 20, to: 500, unit: "Hz" },
    { type: 6, from: 20, to: 500, unit: "Hz" },
    { type: 7, from: 0, to: 100, unit: "%" }
];
