import QtQuick 2.15
import QtQuick.Layouts 1.15

// The name of a setting with one line on what it does.
ColumnLayout {
    id: label

    property string title
    property string description

    spacing: 2

    Text {
        Layout.fillWidth: true
        text: label.title
        color: Theme.text
        font.pixelSize: Theme.fontBody
        wrapMode: Text.WordWrap
    }
    Text {
        Layout.fillWidth: true
        visible: label.description.length > 0
        text: label.description
        color: Theme.textDim
        font.pixelSize: Theme.fontCaption
        wrapMode: Text.WordWrap
    }
}
