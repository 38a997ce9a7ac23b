import QtQuick 2.15
import "../logic/response.js" as Response
import "../logic/scale.js" as Scale

// The frequency response of the ten bands, drawn behind their sliders: column i of the curve is
// the centre of slider i (`firstColumnX` + i * `columnStep`), and `from`..`to` dB span
// `topY`..`bottomY`, the travel of the slider handles, on the sliders' own gain axis. Redrawn
// whenever a gain changes.
Canvas {
    id: canvas

    // [{freq: Hz, gain: dB}], in slider order.
    property var bands: []
    property real from: -60
    property real to: 20
    property real firstColumnX: 0
    property real columnStep: 1
    property real topY: 0
    property real bottomY: height
    property var gridLines: [-48, -36, -24, -12, -6, 0, 6, 12]

    function yAt(db) {
        return topY + (1 - Scale.position(db, from, to)) * (bottomY - topY);
    }
    function xAt(column) {
        return firstColumnX + column * columnStep;
    }

    onBandsChanged: requestPaint()
    onFromChanged: requestPaint()
    onToChanged: requestPaint()
    onFirstColumnXChanged: requestPaint()
    onColumnStepChanged: requestPaint()
    onTopYChanged: requestPaint()
    onBottomYChanged: requestPaint()
    onWidthChanged: requestPaint()
    onHeightChanged: requestPaint()

    Accessible.ignored: true

    onPaint: {
        const ctx = getContext("2d");
        ctx.reset();
        if (bands.length === 0 || bottomY <= topY)
            return;
        const zeroY = yAt(0);
        const points = Response.curve(bands, 24);

        // Grid at the scale's marks, the 0 dB line a little brighter.
        ctx.lineWidth = 1;
        for (const db of gridLines) {
            if (db < from || db > to)
                continue;
            ctx.strokeStyle = db === 0 ? Theme.gridZero : Theme.grid;
            ctx.beginPath();
            ctx.moveTo(0, Math.round(yAt(db)) + 0.5);
            ctx.lineTo(width, Math.round(yAt(db)) + 0.5);
            ctx.stroke();
        }

        ctx.beginPath();
        ctx.moveTo(xAt(points[0].x), zeroY);
        for (let i = 0; i < points.length; ++i)
            ctx.lineTo(xAt(points[i].x), yAt(points[i].db));
        ctx.lineTo(xAt(points[points.length - 1].x), zeroY);
        ctx.closePath();
        const fill = ctx.createLinearGradient(0, topY, 0, bottomY);
        fill.addColorStop(0, Theme.accentWash);
        fill.addColorStop(Math.max(0, Math.min(1, (zeroY - topY) / (bottomY - topY))), Theme.accentWashFaint);
        fill.addColorStop(1, Theme.accentWash);
        ctx.fillStyle = fill;
        ctx.fill();

        ctx.beginPath();
        for (let i = 0; i < points.length; ++i) {
            if (i === 0)
                ctx.moveTo(xAt(points[i].x), yAt(points[i].db));
            else
                ctx.lineTo(xAt(points[i].x), yAt(points[i].db));
        }
        ctx.lineWidth = Math.max(2, 3 * Theme.scale);
        ctx.lineJoin = "round";
        ctx.strokeStyle = Theme.curve;
        ctx.stroke();
    }
}
