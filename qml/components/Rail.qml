import QtQuick 2.15

// The side rail: one entry per page, the page on screen marked. Demo mode hides the installer's
// pages; their entries stay in the list, so an index is always a page's index.
Rectangle {
    id: rail

    // [{key, title, icon, installer}]
    property var pages: []
    property int current: 0

    signal picked(int index)

    width: Theme.railWidth
    color: Theme.surface

    Rectangle {
        anchors.right: parent.right
        anchors.top: parent.top
        anchors.bottom: parent.bottom
        width: 1
        color: Theme.divider
    }

    Column {
        objectName: "rail"
        anchors.top: parent.top
        anchors.topMargin: Math.round(Theme.spacing / 2)
        width: parent.width
        Accessible.role: Accessible.PageTabList
        Accessible.name: qsTr("Pages")

        Repeater {
            model: rail.pages

            RailButton {
                objectName: "rail:" + modelData.key
                width: rail.width
                height: Math.max(Theme.touch, Math.min(Math.round(110 * Theme.scale),
                                                       (rail.height - Theme.spacing) / rail.pages.length))
                visible: !(DemoMode && modelData.installer)
                text: modelData.title
                iconPath: modelData.icon
                current: rail.current === index
                onClicked: rail.picked(index)
            }
        }
    }
}
