import QtQuick 2.15
import ModbusRtu 1.0

Item {
    id: page
    property Link link
    readonly property var columns: [
        { title: "Station", width: 90, text: function(s) { return s.station } },
        { title: "Line", width: 75, text: function(s) { return (100 * s.share).toFixed(1) + " %" } },
        { title: "Frames", width: 90, text: function(s) { return s.frames } },
        { title: "Reply", width: 90, text: function(s) { return s.replyMedian.toFixed(1) + " ms" } },
        { title: "Age", width: 95, text: function(s) { return s.ageMedian.toFixed(0) + " ms" } },
        { title: "Silent", width: 70, text: function(s) { return s.timeouts } },
        { title: "Bad", width: 60, text: function(s) { return s.damaged + s.foreign } },
        { title: "Refused", width: 80, text: function(s) { return s.exceptions } },
    ]

    Card {
        anchors.fill: parent
        caption: page.link.plant ? "Simulated slaves, " + page.link.baud + " baud" : page.link.port + ", " + page.link.baud + " baud"
        Row {
            x: 16; y: 40
            Repeater {
                model: page.columns.length
                Label { width: page.columns[index].width; text: page.columns[index].title; note: true }
            }
        }
        Column {
            anchors { fill: parent; margins: Theme.gap; topMargin: 64 }
            spacing: 6
            Repeater {
                model: page.link.stations
                Strip {
                    id: line
                    readonly property var station: modelData
                    height: 52
                    Row {
                        x: 6
                        anchors.verticalCenter: parent.verticalCenter
                        Repeater {
                            model: page.columns.length
                            Label {
                                width: page.columns[index].width
                                text: page.columns[index].text(line.station)
                                color: line.station.silent ? Theme.warning : Theme.text
                            }
                        }
                    }
                    PanelButton {
                        objectName: "power " + line.station.station
                        visible: page.link.plant !== null
                        anchors { right: parent.right; rightMargin: 6; verticalCenter: parent.verticalCenter }
                        width: 100; height: 40
                        property bool on: page.link.plant ? page.link.plant.stationIsOn(line.station.station) : true
                        text: on ? "Turn off" : "Turn on"
                        onClicked: {
                            on = !on
                            page.link.plant.setStationOn(line.station.station, on)
                        }
                    }
                }
            }
        }
    }
}
