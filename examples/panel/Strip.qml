import QtQuick 2.15

// One line of a list: texts in columns, and what is put on top of them.
Rectangle {
    id: strip
    property var texts: []
    property var widths: []
    property color ink: Theme.text
    property bool note: false

    width: parent ? parent.width : 0
    height: 40
    radius: 6
    color: Theme.raised
    Row {
        x: 16
        anchors.verticalCenter: parent.verticalCenter
        Repeater {
            model: strip.widths.length
            Label { width: strip.widths[index]; text: strip.texts[index]; color: strip.ink; note: strip.note }
        }
    }
}
