import QtQuick
import QtQuick.Controls
import QtQuick.Layouts

// A titled group of the settings window.
ColumnLayout {
    id: section
    property string title: ""
    default property alias content: body.data

    spacing: 8
    SystemPalette { id: pal }

    Rectangle {
        Layout.fillWidth: true
        Layout.topMargin: 6
        height: 1
        color: pal.mid
        opacity: 0.5
    }
    Label {
        visible: section.title.length > 0
        text: section.title
        font.bold: true
        color: pal.windowText
    }
    ColumnLayout {
        id: body
        Layout.fillWidth: true
        spacing: 10
    }
}
