import QtQuick 2.15

// A WriteSlider drawn as a horizontal groove filled up to a round handle.
WriteSlider {
    id: slider

    implicitHeight: Theme.touch

    background: Item {
        x: slider.leftPadding
        y: slider.topPadding
        width: slider.availableWidth
        height: slider.availableHeight
        Rectangle {
            id: groove
            x: slider.handle.width / 2
            anchors.verticalCenter: parent.verticalCenter
            width: parent.width - slider.handle.width
            height: Math.max(4, Math.round(6 * Theme.scale))
            radius: height / 2
            color: Theme.raised
            border.width: 1
            border.color: Theme.outline
        }
        Rectangle {
            anchors.left: groove.left
            anchors.verticalCenter: groove.verticalCenter
            width: slider.visualPosition * groove.width
            height: groove.height
            radius: groove.radius
            color: Theme.accent
        }
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
