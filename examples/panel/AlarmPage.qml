import QtQuick 2.15

Item {
    id: page
    property var alarms: []
    readonly property var shown: alarms.filter(function(alarm) { return alarm.active || !alarm.seen })

    ListCard {
        anchors { fill: parent; bottomMargin: 58 }
        caption: page.shown.length === 0 ? "No alarms" : "Alarms"
        model: page.shown
        delegate: Strip {
            objectName: "alarm " + modelData.text
            color: modelData.active ? Theme.alarmBack : Theme.raised
            ink: modelData.active ? Theme.text : Theme.dim
            widths: [560]
            texts: [modelData.text]
            Rectangle { width: 6; height: parent.height; radius: 3; color: modelData.active ? Theme.alarm : Theme.dim }
            Label {
                anchors { right: parent.right; rightMargin: 14; verticalCenter: parent.verticalCenter }
                text: (modelData.active ? "since " : "gone ") + Qt.formatTime(modelData.since, "hh:mm:ss")
                      + (modelData.seen ? "" : "  ●")
                note: true
                color: modelData.seen ? Theme.dim : Theme.warning
            }
        }
    }
    PanelButton {
        objectName: "acknowledge"
        anchors { right: parent.right; bottom: parent.bottom }
        width: 180
        text: "Acknowledge"
        enabled: page.shown.length > 0
        onClicked: page.shown.forEach(function(alarm) { alarm.seen = true })
    }
}
