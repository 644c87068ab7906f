import QtQuick 2.15

// One line of a list.
Rectangle {
    width: parent ? parent.width : 0
    height: 40
    radius: 6
    color: Theme.raised
}
