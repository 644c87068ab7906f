import QtQuick 2.15
import ModbusRtu 1.0

// The panel of a filling line: a mixer (station 1) and a conveyor (station 2).
Rectangle {
    id: panel
    property string port    ///< empty: simulated slaves
    property int baud: 19200
    property string driver  ///< empty: where the module finds it
    property url simulation: Qt.resolvedUrl("../../host/demo/plant.sim")
    property url recipeFile: "recipe.json"
    property int page: 0
    readonly property Link link: line
    readonly property Plant plant: slaves
    readonly property var titles: ["Overview", "Control", "Alarms", "Recipe", "Line"]
    readonly property var pages: [overview, control, alarms, recipe, network]
    readonly property var alarmList: [door, limit, high, low, mixer, conveyor]
    readonly property int alarmCount: alarmList.filter(function(alarm) { return alarm.active }).length
    readonly property Item shown: pageLoader.item

    function silent(station) {
        return line.stations.some(function(s) { return s.station === station && s.silent })
    }

    /** For pictures: shows the recipe page with something to show. */
    function compareRecipe() {
        shown.recipe.rows[1].value = 25
        shown.recipe.compare()
    }

    width: 800
    height: 480
    color: Theme.back

    Plant { id: slaves; source: panel.port === "" ? panel.simulation : "" }
    Link {
        id: line
        plant: panel.port === "" ? slaves : null
        port: panel.port
        baud: panel.baud
        driver: panel.driver
        replyTimeout: 300
    }

    Alarm { id: door; text: "Mixer: door open"; tag: Tag { link: line; station: 1; address: "1x1" } }
    Alarm { id: limit; text: "Conveyor: limit switch"; tag: Tag { link: line; station: 2; address: "1x4" } }
    Alarm { id: high; text: "Mixer: level high"; tag: Tag { link: line; station: 1; address: "3x_bit5.3" } }
    Alarm { id: low; text: "Mixer: additive low"; tag: Tag { link: line; station: 1; address: "3x_bit5.2" } }
    Alarm { id: mixer; text: "Mixer does not answer"; active: panel.silent(1) }
    Alarm { id: conveyor; text: "Conveyor does not answer"; active: panel.silent(2) }

    Component { id: overview; OverviewPage { link: line } }
    Component { id: control; ControlPage { link: line; keypad: pad } }
    Component { id: alarms; AlarmPage { alarms: panel.alarmList } }
    Component { id: recipe; RecipePage { link: line; keypad: pad; file: panel.recipeFile } }
    Component { id: network; LinePage { link: line } }

    Label { x: 14; y: 12; text: "Filling line · " + panel.titles[panel.page]; font { pixelSize: 18; bold: true } }
    Label {
        anchors { right: parent.right; rightMargin: 14 }
        y: 12
        text: line.status !== Link.Open ? line.error || "connecting"
              : panel.alarmCount === 0 ? "all well" : panel.alarmCount + (panel.alarmCount === 1 ? " alarm" : " alarms")
        color: line.status !== Link.Open ? Theme.warning : panel.alarmCount === 0 ? Theme.good : Theme.alarm
    }
    Loader {
        id: pageLoader
        anchors { fill: parent; leftMargin: Theme.gap; rightMargin: Theme.gap; topMargin: 44; bottomMargin: 70 }
        sourceComponent: panel.pages[panel.page]
    }
    Row {
        x: Theme.gap
        anchors { bottom: parent.bottom; bottomMargin: Theme.gap }
        spacing: Theme.gap
        Repeater {
            model: panel.titles
            PanelButton {
                objectName: "page " + modelData
                text: modelData
                tone: panel.page === index ? Theme.accent : index === 2 && panel.alarmCount > 0 ? Theme.alarmBack : Theme.card
                onClicked: panel.page = index
            }
        }
    }
    Keypad { id: pad; objectName: "keypad" }
}
