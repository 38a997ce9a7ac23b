.pragma library
// Numbers as the screen shows them; units are added by the caller through qsTr.

// "+4", "0", "-12": a signed whole number, as gains are read.
function signed(v) {
    var n = Math.round(v);
    return n > 0 ? "+" + n : String(n);
}
