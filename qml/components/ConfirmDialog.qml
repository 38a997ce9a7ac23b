import QtQuick 2.15
import QtQuick.Controls 2.15
import QtQuick.Layouts 1.15

// A modal question with a cancel and a confirm button; `accepted` is emitted on confirm only.
Popup {
    id: dialog

    property string title
    property string message
    property string confirmText: qsTr("OK")

    signal accepted()

    objectName: "confirmDialog"
    modal: true
    focus: true
    closePolicy: Popup.CloseOnEscape | Popup.CloseOnPressOutside
    anchors.centerIn: Overlay.overlay
    width: Math.min(parent ? parent.width - 2 * Theme.margin : 640, Math.round(640 * Math.max(Theme.scale, 0.75)))
    padding: Theme.margin

    Overlay.modal: Rectangle { color: Theme.scrim }

    background: Rectangle {
        radius: Theme.radius * 1.5
        color: Theme.surface
        border.width: 1
        border.color: Theme.outline
    }

    contentItem: ColumnLayout {
        spacing: Theme.margin

        Text {
            Layout.fillWidth: true
            text: dialog.title
            color: Theme.text
            font.pixelSize: Theme.fontTitle
            font.weight: Font.DemiBold
            wrapMode: Text.WordWrap
        }
        Text {
            Layout.fillWidth: true
            text: dialog.message
            color: Theme.textDim
            font.pixelSize: Theme.fontBody
            wrapMode: Text.WordWrap
        }
        RowLayout {
            Layout.fillWidth: true
            spacing: Theme.spacing
            Item { Layout.fillWidth: true }
            TouchButton {
                objectName: "confirmDialog:cancel"
                text: qsTr("Cancel")
                onClicked: dialog.close()
            }
            TouchButton {
                objectName: "confirmDialog:confirm"
                text: dialog.confirmText
                primary: true
                onClicked: {
                    dialog.close();
                    dialog.accepted();
                }
            }
        }
    }
}
