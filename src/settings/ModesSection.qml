import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Tembrel

// The modes of the settings window in catalogue order, with "Add Mode" and "Reset All Modes".
ColumnLayout {
    id: section
    property ModesModel modes: null

    spacing: 8
    SystemPalette { id: pal }

    Label { text: "Modes"; font.bold: true; color: pal.windowText }

    Repeater {
        model: section.modes
        delegate: ModesSectionRow {
            Layout.fillWidth: true
            modes: section.modes
            onDeleteRequested: function(modeId, name) { section.modes.deleteMode(modeId) }
        }
    }
    RowLayout {
        Layout.fillWidth: true
        Button {
            objectName: "addModeButton"
            text: "Add Mode"
            onClicked: addSheet.open()
        }
        Item { Layout.fillWidth: true }
        Button {
            objectName: "resetModesButton"
            text: "Reset All Modes"
            onClicked: resetConfirm.open()
        }
    }

    ModesAddSheet {
        id: addSheet
        parent: Overlay.overlay
        modes: section.modes
    }
    SettingsWindowConfirm {
        id: resetConfirm
        objectName: "resetModesConfirm"
        parent: Overlay.overlay
        title: "Reset all modes?"
        message: "This will reset all built-in mode prompts to defaults, disable all non-default modes, and delete all custom modes."
        confirmText: "Reset All"
        onConfirmed: section.modes.resetAllModes()
    }
}
