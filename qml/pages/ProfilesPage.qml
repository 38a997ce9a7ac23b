import QtQuick 2.15
import QtQuick.Layouts 1.15
import "../components"

// The three tunings of the whole unit: apply one, or store the changes made since start-up into
// one after a confirmation.
Item {
    id: page

    objectName: "page:profiles"

    signal notify(string message)

    property int storeId: -1
    property string storeName

    ColumnLayout {
        anchors.fill: parent
        anchors.margins: Theme.margin
        spacing: Theme.margin

        Text {
            Layout.fillWidth: true
            text: qsTr("A profile retunes the whole unit. Storing keeps the changes made since the unit started.")
            color: Theme.textDim
            font.pixelSize: Theme.fontBody
            wrapMode: Text.WordWrap
        }

        RowLayout {
            Layout.fillWidth: true
            Layout.fillHeight: true
            spacing: Theme.margin

            Repeater {
                model: ProfileList

                Panel {
                    id: card
                    readonly property bool active: activatedProfileId === model.ID
                    readonly property string profileName: model.name
                    readonly property int profileId: model.ID
                    Layout.fillWidth: true
                    Layout.fillHeight: true
                    Layout.preferredWidth: 1
                    border.width: active ? 2 : 1
                    border.color: active ? Theme.accent : Theme.divider

                    ColumnLayout {
                        anchors.fill: parent
                        spacing: Theme.spacing

                        Text {
                            Layout.fillWidth: true
                            text: card.profileName
                            color: Theme.text
                            font.pixelSize: Theme.fontTitle
                            font.weight: Font.DemiBold
                            wrapMode: Text.WordWrap
                        }
                        Rectangle {
                            visible: card.active
                            implicitWidth: activeLabel.implicitWidth + 2 * Theme.spacing
                            implicitHeight: activeLabel.implicitHeight + Theme.spacing / 2
                            radius: height / 2
                            color: Theme.accent
                            Text {
                                id: activeLabel
                                anchors.centerIn: parent
                                text: qsTr("Active")
                                color: Theme.textOnAccent
                                font.pixelSize: Theme.fontCaption
                                font.weight: Font.DemiBold
                            }
                        }
                        Text {
                            Layout.fillWidth: true
                            // The controller replays stored changes for this one profile only.
                            text: card.profileName === "User Profile"
                                  ? qsTr("The default tuning, with the changes stored here played back on top.")
                                  : qsTr("A complete tuning of the unit.")
                            color: Theme.textDim
                            font.pixelSize: Theme.fontCaption
                            wrapMode: Text.WordWrap
                        }
                        Item { Layout.fillHeight: true }
                        TouchButton {
                            objectName: "profile:" + card.profileName + ":apply"
                            Layout.fillWidth: true
                            text: card.active ? qsTr("Apply again") : qsTr("Apply")
                            primary: !card.active
                            Accessible.name: card.active ? qsTr("Apply %1 again, active now").arg(card.profileName)
                                                         : qsTr("Apply %1").arg(card.profileName)
                            onClicked: setToProfiles(card.profileId)
                        }
                        TouchButton {
                            objectName: "profile:" + card.profileName + ":store"
                            Layout.fillWidth: true
                            text: qsTr("Store changes")
                            Accessible.name: qsTr("Store changes in %1").arg(card.profileName)
                            onClicked: {
                                page.storeId = card.profileId;
                                page.storeName = card.profileName;
                                confirm.open();
                            }
                        }
                    }
                }
            }
        }
    }

    ConfirmDialog {
        id: confirm
        title: qsTr("Store changes in %1?").arg(page.storeName)
        message: qsTr("The changes made since the unit started replace what %1 holds now.").arg(page.storeName)
        confirmText: qsTr("Store")
        onAccepted: {
            saveToProfiles(page.storeId);
            page.notify(qsTr("Changes stored in %1").arg(page.storeName));
        }
    }
}
