import QtQuick
import Tembrel

// The footer of the no-changes and error views: only the dismiss hint.
Item {
    id: footer
    property PanelViewModel model
    property PanelTheme theme
    implicitHeight: 22
    implicitWidth: hint.implicitWidth

    KeyboardHint {
        id: hint
        objectName: "dismissHint"
        anchors.verticalCenter: parent.verticalCenter
        theme: footer.theme
        keyCap: footer.model.dismissKeyCap
        action: "to dismiss"
    }
}
