import QtQuick
import Tembrel

// A ring that empties clockwise from the top as the countdown runs out.
Canvas {
    id: ring
    property real progress: 1.0
    property color trackColor: "#22000000"
    property color color: "#188038"
    property real lineWidth: 2

    antialiasing: true
    onProgressChanged: requestPaint()
    onColorChanged: requestPaint()
    onTrackColorChanged: requestPaint()

    onPaint: {
        const ctx = getContext("2d")
        ctx.reset()
        const r = Math.min(width, height) / 2 - lineWidth / 2
        const cx = width / 2
        const cy = height / 2
        ctx.lineWidth = lineWidth
        ctx.lineCap = "round"
        ctx.strokeStyle = trackColor
        ctx.beginPath()
        ctx.arc(cx, cy, r, 0, 2 * Math.PI)
        ctx.stroke()
        if (progress <= 0)
            return
        ctx.strokeStyle = color
        ctx.beginPath()
        const start = -Math.PI / 2
        ctx.arc(cx, cy, r, start, start + 2 * Math.PI * Math.min(1, progress))
        ctx.stroke()
    }
}
