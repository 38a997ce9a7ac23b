import QtQuick 2.15

// A WriteSlider drawn as a horizontal groove filled up to a round handle.
WriteSlider {
    id: slider

    implicitHeight: Theme.touch

    background: SliderGroove {
        x: slider.leftPadding + slider.handle.width / 2
        y: slider.topPadding
        width: slider.availableWidth - slider.handle.width
        height: slider.availableHeight
        fillTo: slider.visualPosition
    }

    handle: Rectangle {
        x: slider.leftPadding + slider.visualPosition * (slider.availableWidth - width)
        y: slider.topPadding + (slider.availableHeight - height) / 2
        implicitWidth: Math.max(22, Math.round(30 * Theme.scale))
        implicitHeight: implicitWidth
        radius: width / 2
        color: slider.pressed ? Theme.accent : Theme.text
        border.width: 2
        border.color: Theme.accent
    }
}
