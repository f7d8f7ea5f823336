import QtQuick
import QtQuick.Controls

// A confirmation sheet over the window: title, message, "Cancel" and a destructive action.
Popup {
    id: sheet

    required property HistoryWindowTheme theme
    property bool shown: false
    property string title
    property string message
    property string actionText

    signal confirmed()
    signal cancelled()

    anchors.centerIn: parent
    width: 340
    modal: true
    focus: true
    padding: 20
    closePolicy: Popup.CloseOnEscape
    onShownChanged: shown ? open() : close()
    // Escape closes the sheet without the model knowing; that is a cancel.
    onClosed: if (shown) cancelled()


    background: Rectangle {
        radius: 12
        color: sheet.theme.popover
        border.width: 1
        border.color: sheet.theme.fieldBorder
    }

    contentItem: Column {
        spacing: 8

        Text {
            objectName: "confirmTitle"
            width: sheet.availableWidth
            text: sheet.title
            color: sheet.theme.text
            font.pixelSize: sheet.theme.titleSize
            font.weight: Font.DemiBold
            wrapMode: Text.Wrap
        }
        Text {
            objectName: "confirmMessage"
            width: sheet.availableWidth
            text: sheet.message
            color: sheet.theme.secondaryText
            font.pixelSize: sheet.theme.bodySize
            wrapMode: Text.Wrap
        }
        Item { width: 1; height: 8 }
        Row {
            anchors.right: parent.right
            spacing: 8

            HistoryWindowButton {
                objectName: "cancelButton"
                theme: sheet.theme
                text: "Cancel"
                onClicked: sheet.cancelled()
            }
            HistoryWindowButton {
                objectName: "confirmButton"
                theme: sheet.theme
                text: sheet.actionText
                destructive: true
                prominent: true
                onClicked: sheet.confirmed()
            }
        }
    }
}
