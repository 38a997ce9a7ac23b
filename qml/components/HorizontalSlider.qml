import QtQuick 2.15

// A WriteSlider drawn as a horizontal groove filled up to a round handle.
WriteSlider {
    id: slider

    handle: knob

    SliderGroove {
        x: knob.width / 2
        width: parent.width - knob.width
        height: parent.height
        fillTo: slider.visualPosition
    }
    Rectangle {
        id: knob
        x: slider.visualPosition * (slider.width - width)
        anchors.verticalCenter: parent.verticalCenter
        width: Math.max(22, Math.round(30 * Theme.scale))
        height: width
        radius: width / 2
        color: slider.pressed ? Theme.accent : Theme.text
        border.width: 2
        border.color: Theme.accent
    }
}
