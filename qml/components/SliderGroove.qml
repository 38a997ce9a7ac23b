import QtQuick 2.15

// A slider's groove with a bar lit along it between two positions (0 at the left, or at the
// bottom when `vertical`, 1 at the other end), in either order.
Item {
    id: groove

    property bool vertical: false
    property real fillFrom: 0
    property real fillTo: 0
    property color fillColor: Theme.accent
    readonly property real thickness: Math.max(4, Math.round(6 * Theme.scale))
    readonly property real length: vertical ? height : width

    Rectangle {
        anchors.centerIn: parent
        width: groove.vertical ? groove.thickness : parent.width
        height: groove.vertical ? parent.height : groove.thickness
        radius: groove.thickness / 2
        color: Theme.raised
        border.width: 1
        border.color: Theme.outline
    }
    Rectangle {
        readonly property real start: Math.min(groove.fillFrom, groove.fillTo) * groove.length
        readonly property real span: Math.abs(groove.fillTo - groove.fillFrom) * groove.length
        x: groove.vertical ? (parent.width - width) / 2 : start
        y: groove.vertical ? groove.length - start - span : (parent.height - height) / 2
        width: groove.vertical ? groove.thickness : span
        height: groove.vertical ? span : groove.thickness
        radius: groove.thickness / 2
        color: groove.fillColor
    }
}
