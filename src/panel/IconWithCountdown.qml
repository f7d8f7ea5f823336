import QtQuick
import Tembrel

// The phase's icon inside the countdown ring.
Item {
    id: holder
    property real progress: 1.0
    property color color
    property color trackColor
    property string iconName
    property string fallback
    implicitWidth: 26
    implicitHeight: 26

    CircularCountdownRing {
        objectName: "countdownRing"
        anchors.fill: parent
        progress: holder.progress
        color: holder.color
        trackColor: holder.trackColor
    }
    PanelIcon {
        anchors.centerIn: parent
        width: 14
        height: 14
        name: holder.iconName
        fallback: holder.fallback
        color: holder.color
    }
}
