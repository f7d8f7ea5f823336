import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Tembrel

// "Add Mode": a name, a prompt and an optional shortcut for a new custom mode.
Dialog {
    id: sheet
    property ModesModel modes: null

    objectName: "addModeSheet"
    title: "Add Mode"
    modal: true
    anchors.centerIn: Overlay.overlay
    width: parent ? parent.width - 32 : 360
    closePolicy: Popup.CloseOnEscape
    onAboutToShow: {
        nameField.text = ""
        promptField.text = ""
        recorderField.hasHotkey = false
        nameField.forceActiveFocus()
    }

    contentItem: ColumnLayout {
        spacing: 6
        Label { text: "Name" }
        TextField {
            id: nameField
            objectName: "addModeName"
            Layout.fillWidth: true
            placeholderText: "e.g. Friendly"
        }
        Label { text: "Prompt" }
        ScrollView {
            Layout.fillWidth: true
            Layout.preferredHeight: 110
            TextArea {
                id: promptField
                objectName: "addModePrompt"
                wrapMode: TextEdit.Wrap
                placeholderText: "Instructions for the model"
            }
        }
        Label { text: "Shortcut (optional)" }
        InlineHotkeyRecorder {
            id: recorderField
            objectName: "addModeRecorder"
            Layout.fillWidth: true
            modes: sheet.modes
        }
    }
    footer: DialogButtonBox {
        Button {
            objectName: "addModeCancel"
            text: "Cancel"
            DialogButtonBox.buttonRole: DialogButtonBox.RejectRole
        }
        Button {
            objectName: "addModeConfirm"
            text: "Add"
            enabled: nameField.text.trim().length > 0 && promptField.text.trim().length > 0
            DialogButtonBox.buttonRole: DialogButtonBox.AcceptRole
        }
    }
    onAccepted: {
        // Adding while a shortcut is still settling keeps the keys pressed so far.
        if (recorderField.recorder.isRecording)
            recorderField.recorder.stopRecording()
        const hk = recorderField.hotkey
        modes.addMode(nameField.text, promptField.text, recorderField.hasHotkey,
                      hk.keyCode, hk.modifierFlagsRawValue)
    }
}
