import QtQuick
import Tembrel
import QtQuick.Controls

// A key cap followed by what the key does: "[Esc] to dismiss".
Row {
    id: hint
    property PanelTheme theme
    property string keyCap
    property string action
    spacing: 5

    Rectangle {
        anchors.verticalCenter: parent.verticalCenter
        width: cap.implicitWidth + 10
        height: cap.implicitHeight + 4
        radius: 4
        color: hint.theme.keyCap
        border.color: hint.theme.keyCapBorder
        Label {
            id: cap
            anchors.centerIn: parent
            text: hint.keyCap
            color: hint.theme.text
            font.pixelSize: hint.theme.smallSize - 1
            font.weight: Font.Medium
        }
    }
    Label {
        anchors.verticalCenter: parent.verticalCenter
        text: hint.action
        color: hint.theme.secondaryText
        font.pixelSize: hint.theme.smallSize
    }
}
