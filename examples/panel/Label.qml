import QtQuick 2.15

// A text of the panel; a note is smaller and stands back.
Text {
    property bool note: false

    color: note ? Theme.dim : Theme.text
    font.pixelSize: note ? Theme.small : Theme.normal
}
