import QtQuick
import Tembrel
import QtQuick.Controls

// The compact pill shown while a fix runs.
Item {
    id: pill
    property PanelTheme theme
    implicitWidth: row.implicitWidth + 36
    implicitHeight: 38

    Row {
        id: row
        anchors.centerIn: parent
        spacing: 10
        AnimatedTembrel {
            anchors.verticalCenter: parent.verticalCenter
            color: pill.theme.accent
        }
        Label {
            objectName: "loadingText"
            anchors.verticalCenter: parent.verticalCenter
            text: "Tembreling"
            color: pill.theme.text
            font.pixelSize: pill.theme.bodySize
            font.weight: Font.Medium
        }
    }
}
