import QtQuick
import QtQuick.Controls
import Tembrel

// The right pane: the selected tembrel's header, the view-mode switch and its text, plain or as
// the HTML diff, with the trace popover.
Item {
    id: detail

    required property HistoryWindowModel history
    required property HistoryWindowTheme theme
    property bool dark: false

    readonly property bool showsOriginal: history.viewMode === 0
    readonly property bool showsDiff: history.viewMode === 2

    readonly property bool entryTextIsRich: history.isRich || showsDiff
    readonly property string entryTextShown: {
        if (showsDiff)
            return wordDiff.attributed
        if (history.isRich)
            return showsOriginal ? history.originalHTML : history.fixedHTML
        return showsOriginal ? history.originalText : history.fixedText
    }
    onEntryTextIsRichChanged: showEntryText()
    onEntryTextShownChanged: showEntryText()

    function showEntryText() {
        entryText.textFormat = entryTextIsRich ? TextEdit.RichText : TextEdit.PlainText
        entryText.text = entryTextShown
    }

    Text {
        objectName: "selectPrompt"
        visible: !detail.history.hasSelection
        anchors.centerIn: parent
        text: "Select a tembrel to view"
        color: detail.theme.secondaryText
        font.pixelSize: detail.theme.titleSize
    }

    Item {
        id: header
        visible: detail.history.hasSelection
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.top: parent.top
        anchors.margins: 16
        height: 30

        // One line: edits, source application and date, between half-opacity middle dots; the
        // end gives way to an ellipsis when the window is too narrow for all of it.
        Text {
            objectName: "headerLine"
            anchors.left: parent.left
            anchors.right: traceButton.left
            anchors.rightMargin: 10
            anchors.verticalCenter: parent.verticalCenter
            color: detail.theme.secondaryText
            font.pixelSize: detail.theme.bodySize
            textFormat: Text.StyledText
            elide: Text.ElideRight
            text: {
                const escape = (part) => part.replace(/&/g, "&amp;").replace(/</g, "&lt;").replace(/>/g, "&gt;")
                const dimmed = Qt.rgba(color.r, color.g, color.b, 0.5)
                const dot = "&nbsp;&nbsp;<font color=\"" + dimmed + "\">\u00b7</font>&nbsp;&nbsp;"
                return detail.history.headerParts.map(escape).join(dot)
            }
        }

        HistoryWindowButton {
            id: traceButton
            objectName: "traceButton"
            anchors.right: parent.right
            anchors.verticalCenter: parent.verticalCenter
            theme: detail.theme
            icon: "wrench"
            text: "Request trace"
            onClicked: detail.history.isTraceOpen = !detail.history.isTraceOpen
        }
    }

    Rectangle {
        id: modeSwitch
        objectName: "viewModeSwitch"
        visible: detail.history.hasSelection
        anchors.top: header.bottom
        anchors.topMargin: 10
        anchors.horizontalCenter: parent.horizontalCenter
        width: modes.implicitWidth + 4
        height: 26
        radius: 7
        color: detail.theme.control
        Accessible.role: Accessible.PageTabList
        Accessible.name: "View Mode"

        Row {
            id: modes
            anchors.centerIn: parent
            spacing: 2

            Repeater {
                model: detail.history.viewModeLabels
                delegate: Rectangle {
                    required property string modelData
                    required property int index
                    objectName: "viewMode_" + modelData
                    width: Math.max(84, label.implicitWidth + 24)
                    height: 22
                    radius: 5
                    color: detail.history.viewMode === index ? detail.theme.controlChecked : "transparent"
                    border.width: detail.history.viewMode === index && !detail.dark ? 1 : 0
                    border.color: detail.theme.fieldBorder
                    Accessible.role: Accessible.PageTab
                    Accessible.name: modelData

                    Text {
                        id: label
                        anchors.centerIn: parent
                        text: parent.modelData
                        color: detail.theme.text
                        font.pixelSize: detail.theme.bodySize
                    }
                    MouseArea {
                        anchors.fill: parent
                        onClicked: detail.history.viewMode = parent.index
                    }
                }
            }
        }
    }

    Rectangle {
        id: textFrame
        visible: detail.history.hasSelection
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.top: modeSwitch.bottom
        anchors.bottom: parent.bottom
        anchors.margins: 16
        radius: 8
        color: detail.theme.sidebar
        border.width: 1
        border.color: detail.theme.separator

        DiffRenderViewModel {
            id: wordDiff
            palette: DiffRenderViewModel.History
            dark: detail.dark
            originalText: detail.history.originalText
            fixedText: detail.history.fixedText
        }

        ScrollView {
            id: textScroll
            visible: !(detail.history.isRich && detail.showsDiff)
            anchors.fill: parent
            anchors.margins: 1
            contentWidth: availableWidth

            TextEdit {
                id: entryText
                objectName: "entryText"
                width: textScroll.availableWidth
                padding: 14
                readOnly: true
                selectByMouse: true
                wrapMode: TextEdit.Wrap
                color: detail.theme.text
                selectionColor: detail.theme.selection
                selectedTextColor: detail.theme.selectionText
                font.pixelSize: detail.theme.bodySize + 1
                // Format and text are set together, format first: a rich document switched to
                // plain would otherwise come up as its own HTML source, and plain text switched
                // to rich would be read as markup.
                Component.onCompleted: detail.showEntryText()

                DiffStrikeLines {
                    target: entryText
                    ranges: detail.showsDiff ? wordDiff.strikeRanges : []
                    color: Qt.rgba(wordDiff.removalColor.r, wordDiff.removalColor.g, wordDiff.removalColor.b, 0.6)
                    thickness: Math.max(1, Math.round(entryText.font.pixelSize / 13))
                }
            }
        }

        DiffWebView {
            objectName: "htmlDiff"
            visible: detail.history.isRich && detail.showsDiff
            anchors.fill: parent
            anchors.margins: 6
            originalHTML: visible ? detail.history.originalHTML : ""
            fixedHTML: visible ? detail.history.fixedHTML : ""
            dark: detail.dark
        }
    }

    HistoryWindowTracePopover {
        objectName: "tracePopover"
        theme: detail.theme
        history: detail.history
        x: detail.width - width - 16
        y: header.y + header.height + 4
    }
}
