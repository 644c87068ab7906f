import QtQuick 2.15
import ModbusRtu 1.0

// A tank: its level, and a mark at the set point.
Card {
    id: bar
    property Tag tag
    property Tag mark
    property real most: 1200

    caption: tag.name
    stale: tag.stale
    Rectangle {
        id: tank
        anchors { fill: parent; margins: Theme.gap; topMargin: 36; bottomMargin: 44; rightMargin: 62 }
        color: Theme.back
        border.color: Theme.edge
        Rectangle {
            anchors { left: parent.left; right: parent.right; bottom: parent.bottom; margins: 1 }
            height: Math.max(0, Math.min(1, bar.tag.value / bar.most)) * (parent.height - 2)
            color: Theme.accent
            opacity: bar.stale ? 0.25 : 1
        }
        Rectangle {
            y: parent.height * (1 - Math.max(0, Math.min(1, bar.mark.value / bar.most))) - 1
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
    Label {
        anchors { left: parent.left; bottom: parent.bottom; margins: Theme.gap }
        text: bar.tag.text + " " + bar.tag.unit
        opacity: bar.stale ? 0.35 : 1
        font { pixelSize: Theme.large; bold: true }
    }
}
