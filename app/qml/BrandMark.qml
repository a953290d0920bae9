// The brand's mark: a sun half risen over the horizon. `closed` draws the
// shutter's lids over it; `nods` closes it once when it appears.
import QtQuick
import Brindlemoor

Item {
    id: mark
    property real size: 28
    property color ink: Theme.ink
    property bool nods: false
    property real closed: 0
    width: size
    height: size

    onClosedChanged: canvas.requestPaint()
    onInkChanged: canvas.requestPaint()

    Canvas {
        id: canvas
        anchors.fill: parent
        onPaint: {
            const c = getContext("2d")
            const s = mark.size / 28
            c.reset()
            c.scale(s, s)
            c.fillStyle = mark.ink
            c.strokeStyle = mark.ink
            c.lineCap = "round"
            c.save()
            c.beginPath()
            c.rect(0, 0, 28, 16)
            c.clip()
            c.beginPath()
            c.arc(14, 17, 8 * (1 - mark.closed * 0.85), 0, Math.PI * 2)
            c.fill()
            c.restore()
            c.lineWidth = 2.2
            c.beginPath(); c.moveTo(3, 18.5); c.lineTo(25, 18.5); c.stroke()
            c.lineWidth = 2
            c.beginPath(); c.moveTo(8, 23); c.lineTo(20, 23); c.stroke()
        }
    }

    SequentialAnimation {
        running: mark.nods
        PauseAnimation { duration: 150 }
        NumberAnimation { target: mark; property: "closed"; to: 1; duration: 180; easing.type: Easing.OutBack }
        PauseAnimation { duration: 400 }
        NumberAnimation { target: mark; property: "closed"; to: 0; duration: 220; easing.type: Easing.OutCubic }
    }
}
