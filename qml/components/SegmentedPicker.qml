import QtQuick 2.15

// A caption and one button per choice, the chosen one highlighted. The highlight follows
// `currentIndex`, which the page binds to the controller; a tap only emits `picked`, so a choice
// the controller refused never shows as chosen.
Row {
    id: picker

    property alias model: repeater.model
    property int currentIndex: -1
    property string caption
    // What a screen reader says before each choice; the caption unless the label stands elsewhere.
    property string accessibleCaption: caption
    // Turns a model entry into the text shown; entries are list rows ("name" role) or strings.
    property var labelFor: function (label) { return label }
    property int minimumSegmentWidth: Theme.touch

    signal picked(int index)

    spacing: Theme.spacing
    Accessible.role: Accessible.Grouping
    Accessible.name: accessibleCaption

    Text {
        visible: picker.caption.length > 0
        text: picker.caption
        color: Theme.textDim
        font.pixelSize: Theme.fontCaption
        height: Theme.touch
        verticalAlignment: Text.AlignVCenter
    }

    Row {
        spacing: Math.max(4, Math.round(Theme.spacing / 2))

        Repeater {
            id: repeater

            delegate: ChoiceButton {
                readonly property string label: picker.labelFor(model.name !== undefined ? model.name : model.modelData)
                objectName: picker.objectName + ":" + label
                text: label
                width: Math.max(picker.minimumSegmentWidth, implicitWidth)
                selected: index === picker.currentIndex
                Accessible.name: picker.accessibleCaption.length > 0
                                 ? qsTr("%1 %2").arg(picker.accessibleCaption).arg(label) : label
                onClicked: picker.picked(index)
            }
        }
    }
}
