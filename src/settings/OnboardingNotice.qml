import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import QtQuick.Controls.impl

// A tinted box with a symbol, a bold line and an optional line of detail.
Rectangle {
    id: notice
    property alias title: titleLabel.text
    property alias detail: detailLabel.text
    property alias iconSource: icon.source
    property alias iconColor: icon.color
    property color tint
    SystemPalette { id: pal }

    radius: 8
    color: tint
    implicitHeight: row.implicitHeight + 24

    RowLayout {
        id: row
        anchors { left: parent.left; right: parent.right; verticalCenter: parent.verticalCenter; margins: 12 }
        spacing: 10
        IconImage {
            id: icon
            sourceSize: Qt.size(22, 22)
            Layout.alignment: Qt.AlignTop
        }
        ColumnLayout {
            Layout.fillWidth: true
            spacing: 3
            Label {
                id: titleLabel
                font.bold: true
                font.pixelSize: 14
                color: notice.iconColor
                Layout.fillWidth: true
                wrapMode: Text.WordWrap
            }
            Label {
                id: detailLabel
                visible: text.length > 0
                font.pixelSize: 12
                color: pal.windowText
                opacity: 0.8
                Layout.fillWidth: true
                wrapMode: Text.WordWrap
            }
        }
    }
}
