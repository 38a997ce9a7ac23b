import QtQuick 2.15

// One choice of a picker, lit when `selected`: a radio button to screen readers, checked when
// selected. A tap only emits `clicked`; the mark follows `selected`, which the page binds to the
// controller, so a choice the controller refused never shows as taken.
ButtonFace {
    id: control

    property bool selected: false
    readonly property bool checked: selected

    implicitWidth: Math.max(Theme.touch, label.implicitWidth + 2 * padding)
    implicitHeight: Theme.touch
    padding: Theme.spacing
    font.pixelSize: Theme.fontBody
    font.weight: selected ? Font.DemiBold : Font.Normal
    lit: selected
    borderless: selected

    Accessible.role: Accessible.RadioButton
    Accessible.name: text
    Accessible.checkable: true
    Accessible.checked: selected
    // Taking a choice is a tap: the controller decides whether it is taken.
    Accessible.onToggleAction: clicked()

    ButtonLabel {
        id: label
        // Above what a button made from this one adds to its face.
        z: 1
        anchors.fill: parent
        anchors.margins: control.padding
        text: control.text
        font: control.font
        maximumWidth: width
        color: control.selected ? Theme.textOnAccent : Theme.text
    }
}
