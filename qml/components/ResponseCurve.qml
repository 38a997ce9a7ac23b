import QtQuick 2.15
import "../logic/response.js" as Response
import "../logic/scale.js" as Scale

// The frequency response of the ten bands and the master gain, drawn behind the band sliders:
// column i of the curve is the centre of slider i (`firstColumnX` + i * `columnStep`), and
// `from`..`to` dB span `topY`..`bottomY`, the travel of the slider handles, on the sliders' own gain
// axis. What rises above 0 dB is drawn in the warning colour. Redrawn whenever a gain changes.
Canvas {
    id: canvas

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

    function yAt(db) {
        return topY + (1 - Scale.position(db, from, to)) * (bottomY - topY);
    }
    function xAt(column) {
        return firstColumnX + column * columnStep;
    }

    onBandsChanged: requestPaint()
    onMasterChanged: requestPaint()
    onFromChanged: requestPaint()
    onToChanged: requestPaint()
    onFirstColumnXChanged: requestPaint()
    onColumnStepChanged: requestPaint()
    onTopYChanged: requestPaint()
    onBottomYChanged: requestPaint()
    onWidthChanged: requestPaint()
    onHeightChanged: requestPaint()

    Accessible.ignored: true

    // Traces the curve; `area` closes it along the 0 dB line, for filling.
    function trace(ctx, points, area) {
        const first = points[0], last = points[points.length - 1];
        ctx.beginPath();
        ctx.moveTo(xAt(first.x), yAt(area ? 0 : first.db));
        for (let i = 0; i < points.length; ++i)
            ctx.lineTo(xAt(points[i].x), yAt(points[i].db));
        if (area) {
            ctx.lineTo(xAt(last.x), yAt(0));
            ctx.closePath();
        }
    }

    // Fills under the curve and draws it, in `wash` and `line`.
    function draw(ctx, points, wash, line) {
        trace(ctx, points, true);
        ctx.fillStyle = wash;
        ctx.fill();
        trace(ctx, points, false);
        ctx.lineWidth = Math.max(2, 3 * Theme.scale);
        ctx.lineJoin = "round";
        ctx.strokeStyle = line;
        ctx.stroke();
    }

    onPaint: {
        const ctx = getContext("2d");
        ctx.reset();
        if (bands.length === 0 || bottomY <= topY)
            return;
        const zeroY = yAt(0);
        const shift = isFinite(master) ? master : 0;
        const points = Response.curve(bands, 24).map(function (p) { return { x: p.x, db: p.db + shift }; });

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

        const fill = ctx.createLinearGradient(0, topY, 0, bottomY);
        fill.addColorStop(0, Theme.accentWash);
        fill.addColorStop(Math.max(0, Math.min(1, (zeroY - topY) / (bottomY - topY))), Theme.accentWashFaint);
        fill.addColorStop(1, Theme.accentWash);
        draw(ctx, points, fill, Theme.curve);

        // Above 0 dB the sound would clip: that part again, in the warning colour.
        if (points.some(function (p) { return p.db > 0; })) {
            ctx.save();
            ctx.beginPath();
            ctx.rect(0, 0, width, zeroY);
            ctx.clip();
            draw(ctx, points, Theme.warningWash, Theme.warning);
            ctx.restore();
        }
    }
}
