import QtQuick
import QtQuick.Controls.impl

// A compact push button of the history window: an optional icon and a label, bordered or plain.
Rectangle {
    id: button

    required property HistoryWindowTheme theme
    property string text
    property string icon
    property bool destructive: false
    property bool prominent: false
    property bool bordered: true
    property bool enabled: true
    property color foreground: !enabled ? theme.secondaryText
        : prominent ? "#ffffff"
        : destructive ? theme.destructive : theme.text

    signal clicked()

    implicitWidth: row.implicitWidth + (text.length > 0 ? 20 : 8)
    implicitHeight: 26
    radius: 6
    opacity: enabled ? 1 : 0.5
    color: prominent ? (destructive ? theme.destructive : theme.accent)
        : area.pressed ? theme.separator
        : (area.containsMouse || bordered) ? theme.control : "transparent"
    border.width: bordered && !prominent ? 1 : 0
    border.color: theme.fieldBorder

    Accessible.role: Accessible.Button
    Accessible.name: text

    Row {
        id: row
        anchors.centerIn: parent
        spacing: 5

        IconImage {
            visible: button.icon.length > 0
            anchors.verticalCenter: parent.verticalCenter
            width: 13
            height: 13
            sourceSize: Qt.size(width, height)
            color: button.foreground
            source: button.icon.length > 0 ? "qrc:/Tembrel/history/HistoryWindowIcons/" + button.icon + ".svg" : ""
        }
        Text {
            visible: button.text.length > 0
            anchors.verticalCenter: parent.verticalCenter
            text: button.text
            color: button.foreground
            font.pixelSize: button.theme.bodySize
            font.weight: button.prominent ? Font.DemiBold : Font.Normal
        }
    }

    MouseArea {
        id: area
        anchors.fill: parent
        hoverEnabled: true
        enabled: button.enabled
        cursorShape: Qt.PointingHandCursor
        onClicked: button.clicked()
    }
}
