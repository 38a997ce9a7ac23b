import QtQuick 2.15
import QtQuick.Shapes 1.15

// A line icon drawn from an SVG path on a 24 x 24 grid, so that it needs no image file or font.
Item {
    id: icon

    property string path
    property color color: Theme.text
    property real size: 28

    implicitWidth: size
    implicitHeight: size
    Accessible.ignored: true

    Shape {
        width: 24
        height: 24
        scale: icon.size / 24
        transformOrigin: Item.TopLeft
        antialiasing: true
        ShapePath {
            strokeColor: icon.color
            strokeWidth: 2
            fillColor: "transparent"
            capStyle: ShapePath.RoundCap
            joinStyle: ShapePath.RoundJoin
            PathSvg { path: icon.path }
        }
    }
}
