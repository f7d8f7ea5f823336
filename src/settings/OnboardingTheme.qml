import QtQuick

// Colours and sizes of the onboarding pages, in the light and the dark appearance.
QtObject {
    property color window: "white"
    readonly property bool dark: window.hslLightness < 0.5
    readonly property color success: dark ? "#81c995" : "#188038"
    readonly property color successTint: dark ? Qt.rgba(0.51, 0.79, 0.58, 0.14) : Qt.rgba(0.09, 0.5, 0.22, 0.10)
    readonly property color warning: dark ? "#fdd663" : "#b06000"
    readonly property color warningTint: dark ? Qt.rgba(0.99, 0.84, 0.39, 0.12) : Qt.rgba(0.89, 0.45, 0, 0.10)
    readonly property int titleSize: 20
    readonly property int bodySize: 13
    readonly property int smallSize: 11
}
