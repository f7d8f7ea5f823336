import QtQuick

// The history window's colours and type sizes in the light and the dark appearance.
QtObject {
    property bool dark: false

    readonly property color background: dark ? "#1e1f22" : "#ffffff"
    readonly property color sidebar: dark ? "#26272b" : "#f4f4f6"
    readonly property color separator: dark ? Qt.rgba(1, 1, 1, 0.10) : Qt.rgba(0, 0, 0, 0.10)
    readonly property color text: dark ? "#eceef1" : "#1d1d1f"
    readonly property color secondaryText: dark ? "#9ea3a9" : "#6e6e73"
    readonly property color field: dark ? Qt.rgba(1, 1, 1, 0.07) : "#ffffff"
    readonly property color fieldBorder: dark ? Qt.rgba(1, 1, 1, 0.14) : Qt.rgba(0, 0, 0, 0.14)
    readonly property color selection: dark ? "#2f5fb3" : "#d4e3fc"
    readonly property color selectionText: dark ? "#ffffff" : "#1d1d1f"
    readonly property color hover: dark ? Qt.rgba(1, 1, 1, 0.06) : Qt.rgba(0, 0, 0, 0.04)
    readonly property color accent: dark ? "#8ab4f8" : "#1a73e8"
    readonly property color destructive: dark ? "#f28b82" : "#d93025"
    readonly property color control: dark ? Qt.rgba(1, 1, 1, 0.08) : Qt.rgba(0, 0, 0, 0.05)
    readonly property color controlChecked: dark ? Qt.rgba(1, 1, 1, 0.22) : "#ffffff"
    readonly property color popover: dark ? "#2c2d31" : "#ffffff"
    readonly property color code: dark ? Qt.rgba(1, 1, 1, 0.05) : Qt.rgba(0, 0, 0, 0.035)
    readonly property color scrim: dark ? Qt.rgba(0, 0, 0, 0.45) : Qt.rgba(0, 0, 0, 0.20)

    readonly property int bodySize: 13
    readonly property int smallSize: 11
    readonly property int titleSize: 15
}
