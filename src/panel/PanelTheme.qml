import QtQuick
import Tembrel

// The panel's colours and type sizes in the light and the dark appearance.
QtObject {
    property bool dark: false
    property bool translucent: true

    readonly property color background: dark
        ? (translucent ? Qt.rgba(0.16, 0.165, 0.18, 0.97) : "#292a2e")
        : (translucent ? Qt.rgba(0.985, 0.985, 0.99, 0.97) : "#fafafb")
    // Without a compositor the window's transparent pixels show black: the edge is drawn opaque.
    readonly property color border: translucent ? (dark ? Qt.rgba(1, 1, 1, 0.14) : Qt.rgba(0, 0, 0, 0.14))
                                                : (dark ? "#4a4b50" : "#d2d3d6")
    readonly property color separator: dark ? Qt.rgba(1, 1, 1, 0.10) : Qt.rgba(0, 0, 0, 0.08)
    readonly property color text: dark ? "#f1f3f4" : "#202124"
    readonly property color secondaryText: dark ? "#a8adb3" : "#5f6368"
    readonly property color keyCap: dark ? Qt.rgba(1, 1, 1, 0.10) : Qt.rgba(0, 0, 0, 0.06)
    readonly property color keyCapBorder: dark ? Qt.rgba(1, 1, 1, 0.16) : Qt.rgba(0, 0, 0, 0.12)
    readonly property color success: dark ? "#81c995" : "#188038"
    readonly property color warning: dark ? "#fdd663" : "#e37400"
    readonly property color accent: "#e67e22"
    readonly property color ringTrack: dark ? Qt.rgba(1, 1, 1, 0.14) : Qt.rgba(0, 0, 0, 0.10)
    readonly property color buttonHover: dark ? Qt.rgba(1, 1, 1, 0.10) : Qt.rgba(0, 0, 0, 0.06)

    readonly property int bodySize: 13
    readonly property int smallSize: 11
}
