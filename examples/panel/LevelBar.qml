import QtQuick 2.15
import ModbusRtu 1.0

// A tank: its level, and a mark at the set point.
Card {
    id: bar
    property Tag mark
    property real most: 1200

    function part(of) {
        return Math.max(0, Math.min(1, of.value / most))
    }

    Rectangle {
        anchors { fill: parent; margins: Theme.gap; topMargin: 36; bottomMargin: 44; rightMargin: 62 }
        color: Theme.back
        border.color: Theme.edge
        Rectangle {
            anchors { left: parent.left; right: parent.right; bottom: parent.bottom; margins: 1 }
            height: bar.part(bar.tag) * (parent.height - 2)
            color: Theme.accent
            opacity: bar.stale ? 0.25 : 1
        }
        Rectangle {
            y: parent.height * (1 - bar.part(bar.mark)) - 1
            width: parent.width + 6
            height: 3
            color: Theme.warning
            Label {
                anchors { left: parent.right; leftMargin: 4; verticalCenter: parent.verticalCenter }
                text: bar.mark.text
                note: true
                color: Theme.warning
            }
        }
    }
    ValueLabel { tag: bar.tag }
}
