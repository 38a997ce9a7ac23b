import QtQuick 2.15
import QtQuick.Layouts 1.15

// The strip above every page: the page's name, the demo badge, the volume and the minimise button.
Rectangle {
    id: bar

    property string title

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
            text: bar.title
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
