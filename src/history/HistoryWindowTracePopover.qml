import QtQuick
import QtQuick.Controls
import Tembrel

// "Request Trace": the selected tembrel's trace as text with a copy button, or a note when the
// tembrel was made before traces were kept.
Popup {
    id: popover

    required property HistoryWindowModel history
    required property HistoryWindowTheme theme

    width: 460
    height: history.hasTrace ? 320 : 120
    padding: 14
    visible: history.isTraceOpen
    closePolicy: Popup.CloseOnEscape | Popup.CloseOnPressOutsideParent
    onClosed: history.isTraceOpen = false

    background: Rectangle {
        radius: 10
        color: popover.theme.popover
        border.width: 1
        border.color: popover.theme.fieldBorder
    }

    contentItem: Item {
        Text {
            id: title
            anchors.left: parent.left
            anchors.top: parent.top
            text: "Request Trace"
            color: popover.theme.text
            font.pixelSize: popover.theme.titleSize
            font.weight: Font.DemiBold
        }

        HistoryWindowButton {
            objectName: "copyButton"
            visible: popover.history.hasTrace
            anchors.right: parent.right
            anchors.verticalCenter: title.verticalCenter
            theme: popover.theme
            icon: popover.history.isTraceCopied ? "checkmark" : "copy"
            text: popover.history.isTraceCopied ? "Copied" : "Copy"
            Behavior on opacity { NumberAnimation { duration: 200; easing.type: Easing.InOutQuad } }
            onClicked: popover.history.copyTrace()
        }

        Rectangle {
            visible: popover.history.hasTrace
            anchors.left: parent.left
            anchors.right: parent.right
            anchors.top: title.bottom
            anchors.topMargin: 12
            anchors.bottom: parent.bottom
            radius: 6
            color: popover.theme.code

            ScrollView {
                id: traceScroll
                anchors.fill: parent
                contentWidth: availableWidth

                TextEdit {
                    objectName: "traceText"
                    width: traceScroll.availableWidth
                    padding: 10
                    readOnly: true
                    selectByMouse: true
                    wrapMode: TextEdit.WrapAnywhere
                    textFormat: TextEdit.PlainText
                    text: popover.history.traceText
                    color: popover.theme.text
                    selectionColor: popover.theme.selection
                    font.family: "monospace"
                    font.pixelSize: popover.theme.smallSize
                }
            }
        }

        Column {
            objectName: "noTrace"
            visible: !popover.history.hasTrace
            anchors.left: parent.left
            anchors.right: parent.right
            anchors.top: title.bottom
            anchors.topMargin: 14
            spacing: 4

            Text {
                width: parent.width
                text: "No trace available for this entry."
                color: popover.theme.text
                font.pixelSize: popover.theme.bodySize
                wrapMode: Text.Wrap
            }
            Text {
                width: parent.width
                text: "Traces are captured for new tembrels only."
                color: popover.theme.secondaryText
                font.pixelSize: popover.theme.smallSize
                wrapMode: Text.Wrap
            }
        }
    }
}
