#!/bin/sh
# The default tuning: every PEQ processing (switch mode 1, core type 0) and flat (master and band
# gains 0 dB, that is 60), the Music DBE block at its neutral settings and a moderate main volume.
# Channel delays and voice-call settings are left alone: the sweet spot and the call setup own them.
# A failed write does not stop the others; the script then exits 1.

status=0
set_control() {
    if ! amixer -q sset "$1" "$2" < /dev/null; then
        echo "SetAlsaDefault.sh: cannot set \"$1\" to $2" >&2
        status=1
    fi
}

for peq in User Spk1 Spk2 Spk3 Spk4; do
    set_control "$peq PEQ Switch Mode" 1
    set_control "$peq PEQ Core Type" 0
    set_control "$peq PEQ Master Gain" 60
    for band in 1 2 3 4 5 6 7 8 9 10; do
        set_control "$peq PEQ Band$band Gain" 60
    done
done

set_control "Music DBE Switch Mode" 1
set_control "Music DBE Xover FC" 80
set_control "Music DBE Mix Balance" 50
set_control "Music DBE Effect Strength" 50
set_control "Music DBE Amp Limit" 80
set_control "Music DBE LP FC" 120
set_control "Music DBE HP FC" 40
set_control "Music DBE Harm Content" 50

set_control "Main Vol Master Gain" 80

exit $status
