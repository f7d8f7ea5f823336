import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Tembrel

// The settings window's content, top to bottom. Every control writes straight into its store;
// there is nothing to save. Context: settingsWindow, showsGreeting, settings, history, modesModel, connectionTest.
Page {
    id: root
    SystemPalette { id: pal }
    background: Rectangle { color: pal.window }

    Flickable {
        id: flick
        objectName: "settingsFlick"
        anchors.fill: parent
        contentWidth: width
        contentHeight: content.implicitHeight + 40
        clip: true
        boundsBehavior: Flickable.StopAtBounds
        ScrollBar.vertical: ScrollBar {}

        ColumnLayout {
            id: content
            x: 20
            y: 20
            width: flick.width - 40
            spacing: 12

            // Greeting, only at the end of onboarding.
            Rectangle {
                objectName: "greeting"
                visible: showsGreeting
                Layout.fillWidth: true
                implicitHeight: greetingRow.implicitHeight + 20
                radius: 8
                color: Qt.rgba(0.18, 0.62, 0.28, 0.14)
                RowLayout {
                    id: greetingRow
                    anchors { left: parent.left; right: parent.right; verticalCenter: parent.verticalCenter; margins: 10 }
                    spacing: 8
                    Image {
                        source: "qrc:/Tembrel/panel/icons/checkmark-circle.svg"
                        sourceSize: Qt.size(22, 22)
                        Layout.alignment: Qt.AlignTop
                    }
                    ColumnLayout {
                        Layout.fillWidth: true
                        spacing: 2
                        Label { text: "You're all set!"; font.bold: true; color: pal.windowText }
                        Label {
                            text: "Close this window or update your settings below."
                            Layout.fillWidth: true
                            wrapMode: Text.WordWrap
                            font.pointSize: 8
                            color: pal.windowText
                            opacity: 0.75
                        }
                    }
                    ToolButton {
                        objectName: "greetingClose"
                        text: "\u2715"
                        Layout.alignment: Qt.AlignTop
                        onClicked: settingsWindow.close()
                    }
                }
            }

            // Header.
            ColumnLayout {
                Layout.fillWidth: true
                spacing: 2
                Label {
                    objectName: "title"
                    text: "Tembrel"
                    font.family: settingsWindow.titleFontFamily
                    font.pixelSize: 30
                    color: pal.windowText
                    Layout.alignment: Qt.AlignHCenter
                }
                Label {
                    text: "Select text, press " + settingsWindow.shortcutText + ", and paste the fixed version."
                    Layout.fillWidth: true
                    horizontalAlignment: Text.AlignHCenter
                    wrapMode: Text.WordWrap
                    color: pal.windowText
                    opacity: 0.8
                }
                Label {
                    objectName: "versionLine"
                    text: "Version " + settingsWindow.version
                    Layout.alignment: Qt.AlignHCenter
                    font.pointSize: 8
                    color: pal.windowText
                    opacity: 0.55
                }
            }

            Label {
                objectName: "noTrayHint"
                visible: text.length > 0
                text: settingsWindow.noTrayHint
                Layout.fillWidth: true
                Layout.topMargin: 4
                horizontalAlignment: Text.AlignHCenter
                wrapMode: Text.WordWrap
                font.pointSize: 8
                color: pal.windowText
                opacity: 0.8
            }

            // General.
            SettingsWindowSection {
                Layout.fillWidth: true
                SettingsWindowSwitchRow {
                    objectName: "launchAtLogin"
                    Layout.fillWidth: true
                    text: "Launch at login"
                    help: settingsWindow.launchAtLoginProblem
                    value: settingsWindow.launchAtLogin
                    onToggledTo: function(checked) { settingsWindow.launchAtLogin = checked }
                }
                SettingsWindowSwitchRow {
                    objectName: "showWelcome"
                    Layout.fillWidth: true
                    text: "Show welcome screen on launch"
                    value: settingsWindow.showWelcomeOnLaunch
                    onToggledTo: function(checked) { settingsWindow.showWelcomeOnLaunch = checked }
                }
                SettingsWindowSwitchRow {
                    objectName: "analytics"
                    Layout.fillWidth: true
                    text: "Send anonymous usage data"
                    help: settingsWindow.analyticsHelp
                    enabled: settingsWindow.analyticsBuiltIn
                    value: settingsWindow.analyticsBuiltIn && settings.analyticsEnabled
                    onToggledTo: function(checked) { settings.analyticsEnabled = checked }
                }
                SettingsWindowSwitchRow {
                    objectName: "hideDockIcon"
                    Layout.fillWidth: true
                    text: settingsWindow.hideDockIconLabel
                    help: settingsWindow.hideDockIconHelp
                    value: settings.hideDockIcon
                    onToggledTo: function(checked) { settings.hideDockIcon = checked }
                }
            }

            SettingsWindowSection {
                Layout.fillWidth: true
                ModesSection {
                    objectName: "modesSection"
                    Layout.fillWidth: true
                    modes: modesModel
                }
                Label {
                    visible: bindingLines.text.length > 0
                    text: settingsWindow.compositorBindingsIntro
                    color: pal.windowText
                    wrapMode: Text.WordWrap
                    Layout.fillWidth: true
                }
                TextEdit {
                    id: bindingLines
                    objectName: "compositorBindings"
                    visible: text.length > 0
                    text: settingsWindow.compositorBindings
                    readOnly: true
                    selectByMouse: true
                    font.family: "monospace"
                    color: pal.windowText
                    wrapMode: TextEdit.WrapAnywhere
                    Layout.fillWidth: true
                }
            }

            SettingsWindowSection {
                Layout.fillWidth: true
                title: "History"
                SettingsWindowSwitchRow {
                    objectName: "historyEnabled"
                    Layout.fillWidth: true
                    text: "Save tembrel history"
                    value: history.isEnabled
                    onToggledTo: function(checked) { history.isEnabled = checked }
                }
                Label {
                    objectName: "historySummary"
                    text: settingsWindow.historySummary
                    color: pal.windowText
                    opacity: 0.75
                }
                RowLayout {
                    Button {
                        objectName: "viewHistory"
                        text: "View History"
                        onClicked: settingsWindow.viewHistory()
                    }
                    Button {
                        objectName: "clearHistory"
                        text: "Clear History"
                        onClicked: clearConfirm.open()
                    }
                }
            }

            SettingsWindowSection {
                Layout.fillWidth: true
                title: "Advanced"
                Label {
                    objectName: "engineDescription"
                    Layout.fillWidth: true
                    text: settingsWindow.engineDescription
                    color: pal.windowText
                    opacity: 0.75
                    wrapMode: Text.WordWrap
                }
                // Model servers already running on this computer: one click points the endpoint at one.
                ColumnLayout {
                    objectName: "localServers"
                    Layout.fillWidth: true
                    spacing: 4
                    Component.onCompleted: localServers.scan()
                    Label {
                        Layout.fillWidth: true
                        text: localServers.isScanning ? "Looking for model servers on this computer…"
                              : localServers.servers.length > 0 ? "Model servers on this computer:"
                              : "No model server found on this computer."
                        color: pal.windowText
                        opacity: 0.75
                        wrapMode: Text.WordWrap
                    }
                    Repeater {
                        model: localServers.servers
                        delegate: Button {
                            required property var modelData
                            objectName: "useLocalServer"
                            Layout.fillWidth: true
                            text: "Use " + modelData.name + (modelData.models.length > 0 ? " · " + modelData.models[0] : "")
                            onClicked: {
                                settings.customAPIURL = modelData.url
                                settings.customModelID = modelData.models.length > 0 ? modelData.models[0] : ""
                                settings.useCustomEndpoint = true
                                connectionTest.reset()
                                localServers.listModels(modelData.url, settingsWindow.apiKey)
                            }
                        }
                    }
                    Button {
                        objectName: "scanLocalServers"
                        text: "Look Again"
                        enabled: !localServers.isScanning
                        onClicked: localServers.scan()
                    }
                }
                SettingsWindowSwitchRow {
                    objectName: "customEndpoint"
                    Layout.fillWidth: true
                    text: "Use custom endpoint"
                    help: "Use your own OpenAI-compatible API instead of Tembrel's server."
                    value: settings.useCustomEndpoint
                    onToggledTo: function(checked) { settings.useCustomEndpoint = checked }
                }
                // The fields show only while the switch is on; the stores keep their values. They
                // are part of the layout from the start (not loaded later), so the window's
                // first layout already knows their height.
                ColumnLayout {
                    objectName: "endpointFields"
                    visible: settings.useCustomEndpoint
                    Layout.fillWidth: true
                    spacing: 4
                    Label { text: "API URL"; color: pal.windowText }
                    TextField {
                        objectName: "apiUrlField"
                        Layout.fillWidth: true
                        text: settings.customAPIURL
                        placeholderText: settingsWindow.exampleApiUrl
                        onTextEdited: { settings.customAPIURL = text; connectionTest.reset() }
                        onEditingFinished: localServers.listModels(settings.customAPIURL, keyField.text)
                        Component.onCompleted: localServers.listModels(settings.customAPIURL, settingsWindow.apiKey)
                    }
                    SettingsWindowHelp { text: "Base URL for your OpenAI-compatible API, e.g. " + settingsWindow.exampleApiUrl }

                    Label { text: "API Key (optional)"; color: pal.windowText; Layout.topMargin: 6 }
                    TextField {
                        id: keyField
                        objectName: "apiKeyField"
                        Layout.fillWidth: true
                        echoMode: TextInput.Password
                        text: settingsWindow.apiKey
                        placeholderText: "sk-..."
                        onTextEdited: { settingsWindow.setApiKeyText(text); connectionTest.reset() }
                        onEditingFinished: settingsWindow.commitApiKey()
                    }
                    SettingsWindowHelp { text: settingsWindow.apiKeyHelp }
                    Label {
                        objectName: "apiKeyError"
                        visible: text.length > 0
                        text: settingsWindow.apiKeyError
                        color: "#d0312d"
                        font.pointSize: 8
                        Layout.fillWidth: true
                        wrapMode: Text.WordWrap
                    }

                    Label { text: "Model (optional)"; color: pal.windowText; Layout.topMargin: 6 }
                    TextField {
                        objectName: "modelField"
                        Layout.fillWidth: true
                        text: settings.customModelID
                        placeholderText: "gpt-4o"
                        onTextEdited: { settings.customModelID = text; connectionTest.reset() }
                    }
                    // The endpoint's own list of models; typing any other name still works.
                    Flow {
                        objectName: "modelChoices"
                        Layout.fillWidth: true
                        spacing: 4
                        visible: localServers.models.length > 0
                        Repeater {
                            model: localServers.models
                            delegate: Button {
                                required property string modelData
                                text: modelData
                                flat: modelData !== settings.customModelID
                                onClicked: { settings.customModelID = modelData; connectionTest.reset() }
                            }
                        }
                    }
                    SettingsWindowHelp { text: "Model ID to use for text processing." }

                    ConnectionTestButton {
                        Layout.topMargin: 6
                        Layout.fillWidth: true
                        testState: connectionTest
                        canTest: settings.customAPIURL.trim().length > 0
                        onTestRequested: {
                            settingsWindow.commitApiKey()
                            connectionTest.test(settings.customAPIURL, keyField.text, settings.customModelID)
                        }
                    }
                }
                SettingsWindowSwitchRow {
                    objectName: "betaUpdates"
                    Layout.fillWidth: true
                    text: "Receive beta updates"
                    help: "Get early access to new features. Beta versions may have bugs."
                    value: settings.receiveBetaUpdates
                    onToggledTo: function(checked) { settings.receiveBetaUpdates = checked }
                }
            }
        }
    }

    SettingsWindowConfirm {
        id: clearConfirm
        objectName: "clearHistoryConfirm"
        parent: Overlay.overlay
        title: "Clear all history?"
        message: settingsWindow.clearHistoryMessage
        confirmText: "Clear History"
        onConfirmed: settingsWindow.clearHistory()
    }
}
