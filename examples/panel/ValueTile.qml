import QtQuick 2.15
import ModbusRtu 1.0

// A number with its unit; with limits, it can be tapped and entered.
Card {
    id: tile
    property Tag tag
    property bool editable: false
    property real least: 0
    property real most: 65535
    signal tapped()

    caption: tag.name
    stale: tag.stale
    Label {
        anchors { left: parent.left; bottom: parent.bottom; margins: Theme.gap }
        text: tile.tag.quality === Tag.NeverRead ? "–" : tile.tag.text
        color: tile.tag.writing ? Theme.accent : Theme.text
        opacity: tile.stale ? 0.35 : 1
        font { pixelSize: Theme.large; bold: true }
        Label {
            anchors { left: parent.right; leftMargin: 5; baseline: parent.baseline }
            text: tile.tag.unit
            color: Theme.dim
        }
    }
    Label {
        anchors { right: parent.right; bottom: parent.bottom; margins: Theme.gap }
        visible: tile.editable
        text: tile.tag.error !== "" ? "not written" : tile.least + " … " + tile.most
        color: tile.tag.error !== "" ? Theme.alarm : Theme.dim
        font.pixelSize: Theme.small
    }
    MouseArea {
        anchors.fill: parent
        enabled: tile.editable
        onClicked: tile.tapped()
    }
}
