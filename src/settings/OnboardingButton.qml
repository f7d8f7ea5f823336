import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import QtQuick.Controls.impl

// A button of the onboarding pages; `prominent` fills it with the accent colour for the step the
// user is expected to take next, `quiet` draws no frame until pointed at. Optional symbols go
// before and after the text.
Button {
    id: button
    property bool prominent: false
    property bool quiet: false
    property url leadingIcon: ""
    property url trailingIcon: ""
    SystemPalette { id: pal }

    readonly property color foreground: prominent ? pal.highlightedText : quiet ? pal.windowText : pal.buttonText
    leftPadding: 16
    rightPadding: 16
    topPadding: 7
    bottomPadding: 7

    contentItem: RowLayout {
        spacing: 6
        IconImage {
            visible: button.leadingIcon.toString().length > 0
            source: button.leadingIcon
            sourceSize: Qt.size(14, 14)
            color: button.foreground
        }
        Label {
            text: button.text
            font: button.font
            color: button.foreground
            horizontalAlignment: Text.AlignHCenter
            Layout.fillWidth: true
        }
        IconImage {
            visible: button.trailingIcon.toString().length > 0
            source: button.trailingIcon
            sourceSize: Qt.size(14, 14)
            color: button.foreground
        }
    }
    background: Rectangle {
        visible: !button.quiet || button.hovered || button.down
        implicitWidth: 88
        implicitHeight: 32
        radius: 6
        color: button.prominent ? (button.down ? Qt.darker(pal.highlight, 1.2) : pal.highlight)
                                : (button.down ? pal.mid : pal.button)
        border.color: button.prominent ? Qt.darker(pal.highlight, 1.15) : pal.mid
        border.width: 1
        Behavior on color { ColorAnimation { duration: 150 } }
    }
}
