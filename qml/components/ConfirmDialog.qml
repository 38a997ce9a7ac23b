import QtQuick 2.15
import QtQuick.Layouts 1.15
import QtQuick.Window 2.15

// A modal question with a cancel and a confirm button; `accepted` is emitted on confirm only.
// Shown over the whole window; Escape or a press outside the question cancels it.
FocusScope {
    id: dialog

    property string title
    property string message
    property string confirmText: qsTr("OK")

    signal accepted()

    function open() {
        // Over the whole window, not just the page that asks.
        if (dialog.Window.contentItem)
            parent = dialog.Window.contentItem;
        visible = true;
        forceActiveFocus();
    }
    function close() {
        visible = false;
    }

    objectName: "confirmDialog"
    anchors.fill: parent
    z: 1000
    visible: false
    Accessible.role: Accessible.Dialog
    Accessible.name: title

    Keys.onEscapePressed: dialog.close()

    // The scrim: it takes every press outside the question.
    Rectangle {
        anchors.fill: parent
        color: Theme.scrim

        MouseArea {
            anchors.fill: parent
            onPressed: dialog.close()
        }
    }

    Rectangle {
        id: box
        anchors.centerIn: parent
        width: Math.min(parent.width - 2 * Theme.margin, Math.round(640 * Math.max(Theme.scale, 0.75)))
        height: content.implicitHeight + 2 * Theme.margin
        radius: Theme.radius * 1.5
        color: Theme.surface
        border.width: 1
        border.color: Theme.outline

        // A press on the question itself stays in it.
        MouseArea {
            anchors.fill: parent
        }

        ColumnLayout {
            id: content
            anchors.fill: parent
            anchors.margins: Theme.margin
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
}
