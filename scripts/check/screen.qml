import QtQuick 2.15
import ModbusRtu 1.0

// Ends well when it has read a register of the demo's slaves, and they hold what it
// wrote. Their simulation file is beside this one.
Item {
    Plant { id: slaves; source: Qt.resolvedUrl("plant.sim") }
    Link { id: line; plant: slaves }
    Tag {
        link: line
        station: 1
        address: "4x101"
        onQualityChanged: {
            if (quality === Tag.Good && value === 500)
                value = 501
        }
        onWriteEnded: Qt.exit(end === Tag.Acknowledged && slaves.peek(1, address) === 501 ? 0 : 1)
    }
}
