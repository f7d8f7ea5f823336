import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Tembrel

// One mode in the settings window: name, description, enabled switch and shortcut; the prompt
// editor opens below it. Every edit is written at once.
Rectangle {
    id: row
    required property int index
    required property string modeId
    required property string name
    required property string description
    required property string prompt
    required property bool hasHotkey
    required property var hotkey
    required property bool isEnabled
    required property bool isBuiltIn
    required property bool hasDefaultPrompt
    required property string defaultPrompt
    property ModesModel modes: null
    property bool expanded: false
    signal deleteRequested(string modeId, string name)

    objectName: "modeRow" + index
    implicitHeight: column.implicitHeight + 16
    radius: 6
    color: pal.base
    border.color: Qt.rgba(pal.mid.r, pal.mid.g, pal.mid.b, 0.5)
    SystemPalette { id: pal }

    ColumnLayout {
        id: column
        anchors { left: parent.left; right: parent.right; top: parent.top; margins: 8 }
        spacing: 6

        RowLayout {
            Layout.fillWidth: true
            ColumnLayout {
                Layout.fillWidth: true
                spacing: 1
                Label {
                    text: row.name
                    font.bold: true
                    color: pal.text
                    elide: Text.ElideRight
                    Layout.fillWidth: true
                }
                Label {
                    visible: row.description.length > 0
                    text: row.description
                    color: pal.text
                    opacity: 0.65
                    font.pointSize: 8
                    wrapMode: Text.WordWrap
                    Layout.fillWidth: true
                }
            }
            Switch {
                objectName: row.objectName + "Enabled"
                checked: row.isEnabled
                onToggled: {
                    row.modes.setEnabled(row.modeId, checked)
                    checked = Qt.binding(function() { return row.isEnabled })
                }
            }
        }
        RowLayout {
            Layout.fillWidth: true
            InlineHotkeyRecorder {
                objectName: row.objectName + "Recorder"
                Layout.fillWidth: true
                hasHotkey: row.hasHotkey
                hotkey: row.hotkey
                excludingModeId: row.modeId
                modes: row.modes
                onRecorded: function(keyCode, modifierFlags) { row.modes.setHotkey(row.modeId, keyCode, modifierFlags) }
            }
            Button {
                objectName: row.objectName + "Edit"
                Layout.alignment: Qt.AlignTop
                text: row.expanded ? "Done" : "Edit"
                onClicked: row.expanded = !row.expanded
            }
        }
        ColumnLayout {
            visible: row.expanded
            Layout.fillWidth: true
            spacing: 6
            TextField {
                objectName: row.objectName + "Name"
                visible: !row.isBuiltIn
                Layout.fillWidth: true
                text: row.name
                placeholderText: "Name"
                onTextEdited: row.modes.setName(row.modeId, text)
            }
            Label { text: "Prompt"; color: pal.text; font.pointSize: 8 }
            ScrollView {
                Layout.fillWidth: true
                Layout.preferredHeight: 140
                TextArea {
                    id: promptEditor
                    objectName: row.objectName + "Prompt"
                    text: row.prompt
                    wrapMode: TextEdit.Wrap
                    color: pal.text
                    font.pointSize: 8
                    onTextChanged: if (text !== row.prompt) row.modes.setPrompt(row.modeId, text)
                }
            }
            RowLayout {
                Layout.fillWidth: true
                Button {
                    objectName: row.objectName + "ResetPrompt"
                    visible: row.hasDefaultPrompt
                    enabled: row.prompt !== row.defaultPrompt
                    text: "Reset to Default"
                    onClicked: promptEditor.text = row.defaultPrompt
                }
                Item { Layout.fillWidth: true }
                Button {
                    objectName: row.objectName + "Delete"
                    visible: !row.isBuiltIn
                    text: "Delete"
                    palette.buttonText: "#d0312d"
                    onClicked: row.deleteRequested(row.modeId, row.name)
                }
            }
        }
    }
}
