import QtQuick
import Tembrel

// One tembrel in the list: a preview of its text, where and when it was made, and a delete control.
Item {
    id: row

    required property HistoryWindowTheme theme
    required property string entryId
    required property string preview
    required property string subtitle
    property bool selected: false

    signal select()
    signal remove()

    implicitHeight: texts.implicitHeight + 16

    Rectangle {
        anchors.fill: parent
        anchors.leftMargin: 8
        anchors.rightMargin: 8
        radius: 7
        color: row.selected ? row.theme.selection : hover.hovered ? row.theme.hover : "transparent"
    }

    HoverHandler {
        id: hover
    }

    MouseArea {
        anchors.fill: parent
        onClicked: row.select()
    }

    Column {
        id: texts
        anchors.left: parent.left
        anchors.right: deleteButton.left
        anchors.leftMargin: 18
        anchors.rightMargin: 4
        anchors.verticalCenter: parent.verticalCenter
        spacing: 3

        Text {
            width: parent.width
            text: row.preview
            color: row.selected ? row.theme.selectionText : row.theme.text
            font.pixelSize: row.theme.bodySize
            wrapMode: Text.Wrap
            maximumLineCount: 2
            elide: Text.ElideRight
            textFormat: Text.PlainText
        }
        Text {
            width: parent.width
            text: row.subtitle
            color: row.theme.secondaryText
            font.pixelSize: row.theme.smallSize
            elide: Text.ElideRight
            textFormat: Text.PlainText
        }
    }

    HistoryWindowButton {
        id: deleteButton
        objectName: "deleteButton"
        anchors.right: parent.right
        anchors.rightMargin: 14
        anchors.verticalCenter: parent.verticalCenter
        width: 22
        height: 22
        theme: row.theme
        icon: "xmark"
        bordered: false
        foreground: row.theme.secondaryText
        opacity: hover.hovered || row.selected ? 1 : 0
        Accessible.name: "Delete"
        onClicked: row.remove()
    }
}
