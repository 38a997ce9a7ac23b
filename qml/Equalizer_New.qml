import QtQuick 2.15
import QtQuick.Layouts 1.15
import "components"

// The equaliser's touch scene. The controller is the root context object: every control shows
// one of its properties and changes it only through one of its slots.
Rectangle {
    id: root

    // The pages in rail order; demo mode keeps only those a passenger may play with.
    readonly property var pages: [
        { key: "equalizer", file: "pages/EqualizerPage.qml", title: qsTr("Equalizer"), icon: Icons.equalizer, installer: false },
        { key: "soundField", file: "pages/SoundFieldPage.qml", title: qsTr("Sound field"), icon: Icons.soundField, installer: false },
        { key: "bass", file: "pages/BassPage.qml", title: qsTr("Bass"), icon: Icons.bass, installer: true },
        { key: "voice", file: "pages/VoicePage.qml", title: qsTr("Voice call"), icon: Icons.voice, installer: true },
        { key: "profiles", file: "pages/ProfilesPage.qml", title: qsTr("Profiles"), icon: Icons.profiles, installer: true }
    ]
    property int currentPage: 0
    readonly property int shownPage: DemoMode && pages[currentPage].installer ? 0 : currentPage

    objectName: "root"
    width: 1280
    height: 720
    color: Theme.background

    Binding {
        target: Theme
        property: "scale"
        value: Math.min(root.width / 1280, root.height / 720)
    }

    TitleBar {
        id: header
        anchors.left: parent.left
        anchors.right: parent.right
        title: root.pages[root.shownPage].title
    }

    Rail {
        id: rail
        anchors.top: header.bottom
        anchors.bottom: parent.bottom
        anchors.left: parent.left
        pages: root.pages
        current: root.shownPage
        onPicked: root.currentPage = index
    }

    StackLayout {
        id: stack
        anchors.top: header.bottom
        anchors.bottom: parent.bottom
        anchors.left: rail.right
        anchors.right: parent.right
        currentIndex: root.shownPage

        // A count rather than the list itself, so that the pages outlive a new list of titles.
        Repeater {
            model: root.pages.length

            PageLoader {
                source: Qt.resolvedUrl(root.pages[index].file)
                shown: root.shownPage === index
                allowed: !(DemoMode && root.pages[index].installer)
                onNotify: toast.show(message)
            }
        }
    }

    Toast {
        id: toast
        anchors.horizontalCenter: stack.horizontalCenter
        anchors.bottom: parent.bottom
        anchors.bottomMargin: Theme.margin * 2 + Theme.touch
    }
}
