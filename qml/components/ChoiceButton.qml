import QtQuick 2.15

// One choice of a picker, lit when `selected`: a radio button to screen readers, checked when
// selected. A tap only emits `clicked`; the mark follows `selected`, which the page binds to the
// controller, so a choice the controller refused never shows as taken.
ButtonBase {
    id: control

    property bool selected: false
    readonly property bool checked: selected
    property real holdProgress: 0

    implicitWidth: Math.max(Theme.touch, label.implicitWidth + 2 * padding)
    implicitHeight: Theme.touch
    padding: Theme.spacing
    font.pixelSize: Theme.fontBody
    font.weight: selected ? Font.DemiBold : Font.Normal

    Accessible.role: Accessible.RadioButton
    Accessible.name: text
    Accessible.checkable: true
    Accessible.checked: selected
    // Taking a choice is a tap: the controller decides whether it is taken.
    Accessible.onToggleAction: clicked()

    ButtonFace {
        anchors.fill: parent
        lit: control.selected
        down: control.down
        focused: control.visualFocus
        borderless: control.selected
        holdProgress: control.holdProgress
    }
    ButtonLabel {
        id: label
        anchors.fill: parent
        anchors.margins: control.padding
        text: control.text
        font: control.font
        maximumWidth: width
        color: control.selected ? Theme.textOnAccent : Theme.text
    }
}
