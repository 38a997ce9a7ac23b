pragma Singleton
import QtQuick 2.15

// Colours and sizes of the whole scene. The root sets `scale` from the window size; every size
// here follows it, with floors that keep touch targets at 48 px and text legible on the smallest
// screen.
QtObject {
    // 1 at 1280x720, less on smaller screens.
    property real scale: 1
    readonly property bool compact: scale < 0.8
    readonly property real textScale: 0.55 + 0.45 * Math.min(scale, 1.25)

    // Dark, high contrast: primary text on the background is above 15:1, secondary above 8:1.
    readonly property color background: "#0a0d12"
    readonly property color surface: "#141a22"
    readonly property color raised: "#1f2731"
    readonly property color pressed: "#2c3744"
    readonly property color outline: "#3b4756"
    readonly property color text: "#f3f6f9"
    readonly property color textDim: "#b4c0cc"
    readonly property color accent: "#36c4f4"
    readonly property color accentDim: "#1b6a86"
    readonly property color textOnAccent: "#02131b"
    readonly property color warning: "#ffb547"
    readonly property color textOnWarning: "#1e1200"
    readonly property color danger: "#ff6b6b"
    readonly property color curve: "#7fe0ff"
    // Quieter lines: panel edges and dividers, the curve's grid, the cabin's windows.
    readonly property color divider: "#222c38"
    readonly property color grid: "#1f2a36"
    readonly property color gridZero: "#56687a"
    readonly property color glass: "#2a3a4a"
    // Washes of the accent behind the curve (strong at its ends, faint at 0 dB) and the chosen seat.
    readonly property color accentWash: "#4d36c4f4"
    readonly property color accentWashFaint: "#0f36c4f4"
    readonly property color accentZone: "#2636c4f4"
    // The same wash in the warning colour, for the curve above 0 dB.
    readonly property color warningWash: "#59ffb547"
    // Dims the scene behind a dialog.
    readonly property color scrim: "#b0000000"

    readonly property int fontCaption: Math.round(18 * textScale)
    readonly property int fontBody: Math.round(20 * textScale)
    readonly property int fontValue: Math.round(22 * textScale)
    readonly property int fontTitle: Math.round(26 * textScale)
    readonly property int fontDisplay: Math.round(34 * textScale)

    readonly property int touch: Math.max(48, Math.round(56 * scale))
    readonly property int spacing: Math.max(6, Math.round(12 * scale))
    readonly property int margin: Math.max(10, Math.round(20 * scale))
    readonly property int radius: Math.max(6, Math.round(10 * scale))
    readonly property int railWidth: Math.max(96, Math.round(132 * scale))
    readonly property int headerHeight: Math.max(56, Math.round(76 * scale))
}
