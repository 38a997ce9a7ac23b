import QtQuick 2.15
import QtQuick.Layouts 1.15

// A raw value of the card as a slider between a decrease and an increase button, optionally with
// the value the controller reports behind them. The buttons repeat while held; each step is one
// write. The slider writes as it moves unless `writeWhileDragging` is false (then once on release).
RowLayout {
    id: stepper

    property int shown: 0
    property int from: 0
    property int to: 100
    property var write: null
    property alias writeWhileDragging: slider.writeWhileDragging
    property string objectPrefix
    property string sliderObjectName: objectPrefix + ":slider"
    property bool showsValue: false
    // What a screen reader says for each part.
    property string decreaseName
    property string increaseName
    property string sliderName
    readonly property alias pressed: slider.pressed
    readonly property alias draggedValue: slider.fingerValue

    spacing: Theme.spacing

    function nudge(delta) {
        const target = Math.max(from, Math.min(to, shown + delta));
        if (target !== shown && write)
            write(target);
    }

    TouchButton {
        objectName: stepper.objectPrefix + ":decrease"
        text: "\u2212"
        font.pixelSize: Theme.fontTitle
        autoRepeat: true
        enabled: stepper.shown > stepper.from
        Accessible.name: stepper.decreaseName
        onClicked: stepper.nudge(-1)
    }
    HorizontalSlider {
        id: slider
        objectName: stepper.sliderObjectName
        Layout.fillWidth: true
        Layout.preferredHeight: Theme.touch
        from: stepper.from
        to: stepper.to
        shown: stepper.shown
        write: stepper.write
        Accessible.name: stepper.sliderName
    }
    TouchButton {
        objectName: stepper.objectPrefix + ":increase"
        text: "+"
        font.pixelSize: Theme.fontTitle
        autoRepeat: true
        enabled: stepper.shown < stepper.to
        Accessible.name: stepper.increaseName
        onClicked: stepper.nudge(1)
    }
    Text {
        visible: stepper.showsValue
        Layout.preferredWidth: Math.round(Theme.fontValue * 2.2)
        horizontalAlignment: Text.AlignRight
        text: String(stepper.shown)
        color: Theme.text
        font.pixelSize: Theme.fontValue
        font.weight: Font.DemiBold
        Accessible.ignored: true
    }
}
