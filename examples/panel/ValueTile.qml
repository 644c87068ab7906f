import QtQuick 2.15

// A number with its unit; where it has a limit, it can be tapped and entered.
Card {
    id: tile
    property real most: 0
    readonly property bool failed: tag.error !== ""
    signal tapped()

    ValueLabel { tag: tile.tag }
    Label {
        anchors { right: parent.right; bottom: parent.bottom; margins: Theme.gap }
        visible: tile.most > 0
        text: tile.failed ? "not written" : "0 … " + tile.most
        note: true
        color: tile.failed ? Theme.alarm : Theme.dim
    }
    MouseArea { anchors.fill: parent; enabled: tile.most > 0; onClicked: tile.tapped() }
}
