import QtQuick 2.15
import ModbusRtu 1.0

// A rounded area with a caption, of a tag as a rule; amber where what it shows is stale.
Rectangle {
    property Tag tag: null
    property string caption: tag ? tag.name : ""
    readonly property bool stale: tag !== null && tag.stale

    color: Theme.card
    radius: Theme.radius
    border { width: stale ? 2 : 1; color: stale ? Theme.warning : Theme.edge }

    Label {
        anchors { left: parent.left; top: parent.top; margins: Theme.gap }
        text: parent.caption
        note: true
    }
    Label {
        anchors { right: parent.right; top: parent.top; margins: Theme.gap }
        visible: parent.stale
        text: "no answer"
        note: true
        color: Theme.warning
    }
}
