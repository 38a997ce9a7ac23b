import QtQuick 2.15
import QtQuick.Shapes 1.15
import "../logic/response.js" as Response
import "../logic/scale.js" as Scale

// The frequency response of the ten bands and the master gain, drawn behind the band sliders:
// column i of the curve is the centre of slider i (`firstColumnX` + i * `columnStep`), and
// `from`..`to` dB span `topY`..`bottomY`, the travel of the slider handles, on the sliders' own gain
// axis. What rises above 0 dB is drawn in the warning colour. Shapes and lines rather than a
// canvas: they are drawn straight into the window, where a canvas keeps an image of its own.
Item {
    id: curve

    // [{freq: Hz, gain: dB}], in slider order, and the master gain the whole curve is moved by.
    property var bands: []
    property real master: 0
    property real from: -60
    property real to: 20
    property real firstColumnX: 0
    property real columnStep: 1
    property real topY: 0
    property real bottomY: height
    property var gridLines: [-48, -36, -24, -12, -6, 0, 6, 12]

    // The curve in dB, column by column: [{x: column, db}]. Worked out once a turn of the event
    // loop rather than on every change: a preset or a profile changes ten bands in one call, and
    // the caller waits for each.
    property var response: []

    function refresh() {
        const shift = isFinite(master) ? master : 0;
        response = bands.length === 0 || bottomY <= topY ? []
            : Response.curve(bands, 24).map(function (p) { return { x: p.x, db: p.db + shift }; });
    }
    onBandsChanged: Qt.callLater(refresh)
    onMasterChanged: Qt.callLater(refresh)
    onTopYChanged: Qt.callLater(refresh)
    onBottomYChanged: Qt.callLater(refresh)
    Component.onCompleted: refresh()
    readonly property real zeroY: yAt(0)
    readonly property var line: response.map(function (p) { return Qt.point(xAt(p.x), yAt(p.db)); })
    // The same closed along the 0 dB line, for filling.
    readonly property var area: line.length === 0 ? []
        : [Qt.point(line[0].x, zeroY)].concat(line, [Qt.point(line[line.length - 1].x, zeroY)])
    readonly property real lineWidth: Math.max(2, 3 * Theme.scale)

    function yAt(db) {
        return topY + (1 - Scale.position(db, from, to)) * (bottomY - topY);
    }
    function xAt(column) {
        return firstColumnX + column * columnStep;
    }

    Accessible.ignored: true

    // Grid at the scale's marks, the 0 dB line a little brighter.
    Repeater {
        model: curve.gridLines.filter(function (db) { return db >= curve.from && db <= curve.to; })

        Rectangle {
            y: Math.round(curve.yAt(modelData))
            width: curve.width
            height: 1
            color: modelData === 0 ? Theme.gridZero : Theme.grid
        }
    }

    Shape {
        anchors.fill: parent
        visible: curve.line.length > 0
        antialiasing: true

        ShapePath {
            strokeColor: "transparent"
            fillGradient: LinearGradient {
                x1: 0; y1: curve.topY
                x2: 0; y2: curve.bottomY
                GradientStop { position: 0; color: Theme.accentWash }
                GradientStop {
                    position: Math.max(0, Math.min(1, (curve.zeroY - curve.topY) / (curve.bottomY - curve.topY)))
                    color: Theme.accentWashFaint
                }
                GradientStop { position: 1; color: Theme.accentWash }
            }
            PathPolyline { path: curve.area }
        }
        ShapePath {
            strokeColor: Theme.curve
            strokeWidth: curve.lineWidth
            fillColor: "transparent"
            joinStyle: ShapePath.RoundJoin
            capStyle: ShapePath.FlatCap
            PathPolyline { path: curve.line }
        }
    }

    // Above 0 dB the sound would clip: that part again, in the warning colour.
    Item {
        width: curve.width
        height: Math.max(0, curve.zeroY)
        clip: true
        visible: curve.response.some(function (p) { return p.db > 0; })

        Shape {
            width: curve.width
            height: curve.height
            antialiasing: true

            ShapePath {
                strokeColor: "transparent"
                fillColor: Theme.warningWash
                PathPolyline { path: curve.area }
            }
            ShapePath {
                strokeColor: Theme.warning
                strokeWidth: curve.lineWidth
                fillColor: "transparent"
                joinStyle: ShapePath.RoundJoin
                capStyle: ShapePath.FlatCap
                PathPolyline { path: curve.line }
            }
        }
    }
}
