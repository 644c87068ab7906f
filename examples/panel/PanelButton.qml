import QtQuick 2.15

Rectangle {
    id: button
    property alias text: label.text
    property color tone: Theme.raised
    signal clicked()

    implicitWidth: 120
    implicitHeight: 48
    radius: Theme.radius
    color: touch.pressed ? Qt.lighter(tone, 1.3) : tone
    border.color: Theme.edge
    opacity: enabled ? 1 : 0.4

    Label {
        id: label
        anchors.centerIn: parent
    }
    MouseArea {
        id: touch
        anchors.fill: parent
        onClicked: button.clicked()
    }
}
