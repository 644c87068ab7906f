import QtQml 2.15

// Something that is wrong or was: it leaves the list when it is gone and has been acknowledged.
QtObject {
    property string text
    property bool active: false
    property bool seen: true
    property date since

    onActiveChanged: {
        since = new Date()
        if (active)
            seen = false
    }
}
