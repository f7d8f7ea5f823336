import QtQuick
import Tembrel
import QtQuick.Controls

// A small flat button with a chevron, for moving between edits.
AbstractButton {
    id: button
    property PanelTheme theme
    property string iconName
    property string fallback
    implicitWidth: 22
    implicitHeight: 22
    focusPolicy: Qt.NoFocus
    hoverEnabled: true

    background: Rectangle {
        radius: 5
        color: button.down || button.hovered ? button.theme.buttonHover : "transparent"
    }
    contentItem: Item {
        PanelIcon {
            anchors.centerIn: parent
            width: 12
            height: 12
            name: button.iconName
            fallback: button.fallback
            color: button.enabled ? button.theme.text : button.theme.secondaryText
        }
    }
}
