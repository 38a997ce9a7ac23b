#!/bin/sh
# The Velto tuning: every PEQ processing with the high-quality core (core type 1), master gain -3 dB
# and a gentle loudness curve (bass and treble raised, the mid-range slightly lowered), a stronger
# Music DBE bass enhancement and a louder main volume than the default tuning.
# Channel delays and voice-call settings are left alone: the sweet spot and the call setup own them.
# A failed write does not stop the others; the script then exits 1.

status=0
set_control() {
    if ! amixer -q sset "$1" "$2" < /dev/null; then
        echo "SetAlsaVelto.sh: cannot set \"$1\" to $2" >&2
        status=1
    fi
}

# Band gains 1 to 10 as dB + 60: +5 +4 +2 0 -1 -1 +1 +3 +4 +4 dB.
gains="65 64 62 60 59 59 61 63 64 64"

for peq in User Spk1 Spk2 Spk3 Spk4; do
    set_control "$peq PEQ Switch Mode" 1
    set_control "$peq PEQ Core Type" 1
    set_control "$peq PEQ Master Gain" 57
    band=1
    for gain in $gains; do
        set_control "$peq PEQ Band$band Gain" "$gain"
        band=$((band + 1))
    done
done

set_control "Music DBE Switch Mode" 1
set_control "Music DBE Xover FC" 100
set_control "Music DBE Mix Balance" 60
set_control "Music DBE Effect Strength" 70
set_control "Music DBE Amp Limit" 85
set_control "Music DBE LP FC" 150
set_control "Music DBE HP FC" 50
set_control "Music DBE Harm Content" 60

set_control "Main Vol Master Gain" 96

exit $status
