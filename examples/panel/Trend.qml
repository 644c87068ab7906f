import QtQuick 2.15

// The last half minute of a value, with gaps where it was stale.
Card {
    id: trend
    property real least: 0
    property real most: 100
    property var samples: []

    caption: tag.name + ", " + tag.unit
    Timer {
        interval: 250; running: true; repeat: true; triggeredOnStart: true
        onTriggered: {
            trend.samples = trend.samples.slice(-119).concat([trend.tag.stale ? NaN : trend.tag.value])
            curve.requestPaint()
        }
    }
    Repeater {
        model: [trend.most, (trend.least + trend.most) / 2, trend.least]
        Item {
            width: trend.width
            y: curve.y + index * curve.height / 2
            Label { x: Theme.gap; y: -height / 2; text: modelData; note: true }
            Rectangle { x: curve.x; width: curve.width; height: 1; color: Theme.edge }
        }
    }
    Canvas {
        id: curve
        anchors { fill: parent; margins: 14; topMargin: 42; leftMargin: 48 }
        onPaint: {
            const context = getContext("2d")
            const heightOf = function(value) { return height * (trend.most - value) / (trend.most - trend.least) }
            context.reset()
            context.strokeStyle = Theme.good
            context.lineWidth = 2
            context.beginPath()
            for (let i = 0; i < trend.samples.length; ++i) {
                const x = width * (i + 120 - trend.samples.length) / 119
                if (i === 0 || isNaN(trend.samples[i - 1]))
                    context.moveTo(x, heightOf(trend.samples[i]))
                else if (!isNaN(trend.samples[i]))
                    context.lineTo(x, heightOf(trend.samples[i]))
            }
            context.stroke()
        }
    }
}
