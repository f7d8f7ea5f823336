import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import QtQuick.Controls.impl

// A first real fix: the user selects the sample sentence right here, presses the shortcut, and
// pastes the result into the area below. The controller notices the fixed text on the clipboard
// or in the area. Context: onboarding.
Item {
    id: page
    property QtObject theme
    property bool current: false
    SystemPalette { id: pal }

    // The sentence takes the keyboard focus, so Ctrl+A selects it without a mouse.
    onCurrentChanged: if (current) sample.forceActiveFocus()

    ColumnLayout {
        anchors { fill: parent; margins: 28; topMargin: 30; bottomMargin: 12 }
        spacing: 10

        Label {
            text: "Give it a try"
            font.pixelSize: theme.titleSize
            font.bold: true
            color: pal.windowText
        }
        Label {
            objectName: "stepSelect"
            text: "1. Select this text, then press " + onboarding.shortcutText + " (watch the top of your screen)"
            font.pixelSize: theme.bodySize
            color: pal.windowText
            wrapMode: Text.WordWrap
            Layout.fillWidth: true
        }
        Rectangle {
            Layout.fillWidth: true
            implicitHeight: sample.implicitHeight + 24
            radius: 8
            color: pal.base
            border.color: sample.activeFocus ? pal.highlight : pal.mid
            border.width: 1
            TextEdit {
                id: sample
                objectName: "sampleText"
                anchors { left: parent.left; right: parent.right; verticalCenter: parent.verticalCenter; margins: 12 }
                text: onboarding.sampleSentence
                textFormat: TextEdit.PlainText
                readOnly: true
                selectByMouse: true
                persistentSelection: true
                activeFocusOnTab: true
                wrapMode: TextEdit.Wrap
                font.pixelSize: 15
                color: pal.text
                selectionColor: pal.highlight
                selectedTextColor: pal.highlightedText
                KeyNavigation.tab: pasteArea
                // A plain sentence copies as one: the first fix shows the plain word diff.
                Keys.onPressed: function(event) {
                    if (event.matches(StandardKey.Copy) && selectedText.length > 0) {
                        onboarding.copyPlainText(selectedText)
                        event.accepted = true
                    }
                }
            }
        }
        Label {
            text: "2. Paste here to see the fixed version"
            font.pixelSize: theme.bodySize
            color: pal.windowText
            Layout.topMargin: 8
        }
        TextArea {
            id: pasteArea
            objectName: "pasteArea"
            Layout.fillWidth: true
            Layout.preferredHeight: 76
            text: onboarding.pastedText
            placeholderText: onboarding.pastePlaceholder
            textFormat: TextEdit.PlainText
            wrapMode: TextEdit.Wrap
            font.pixelSize: 14
            color: pal.text
            placeholderTextColor: Qt.rgba(pal.text.r, pal.text.g, pal.text.b, 0.45)
            KeyNavigation.priority: KeyNavigation.BeforeItem
            KeyNavigation.tab: sample
            background: Rectangle {
                radius: 8
                color: pal.base
                border.color: pasteArea.activeFocus ? pal.highlight : pal.mid
            }
            onTextChanged: onboarding.pastedText = text
        }
        RowLayout {
            objectName: "successMessage"
            visible: onboarding.succeeded
            opacity: onboarding.succeeded ? 1 : 0
            Behavior on opacity { NumberAnimation { duration: 250 } }
            spacing: 8
            Layout.topMargin: 4
            IconImage {
                source: "qrc:/Tembrel/settings/icons/checkmark-circle-fill.svg"
                sourceSize: Qt.size(20, 20)
                color: theme.success
            }
            Label {
                objectName: "successText"
                text: "Perfect! The text has been fixed."
                font.pixelSize: 14
                font.bold: true
                color: theme.success
            }
        }
        // Fixes already work on this computer; a model server running here is one click from the other modes.
        ColumnLayout {
            objectName: "localServerOffer"
            visible: localServers.servers.length > 0 && !settingsChosen
            property bool settingsChosen: false
            Layout.fillWidth: true
            Layout.topMargin: 4
            spacing: 4
            Component.onCompleted: localServers.scan()
            Label {
                Layout.fillWidth: true
                text: "A model server runs on this computer. Use it for every mode:"
                font.pixelSize: 12
                color: pal.windowText
                wrapMode: Text.WordWrap
            }
            Repeater {
                model: localServers.servers
                delegate: Button {
                    required property var modelData
                    objectName: "useLocalServer"
                    text: "Use " + modelData.name + (modelData.models.length > 0 ? " · " + modelData.models[0] : "")
                    onClicked: {
                        onboarding.useLocalServer(modelData.url, modelData.models.length > 0 ? modelData.models[0] : "")
                        parent.settingsChosen = true
                    }
                }
            }
        }
        Item { Layout.fillHeight: true }
    }
}
