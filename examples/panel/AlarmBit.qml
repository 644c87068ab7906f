import ModbusRtu 1.0

// An alarm that a bit of a slave raises.
Alarm {
    id: alarm
    property Link link
    property int station: 1
    property string address
    readonly property Tag tag: Tag { link: alarm.link; station: alarm.station; address: alarm.address }

    active: tag.value && !tag.stale
}
