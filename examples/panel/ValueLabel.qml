import QtQuick 2.15
import ModbusRtu 1.0

// A number in large figures, with its unit; pale when it is stale.
Label {
    id: label
    property Tag tag

    anchors { left: parent.left; bottom: parent.bottom; margins: Theme.gap }
    text: tag.quality === Tag.NeverRead ? "–" : tag.text
    color: tag.writing ? Theme.accent : Theme.text
    opacity: tag.stale ? 0.35 : 1
    font { pixelSize: Theme.large; bold: true }
    Label {
        anchors { left: parent.right; leftMargin: 5; baseline: parent.baseline }
        text: label.tag.unit
        color: Theme.dim
    }
}
