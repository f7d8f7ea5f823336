import QtQuick
import Tembrel
import QtQuick.Controls

// A failed fix: what went wrong in words the user can act on, with retry and dismiss.
Item {
    id: view
    property PanelViewModel model
    property PanelTheme theme
    implicitHeight: column.implicitHeight

    Column {
        id: column
        width: parent.width
        topPadding: 12
        bottomPadding: 10
        leftPadding: 14
        rightPadding: 14
        spacing: 10

        Row {
            spacing: 9
            width: column.width - column.leftPadding - column.rightPadding
            IconWithCountdown {
                id: icon
                progress: view.model.countdownProgress
                color: view.theme.warning
                trackColor: view.theme.ringTrack
                iconName: "dialog-warning-symbolic"
                fallback: "warning-triangle"
            }
            Column {
                width: parent.width - icon.width - parent.spacing
                spacing: 2
                Label {
                    objectName: "errorTitle"
                    width: parent.width
                    topPadding: 4
                    text: view.model.errorTitle
                    color: view.theme.text
                    font.pixelSize: view.theme.bodySize
                    font.weight: Font.DemiBold
                    wrapMode: Text.Wrap
                }
                Label {
                    objectName: "errorSubtitle"
                    width: parent.width
                    text: view.model.errorSubtitle
                    color: view.theme.secondaryText
                    font.pixelSize: view.theme.bodySize - 1
                    wrapMode: Text.Wrap
                    maximumLineCount: 6
                    elide: Text.ElideRight
                }
            }
        }

        Item {
            width: column.width - column.leftPadding - column.rightPadding
            height: buttons.implicitHeight

            DismissFooter {
                anchors.left: parent.left
                anchors.verticalCenter: parent.verticalCenter
                model: view.model
                theme: view.theme
            }
            Row {
                id: buttons
                anchors.right: parent.right
                spacing: 8
                PanelButton {
                    objectName: "dismissButton"
                    theme: view.theme
                    text: "Dismiss"
                    onClicked: view.model.dismiss()
                }
                PanelButton {
                    objectName: "openSettingsButton"
                    visible: view.model.offersSettings
                    theme: view.theme
                    primary: true
                    text: "Open Settings"
                    onClicked: view.model.openSettings()
                }
                PanelButton {
                    objectName: "retryButton"
                    visible: !view.model.offersSettings
                    theme: view.theme
                    primary: true
                    text: "Retry"
                    onClicked: view.model.retry()
                }
            }
        }
    }
}
