import QtQuick 2.15
import ModbusRtu 1.0

// Tags in a grid of texts.
Item {
    id: tags
    property int count: 2000
    property int changes: 0
    property int read: 0
    readonly property alias status: line.status

    width: 1280
    height: 800
    Link {
        id: line
        plant: Plant { source: "tags.sim" }
        baud: 0
        roundInterval: 50
    }
    Grid {
        columns: 50
        Repeater {
            model: tags.count
            Text {
                id: cell
                width: 25; height: 19
                font.pixelSize: 8
                text: tag.text
                readonly property Tag tag: Tag {
                    link: line
                    address: "4x" + (index + 1)
                    onValueChanged: ++tags.changes
                    onQualityChanged: tags.read += quality === Tag.Good ? 1 : 0
                }
            }
        }
    }
}
