import QtQuick 2.15
import QtQuick.Layouts 1.15
import "../components"
import "../logic/limits.js" as Limits

// Where the sound is centred: the sweet spot as a seat in the cabin, and the four channel delays
// that it sets, which the installer can also set one by one.
Item {
    id: page

    objectName: "page:soundField"

    readonly property var delays: [chan1Delay, chan2Delay, chan3Delay, chan4Delay]
    readonly property var seatNames: [qsTr("Front left"), qsTr("Front right"), qsTr("Rear left"), qsTr("Rear right")]

    RowLayout {
        anchors.fill: parent
        anchors.margins: Theme.margin
        spacing: Theme.margin

        Panel {
            Layout.fillHeight: true
            Layout.fillWidth: true
            Layout.preferredWidth: Theme.compact ? 5 : 4
            title: qsTr("Sweet spot")

            CabinView {
                anchors.fill: parent
                selected: sweetspotId
                seatNames: page.seatNames
                onPicked: setSweetspot(seat)
            }
        }

        Panel {
            Layout.fillHeight: true
            Layout.fillWidth: true
            Layout.preferredWidth: Theme.compact ? 5 : 6
            title: qsTr("Channel delays")

            ColumnLayout {
                anchors.fill: parent
                spacing: Theme.spacing

                Repeater {
                    model: 4

                    ValueRow {
                        readonly property int channel: index + 1
                        Layout.fillWidth: true
                        objectPrefix: "delay" + channel
                        label: Theme.compact ? qsTr("Ch %1 \u00b7 %2").arg(channel).arg(page.seatNames[index])
                                             : qsTr("Channel %1 \u00b7 %2").arg(channel).arg(page.seatNames[index])
                        unit: qsTr("samples")
                        shown: page.delays[index]
                        from: Limits.delay.from
                        to: Limits.delay.to
                        write: function (value) { return changeChanDelay(channel, value); }
                    }
                }
                Item { Layout.fillHeight: true }
                Text {
                    Layout.fillWidth: true
                    visible: !Theme.compact
                    text: qsTr("A seat sets all four delays; each can then be fine-tuned here.")
                    color: Theme.textDim
                    font.pixelSize: Theme.fontCaption
                    wrapMode: Text.WordWrap
                }
            }
        }
    }
}
