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

    Card {
        anchors { fill: parent; bottomMargin: 58 }
        caption: "Recipe"
        Column {
            anchors { fill: parent; margins: Theme.gap; topMargin: 34 }
            spacing: 4
            Repeater {
                model: page.recipe.rows
                Strip {
                    objectName: "recipe " + modelData.name
                    Label { x: 16; anchors.verticalCenter: parent.verticalCenter; text: modelData.name }
                    Label {
                        anchors { right: parent.left; rightMargin: -360; verticalCenter: parent.verticalCenter }
                        text: modelData.value + " " + modelData.unit
                        font.bold: true
                    }
                    Label {
                        x: 420
                        anchors.verticalCenter: parent.verticalCenter
                        text: page.outcomes[modelData.outcome]
                              + (modelData.outcome === RecipeRow.Differs ? ": slave has " + modelData.slaveValue : "")
                        color: modelData.outcome === RecipeRow.Done ? Theme.good : Theme.warning
                    }
                    MouseArea {
                        anchors.fill: parent
                        onClicked: page.keypad.ask(modelData.name + ", " + modelData.unit, 0, index === 5 ? 250000 : 3000,
                                                   function(number) { modelData.value = number })
                    }
                }
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
        PanelButton { objectName: text; width: 148; text: "Open file"; onClicked: page.recipe.readFile(page.file) }
        PanelButton { objectName: text; width: 148; text: "Save file"; onClicked: page.recipe.writeFile(page.file) }
        PanelButton { objectName: text; width: 148; text: "Read slaves"; onClicked: page.recipe.save() }
        PanelButton { objectName: text; width: 148; text: "Load slaves"; onClicked: page.recipe.load(); tone: "#1f6f45" }
        PanelButton { objectName: text; width: 148; text: "Compare"; onClicked: page.recipe.compare() }
    }
}
