import QtQuick 2.15
import QtQuick.Layouts 1.15
import "components"
import "pages"

// The equaliser's touch scene. The controller is the root context object: every control shows
// one of its properties and changes it only through one of its slots.
Rectangle {
    id: root

    // The pages in rail order; demo mode keeps only those a passenger may play with.
    readonly property var pages: [
        { key: "equalizer", title: qsTr("Equalizer"), icon: Icons.equalizer, installer: false },
        { key: "soundField", title: qsTr("Sound field"), icon: Icons.soundField, installer: false },
        { key: "bass", title: qsTr("Bass"), icon: Icons.bass, installer: true },
        { key: "voice", title: qsTr("Voice call"), icon: Icons.voice, installer: true },
        { key: "profiles", title: qsTr("Profiles"), icon: Icons.profiles, installer: true }
    ]
    property int currentPage: 0
    readonly property int shownPage: DemoMode && pages[currentPage].installer ? 0 : currentPage

    function showPage(key) {
        for (let i = 0; i < pages.length; ++i) {
            if (pages[i].key === key && !(DemoMode && pages[i].installer))
                currentPage = i;
        }
    }

    objectName: "root"
    width: 1280
    height: 720
    color: Theme.background

    Binding {
        target: Theme
        property: "scale"
        value: Math.min(root.width / 1280, root.height / 720)
    }

    // Header: the page's name, the demo badge, the volume and the minimise button.
    Rectangle {
        id: header
        anchors.left: parent.left
        anchors.right: parent.right
        height: Theme.headerHeight
        color: Theme.surface

        RowLayout {
            anchors.fill: parent
            anchors.leftMargin: Theme.margin
            anchors.rightMargin: Math.round(Theme.margin / 2)
            spacing: Theme.margin

            Text {
                Layout.preferredWidth: Theme.compact ? implicitWidth : Theme.railWidth + Theme.margin * 6
                Layout.maximumWidth: Layout.preferredWidth
                text: root.pages[root.shownPage].title
                color: Theme.text
                font.pixelSize: Theme.fontTitle
                font.weight: Font.DemiBold
                elide: Text.ElideRight
            }
            Rectangle {
                objectName: "demoBadge"
                visible: DemoMode
                implicitWidth: demoLabel.implicitWidth + 2 * Theme.spacing
                implicitHeight: demoLabel.implicitHeight + Math.round(Theme.spacing / 2)
                radius: height / 2
                color: Theme.warning
                Accessible.role: Accessible.StaticText
                Accessible.name: qsTr("Demo mode")
                Text {
                    id: demoLabel
                    anchors.centerIn: parent
                    text: qsTr("Demo")
                    color: Theme.textOnWarning
                    font.pixelSize: Theme.fontCaption
                    font.weight: Font.Bold
                }
            }
            VolumeControl {
                Layout.fillWidth: true
                Layout.maximumWidth: Math.round(640 * Math.max(Theme.scale, 0.8))
                Layout.alignment: Qt.AlignRight | Qt.AlignVCenter
                shown: Volume
                write: function (value) { return setVolume(value); }
            }
            TouchButton {
                objectName: "minimize"
                Layout.alignment: Qt.AlignVCenter
                text: Theme.compact ? "" : qsTr("Minimise")
                iconPath: Icons.minimize
                Accessible.name: qsTr("Minimise")
                onClicked: minimize()
            }
        }
    }

    // Side rail: one entry per page.
    Rectangle {
        id: rail
        anchors.top: header.bottom
        anchors.bottom: parent.bottom
        anchors.left: parent.left
        width: Theme.railWidth
        color: Theme.surface

        Rectangle {
            anchors.right: parent.right
            anchors.top: parent.top
            anchors.bottom: parent.bottom
            width: 1
            color: "#222c38"
        }

        Column {
            anchors.top: parent.top
            anchors.topMargin: Math.round(Theme.spacing / 2)
            width: parent.width

            Repeater {
                model: root.pages

                RailButton {
                    objectName: "rail:" + modelData.key
                    width: rail.width
                    height: Math.max(Theme.touch, Math.min(Math.round(110 * Theme.scale),
                                                           (rail.height - Theme.spacing) / root.pages.length))
                    visible: !(DemoMode && modelData.installer)
                    text: modelData.title
                    iconPath: modelData.icon
                    current: root.shownPage === index
                    onClicked: root.currentPage = index
                }
            }
        }
    }

    StackLayout {
        id: stack
        anchors.top: header.bottom
        anchors.bottom: parent.bottom
        anchors.left: rail.right
        anchors.right: parent.right
        currentIndex: root.shownPage

        EqualizerPage {
            onNotify: toast.show(message)
        }
        SoundFieldPage {
        }
        Loader {
            active: !DemoMode
            sourceComponent: BassPage {}
        }
        Loader {
            active: !DemoMode
            sourceComponent: VoicePage {}
        }
        Loader {
            active: !DemoMode
            sourceComponent: ProfilesPage {
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
