import QtQuick 2.15

// Takes a number between two limits, by touch or from a keyboard.
Rectangle {
    id: keypad
    property var question: ({ caption: "", least: 0, most: 0, accept: null })
    property string entry
    readonly property bool fits: /^-?\d+(\.\d+)?$/.test(entry) && Number(entry) >= question.least && Number(entry) <= question.most
    readonly property bool wrong: entry !== "" && !fits

    function ask(caption, least, most, accept) {
        question = { caption: caption, least: least, most: most, accept: accept }
        entry = ""
        visible = true
        forceActiveFocus()
    }
    function press(key) {
        if (key === "C")
            visible = false
        else if (key === "⌫")
            entry = entry.slice(0, -1)
        else if (key !== "OK")
            entry += key
        else if (fits) {
            visible = false
            question.accept(Number(entry))
        }
    }

    anchors.fill: parent
    visible: false
    color: "#c0000000"
    Keys.onPressed: function(event) {
        const special = { [Qt.Key_Return]: "OK", [Qt.Key_Enter]: "OK", [Qt.Key_Escape]: "C", [Qt.Key_Backspace]: "⌫" }
        const key = special[event.key] || event.text
        if (/^([\d.-]|OK|C|⌫)$/.test(key))
            press(key)
        event.accepted = true
    }
    MouseArea { anchors.fill: parent } // what lies below is not touched

    Card {
        anchors.centerIn: parent
        width: keys.width + 40
        height: 420
        caption: keypad.question.caption
        Column {
            anchors { fill: parent; margins: 20; topMargin: 38 }
            spacing: 6
            Rectangle {
                width: keys.width; height: 54
                radius: Theme.radius
                color: Theme.back
                border.color: keypad.wrong ? Theme.alarm : Theme.edge
                Label {
                    anchors { right: parent.right; verticalCenter: parent.verticalCenter; margins: 14 }
                    text: keypad.entry
                    color: keypad.wrong ? Theme.alarm : Theme.text
                    font { pixelSize: Theme.large; bold: true }
                }
            }
            Label {
                anchors.right: parent.right
                text: keypad.question.least + " … " + keypad.question.most
                note: true
                color: keypad.wrong ? Theme.alarm : Theme.dim
            }
            Grid {
                id: keys
                columns: 4
                spacing: 8
                Repeater {
                    model: ["7", "8", "9", "⌫", "4", "5", "6", "C", "1", "2", "3", "-", "0", ".", "", "OK"]
                    PanelButton {
                        objectName: "key" + modelData
                        width: 74; height: 60
                        text: modelData
                        opacity: modelData === "" ? 0 : enabled ? 1 : 0.4
                        enabled: modelData !== "" && (modelData !== "OK" || keypad.fits)
                        tone: modelData === "OK" ? Theme.accent : Theme.raised
                        onClicked: keypad.press(modelData)
                    }
                }
            }
        }
    }
}
