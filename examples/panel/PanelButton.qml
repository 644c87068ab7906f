import QtQuick 2.15

Rectangle {
    id: button
    property string text
    property color tone: Theme.raised
    signal clicked()

    objectName: text
    width: 148; height: 48
    radius: Theme.radius
    color: touch.pressed ? Qt.lighter(tone, 1.3) : tone
    border.color: Theme.edge
    opacity: enabled ? 1 : 0.4
    Label { anchors.centerIn: parent; text: button.text }
    MouseArea { id: touch; anchors.fill: parent; onClicked: button.clicked() }
}
