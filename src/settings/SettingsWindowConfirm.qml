import QtQuick
import QtQuick.Controls
import QtQuick.Layouts

// A confirmation over the settings window: a title, a message, a destructive button and Cancel.
Dialog {
    id: dialog
    property alias message: messageLabel.text
    property alias confirmText: confirmButton.text
    signal confirmed()

    modal: true
    anchors.centerIn: Overlay.overlay
    width: Math.min(320, parent ? parent.width - 40 : 320)
    closePolicy: Popup.CloseOnEscape

    contentItem: ColumnLayout {
        Label {
            id: messageLabel
            // A small preferred width: the dialog's width decides, and the wrapped height follows.
            Layout.fillWidth: true
            Layout.preferredWidth: 1
            wrapMode: Text.WordWrap
        }
    }
    footer: DialogButtonBox {
        Button {
            objectName: dialog.objectName + "Cancel"
            text: "Cancel"
            DialogButtonBox.buttonRole: DialogButtonBox.RejectRole
        }
        Button {
            id: confirmButton
            objectName: dialog.objectName + "Confirm"
            DialogButtonBox.buttonRole: DialogButtonBox.DestructiveRole
            palette.buttonText: "#d0312d"
            onClicked: {
                dialog.confirmed()
                dialog.close()
            }
        }
    }
}
