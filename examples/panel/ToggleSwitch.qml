import QtQuick 2.15

// Shows what the slave has, and writes the opposite when tapped.
Card {
    id: toggle

    Rectangle {
        anchors { left: parent.left; bottom: parent.bottom; margins: Theme.gap }
        width: 64; height: 32; radius: 16
        color: toggle.tag.value ? Theme.good : Theme.raised
        opacity: toggle.stale ? 0.35 : 1
        Rectangle {
            y: 3
            x: toggle.tag.value ? parent.width - width - 3 : 3
            width: 26; height: 26; radius: 13
            color: toggle.tag.writing ? Theme.accent : Theme.text
            Behavior on x { NumberAnimation { duration: 80 } }
        }
    }
    MouseArea { anchors.fill: parent; onClicked: toggle.tag.value = !toggle.tag.value }
}
