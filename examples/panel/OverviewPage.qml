import QtQuick 2.15
import ModbusRtu 1.0

Item {
    id: page
    property Link link

    LevelBar {
        x: 0; y: 0; width: 190; height: parent.height
        tag: Tag { link: page.link; station: 1; address: "4x100"; name: "Level"; unit: "mm" }
        mark: Tag { link: page.link; station: 1; address: "4x101" }
    }
    Trend {
        x: 200; y: 0; width: 370; height: 180
        least: 15; most: 30
        tag: Tag { link: page.link; station: 1; address: "3x1"; format: Tag.Signed; scale: 0.1; name: "Temperature"; unit: "°C" }
    }
    Trend {
        x: 200; y: 190; width: 370; height: parent.height - 190
        least: 0; most: 3000
        tag: Tag { link: page.link; station: 2; address: "4x1"; name: "Speed"; unit: "rpm" }
    }
    Card {
        x: 580; y: 0; width: parent.width - x; height: 208
        caption: "State"
        Column {
            anchors { left: parent.left; top: parent.top; margins: 14; topMargin: 34 }
            spacing: 8
            Lamp { tag: Tag { link: page.link; station: 1; address: "3x_bit5.0"; name: "Ready" } }
            Lamp { tag: Tag { link: page.link; station: 1; address: "0x1"; name: "Pump" } }
            Lamp { tag: Tag { link: page.link; station: 1; address: "0x2"; name: "Valve" } }
            Lamp { tag: Tag { link: page.link; station: 1; address: "1x1"; name: "Door open" } on: Theme.warning }
            Lamp { tag: Tag { link: page.link; station: 2; address: "1x4"; name: "Limit switch" } on: Theme.warning }
            Lamp { tag: Tag { link: page.link; station: 2; address: "0x3"; name: "Conveyor lamp" } }
        }
    }
    ValueTile {
        x: 580; y: 218; width: parent.width - x; height: (parent.height - 228) / 2
        tag: Tag { link: page.link; station: 1; address: "4x_double110"; name: "Pieces made" }
    }
    ValueTile {
        x: 580; y: parent.height - height; width: parent.width - x; height: (parent.height - 228) / 2
        tag: Tag { link: page.link; station: 2; address: "4x_double10"; format: Tag.Signed; scale: 0.001; name: "Position"; unit: "mm" }
    }
}
