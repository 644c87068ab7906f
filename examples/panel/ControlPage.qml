import QtQuick 2.15
import ModbusRtu 1.0

Grid {
    id: page
    property Link link
    property Keypad keypad

    columns: 3
    spacing: Theme.gap
    Repeater {
        model: TagModel {
            link: page.link
            Tag { station: 1; address: "4x101"; name: "Set point"; unit: "mm" }
            Tag { station: 1; address: "4x_double112"; name: "Pieces ordered" }
            Tag { station: 1; address: "4x130"; name: "Water"; unit: "l" }
            Tag { station: 2; address: "4x30"; name: "Slow speed"; unit: "rpm" }
            Tag { station: 2; address: "4x31"; name: "Fast speed"; unit: "rpm" }
            Tag { station: 2; address: "4x_double40"; name: "Travel"; unit: "µm" }
        }
        ValueTile {
            objectName: "entry " + model.name
            width: 253; height: 113
            tag: model.tag
            most: [1200, 200000, 500, 1500, 3000, 250000][index]
            onTapped: page.keypad.ask(tag.name + (tag.unit ? ", " + tag.unit : ""), 0, most, function(number) { tag.value = number })
        }
    }
    Repeater {
        model: TagModel {
            link: page.link
            Tag { station: 1; address: "0x1"; name: "Pump" }
            Tag { station: 1; address: "0x2"; name: "Valve" }
            Tag { station: 2; address: "0x3"; name: "Conveyor lamp" }
        }
        ToggleSwitch {
            objectName: "switch " + model.name
            width: 253; height: 113
            tag: model.tag
        }
    }
}
