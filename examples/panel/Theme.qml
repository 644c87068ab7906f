pragma Singleton
import QtQuick 2.15

// The look of the panel in one place.
QtObject {
    readonly property color back: "#0f151c"
    readonly property color card: "#1a2430"
    readonly property color raised: "#263443"
    readonly property color edge: "#33465a"
    readonly property color text: "#e8eef4"
    readonly property color dim: "#8d9cab"
    readonly property color accent: "#3d9bff"
    readonly property color good: "#37c871"
    readonly property color warning: "#f2a93b"
    readonly property color alarm: "#ff5a5f"
    readonly property color alarmBack: "#5a2226"
    readonly property int gap: 10
    readonly property int radius: 8
    readonly property int small: 13
    readonly property int normal: 16
    readonly property int large: 26
}
