import QtQuick 2.15

// One choice of a picker, lit when `selected`: a radio button to screen readers, checked when
// selected. A tap only emits `clicked`; the mark follows `selected`, which the page binds to the
// controller, so a choice the controller refused never shows as taken.
ButtonFace {
    id: control

    property bool selected: false
    checkable: true
    checked: selected

    implicitWidth: Math.max(Theme.touch, label.implicitWidth + 2 * padding)
    implicitHeight: Theme.touch
    padding: Theme.spacing
    font.pixelSize: Theme.fontBody
    font.weight: selected ? Font.DemiBold : Font.Normal
    lit: selected
    borderless: selected

    Accessible.name: text

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
