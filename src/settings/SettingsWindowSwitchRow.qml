import QtQuick
import QtQuick.Controls
import QtQuick.Layouts

// One switch of the settings window: a label, an optional help line, and a value that the store
// owns. The switch writes through `toggledTo` and then follows the store again, so a store that
// refuses (the login item) shows the real state.
ColumnLayout {
    id: row
    property alias text: label.text
    property string help: ""
    property bool value: false
    property alias switchItem: toggle
    signal toggledTo(bool checked)

    spacing: 2
    SystemPalette { id: pal }

    RowLayout {
        Layout.fillWidth: true
        Label {
            id: label
            Layout.fillWidth: true
            wrapMode: Text.WordWrap
            color: pal.windowText
        }
        Switch {
            id: toggle
            objectName: row.objectName + "Switch"
            checked: row.value
            onToggled: {
                row.toggledTo(checked)
                checked = Qt.binding(function() { return row.value })
            }
        }
    }
    Label {
        visible: row.help.length > 0
        text: row.help
        Layout.fillWidth: true
        wrapMode: Text.WordWrap
        font.pointSize: 8
        color: pal.windowText
        opacity: 0.65
    }
}
