import QtQuick 2.15

// A card that lists something, in strips.
Card {
    property alias model: list.model
    property alias delegate: list.delegate
    property alias header: list.header
    property alias spacing: list.spacing

    ListView {
        id: list
        anchors { fill: parent; margins: Theme.gap; topMargin: 34 }
        clip: true
        spacing: 6
    }
}
