import QtQuick 2.15

// A rounded area with a caption; amber where what it shows is stale.
Rectangle {
    property string caption
    property bool stale: false

    color: Theme.card
    radius: Theme.radius
    border.width: stale ? 2 : 1
    border.color: stale ? Theme.warning : Theme.edge

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
