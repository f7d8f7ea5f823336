import QtQuick
import Tembrel
import QtQuick.Controls

// A compact text button that never takes the keyboard focus.
AbstractButton {
    id: button
    property PanelTheme theme
    property bool primary: false
    focusPolicy: Qt.NoFocus
    hoverEnabled: true
    implicitWidth: label.implicitWidth + 22
    implicitHeight: 24

    background: Rectangle {
        radius: 6
        color: button.primary
            ? Qt.darker(button.theme.accent, button.down ? 1.2 : button.hovered ? 1.08 : 1.0)
            : (button.down || button.hovered ? button.theme.buttonHover : "transparent")
        border.color: button.primary ? "transparent" : button.theme.keyCapBorder
    }
    contentItem: Label {
        id: label
        text: button.text
        horizontalAlignment: Text.AlignHCenter
        verticalAlignment: Text.AlignVCenter
        color: button.primary ? "white" : button.theme.text
        font.pixelSize: button.theme.smallSize + 1
        font.weight: Font.Medium
    }
}
