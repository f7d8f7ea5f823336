import QtQuick
import Tembrel
import QtQuick.Controls

// The success footer: which edit is highlighted with previous/next, and the key hints.
Item {
    id: footer
    property PanelViewModel model
    property PanelTheme theme
    implicitHeight: 24

    Row {
        anchors.left: parent.left
        anchors.verticalCenter: parent.verticalCenter
        spacing: 2
        visible: footer.model.totalEdits > 0

        NavigationButton {
            objectName: "previousEdit"
            theme: footer.theme
            iconName: "go-up-symbolic"
            fallback: "chevron-up"
            onClicked: footer.model.previousEdit()
        }
        NavigationButton {
            objectName: "nextEdit"
            theme: footer.theme
            iconName: "go-down-symbolic"
            fallback: "chevron-down"
            onClicked: footer.model.nextEdit()
        }
        Label {
            objectName: "editPosition"
            anchors.verticalCenter: parent.verticalCenter
            leftPadding: 4
            text: footer.model.editPosition
            color: footer.theme.secondaryText
            font.pixelSize: footer.theme.smallSize
        }
    }

    Row {
        anchors.right: parent.right
        anchors.verticalCenter: parent.verticalCenter
        spacing: 6

        KeyboardHint {
            objectName: "pasteHint"
            anchors.verticalCenter: parent.verticalCenter
            theme: footer.theme
            keyCap: footer.model.pasteKeyCap
            action: "to paste"
        }
        Label {
            anchors.verticalCenter: parent.verticalCenter
            text: "·"
            color: footer.theme.secondaryText
            font.pixelSize: footer.theme.smallSize
        }
        KeyboardHint {
            objectName: "dismissHint"
            anchors.verticalCenter: parent.verticalCenter
            theme: footer.theme
            keyCap: footer.model.dismissKeyCap
            action: "to dismiss"
        }
    }
}
