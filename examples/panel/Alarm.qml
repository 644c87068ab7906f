import QtQml 2.15
import ModbusRtu 1.0

// Something that is wrong or was, raised by a bit of a slave or by whatever active is bound to. It
// leaves the list when it is gone and has been acknowledged.
QtObject {
    property string text
    property Tag tag: null
    property bool active: tag !== null && tag.value === true && !tag.stale
    property bool seen: true
    property date since

    onActiveChanged: {
        since = new Date()
        if (active)
            seen = false
    }
}
