import QtQuick 2.15
import QtQuick.Controls 2.15

// One choice of a picker, lit when `selected`: a radio button to screen readers, checked when
// selected. A tap only emits `clicked`; the mark follows `selected`, which the page binds to the
// controller, so a choice the controller refused never shows as taken.
RadioButton {
    id: control

    property bool selected: false
    property real holdProgress: 0

    implicitWidth: Math.max(Theme.touch, contentItem.implicitWidth + leftPadding + rightPadding)
    implicitHeight: Theme.touch
    padding: Theme.spacing
    spacing: 0
    font.pixelSize: Theme.fontBody
    font.weight: selected ? Font.DemiBold : Font.Normal
    focusPolicy: Qt.TabFocus
    autoExclusive: false
    checked: selected
    // A tap toggles the button's own state; the controller's answer decides.
    onToggled: checked = Qt.binding(function () { return control.selected; })

    Accessible.name: text

    indicator: null
    contentItem: ButtonLabel {
        text: control.text
        font: control.font
        maximumWidth: control.availableWidth
        color: control.selected ? Theme.textOnAccent : Theme.text
    }
    background: ButtonFace {
        lit: control.selected
        down: control.down
        focused: control.visualFocus
        borderless: control.selected
        holdProgress: control.holdProgress
    }
}
