import QtQuick 2.15
import ModbusRtu 1.0

Item {
    id: page
    property Link link
    property Keypad keypad
    property url file
    readonly property Recipe recipe: Recipe {
        link: page.link
        RecipeRow { name: "Water"; station: 1; address: "4x130"; unit: "l"; value: 11 }
        RecipeRow { name: "Syrup"; station: 1; address: "4x131"; unit: "l"; value: 22 }
        RecipeRow { name: "Flavour"; station: 1; address: "4x132"; unit: "ml"; value: 33 }
        RecipeRow { name: "Slow speed"; station: 2; address: "4x30"; unit: "rpm"; value: 700 }
        RecipeRow { name: "Fast speed"; station: 2; address: "4x31"; unit: "rpm"; value: 800 }
        RecipeRow { name: "Travel"; station: 2; address: "4x_double40"; unit: "µm"; value: 123456 }
    }
    readonly property var outcomes: ["", "done", "refused", "not confirmed", "not tried", "differs"]

    ListCard {
        anchors { fill: parent; bottomMargin: 58 }
        caption: "Recipe"
        spacing: 4
        model: page.recipe.rows
        delegate: Strip {
            id: line
            readonly property RecipeRow row: modelData
            readonly property bool differs: row.outcome === RecipeRow.Differs
            objectName: "recipe " + row.name
            widths: [240, 160]
            texts: [row.name, row.value + " " + row.unit]
            Label {
                x: 420
                anchors.verticalCenter: parent.verticalCenter
                text: page.outcomes[line.row.outcome] + (line.differs ? ": slave has " + line.row.slaveValue : "")
                color: line.row.outcome === RecipeRow.Done ? Theme.good : Theme.warning
            }
            MouseArea {
                anchors.fill: parent
                onClicked: page.keypad.ask(line.row.name + ", " + line.row.unit, 0, index === 5 ? 250000 : 3000,
                                           function(number) { line.row.value = number })
            }
        }
        Rectangle {
            anchors { left: parent.left; bottom: parent.bottom; margins: 4 }
            visible: page.recipe.running
            width: page.recipe.progress * (parent.width - 8)
            height: 4
            color: Theme.accent
        }
    }
    Row {
        anchors { left: parent.left; bottom: parent.bottom }
        spacing: Theme.gap
        enabled: !page.recipe.running
        PanelButton { text: "Open file"; onClicked: page.recipe.readFile(page.file) }
        PanelButton { text: "Save file"; onClicked: page.recipe.writeFile(page.file) }
        PanelButton { text: "Read slaves"; onClicked: page.recipe.save() }
        PanelButton { text: "Load slaves"; onClicked: page.recipe.load(); tone: "#1f6f45" }
        PanelButton { text: "Compare"; onClicked: page.recipe.compare() }
    }
}
