import QtQuick
import Tembrel
import QtQuick.Controls

// A fix that left the text as it was: the note, how long it took, and the dismiss hint.
Item {
    id: view
    property PanelViewModel model
    property PanelTheme theme
    implicitHeight: row.implicitHeight + 24

    Row {
        id: row
        anchors.left: parent.left
        anchors.leftMargin: 14
        anchors.verticalCenter: parent.verticalCenter
        spacing: 9
        IconWithCountdown {
            anchors.verticalCenter: parent.verticalCenter
            progress: view.model.countdownProgress
            color: view.theme.success
            trackColor: view.theme.ringTrack
            iconName: "object-select-symbolic"
            fallback: "checkmark-circle"
        }
        Label {
            objectName: "noChangesText"
            anchors.verticalCenter: parent.verticalCenter
            text: "No changes needed"
            color: view.theme.text
            font.pixelSize: view.theme.bodySize
            font.weight: Font.DemiBold
        }
        Label {
            objectName: "durationText"
            anchors.verticalCenter: parent.verticalCenter
            text: view.model.durationText
            color: view.theme.secondaryText
            font.pixelSize: view.theme.bodySize
        }
    }
    DismissFooter {
        anchors.right: parent.right
        anchors.rightMargin: 14
        anchors.verticalCenter: parent.verticalCenter
        model: view.model
        theme: view.theme
    }
}
