import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Tembrel

// Sets a shortcut by pressing it. Shows the shortcut (or "Set shortcut"); a click records from
// this window's keys ("Type shortcut", then the keys held), a second click stops. A warning under
// it names the mode or the system shortcut it collides with; it never blocks saving.
ColumnLayout {
    id: control
    property alias hasHotkey: recorder.hasHotkey
    property alias hotkey: recorder.hotkey
    property alias excludingModeId: recorder.excludingModeId
    property alias modes: recorder.modes
    readonly property alias recorder: recorder
    signal recorded(int keyCode, real modifierFlags)

    spacing: 3
    SystemPalette { id: pal }

    HotkeyRecorder {
        id: recorder
        onRecorded: function(keyCode, modifierFlags) { control.recorded(keyCode, modifierFlags) }
    }

    Button {
        id: button
        objectName: control.objectName + "Button"
        text: recorder.displayText
        focusPolicy: Qt.NoFocus
        highlighted: recorder.isRecording
        implicitWidth: Math.max(120, implicitContentWidth + leftPadding + rightPadding)
        onClicked: recorder.toggle(control.Window.window)
    }
    RowLayout {
        visible: recorder.conflictMessage.length > 0
        spacing: 4
        Layout.fillWidth: true
        Image {
            source: "qrc:/Tembrel/panel/icons/warning-triangle.svg"
            sourceSize: Qt.size(12, 12)
            Layout.alignment: Qt.AlignTop
            Layout.topMargin: 2
        }
        Label {
            objectName: control.objectName + "Conflict"
            text: recorder.conflictMessage
            Layout.fillWidth: true
            wrapMode: Text.WordWrap
            font.pointSize: 8
            color: "#c77c02"
        }
    }
}
