import QtQuick 2.15
import ModbusRtu 1.0

ListCard {
    id: page
    property Link link
    readonly property var titles: ["Station", "Line", "Frames", "Reply", "Age", "Silent", "Bad", "Refused"]
    readonly property var columnWidths: [90, 75, 90, 90, 95, 70, 60, 80]

    function textsOf(station) {
        return [station.station, (100 * station.share).toFixed(1) + " %", station.frames,
                station.replyMedian.toFixed(1) + " ms", station.ageMedian.toFixed(0) + " ms", station.timeouts,
                station.damaged + station.foreign, station.exceptions]
    }

    caption: (link.plant ? "Simulated slaves" : link.port) + ", " + link.baud + " baud"
    header: Strip { height: 30; color: "transparent"; ink: Theme.dim; note: true; texts: page.titles; widths: page.columnWidths }
    model: link.stations.length
    delegate: Strip {
        readonly property var station: page.link.stations[index]
        height: 52
        ink: station.silent ? Theme.warning : Theme.text
        texts: page.textsOf(station)
        widths: page.columnWidths
        PanelButton {
            objectName: "power " + station.station
            anchors { right: parent.right; rightMargin: 6; verticalCenter: parent.verticalCenter }
            width: 100; height: 40
            visible: page.link.plant !== null
            property bool on: !visible || page.link.plant.stationIsOn(station.station)
            text: on ? "Turn off" : "Turn on"
            onClicked: {
                on = !on
                page.link.plant.setStationOn(station.station, on)
            }
        }
    }
}
