import QtQuick 2.15
import ModbusRtu 1.0

// A bit as a lamp; a ring only while nobody knows.
Row {
    property Tag tag
    property color on: Theme.good

    spacing: Theme.gap
    Rectangle {
        width: 18; height: 18; radius: 9
        anchors.verticalCenter: parent.verticalCenter
        color: tag.stale ? "transparent" : tag.value ? parent.on : Theme.back
        border { width: 2; color: tag.stale ? Theme.warning : tag.value ? Qt.lighter(parent.on, 1.3) : Theme.edge }
    }
    Label { text: tag.name; color: tag.stale ? Theme.warning : Theme.text; opacity: tag.stale ? 0.6 : 1 }
}
