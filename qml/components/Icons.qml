pragma Singleton
import QtQuick 2.15

// Line icons on a 24 x 24 grid, for Icon.path.
QtObject {
    readonly property string equalizer: "M5 3 V21 M12 3 V21 M19 3 V21 M2.5 14 H7.5 M9.5 8 H14.5 M16.5 16 H21.5"
    readonly property string soundField: "M7 3 H17 Q20 3 20 7 V18 Q20 21 17 21 H7 Q4 21 4 18 V7 Q4 3 7 3 Z M7 7 H10.5 V11 H7 Z M13.5 7 H17 V11 H13.5 Z M7 14 H10.5 V18 H7 Z M13.5 14 H17 V18 H13.5 Z"
    readonly property string bass: "M3 9 H7 L12 4 V20 L7 15 H3 Z M15.5 8.5 Q18 12 15.5 15.5 M18.5 5.5 Q23 12 18.5 18.5"
    readonly property string voice: "M9 3 H15 V13 Q15 16 12 16 Q9 16 9 13 Z M5.5 11 Q5.5 19 12 19 Q18.5 19 18.5 11 M12 19 V22 M8 22 H16"
    readonly property string profiles: "M12 3 L21 8 L12 13 L3 8 Z M3 12 L12 17 L21 12 M3 16 L12 21 L21 16"
    readonly property string minimize: "M5 19 H19 M12 4 V14 M7.5 9.5 L12 14 L16.5 9.5"
    readonly property string undo: "M9 5 L4 10 L9 15 M4 10 H15 Q20 10 20 15 Q20 20 15 20 H11"
    readonly property string reset: "M4 12 A8 8 0 1 0 7 5.8 M4 4 V9 H9"
    readonly property string save: "M6 3 H18 V21 L12 16 L6 21 Z"
    readonly property string speaker: "M4 9 H8 L13 4 V20 L8 15 H4 Z M16 9 Q18 12 16 15"
}
