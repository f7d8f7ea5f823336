import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import QtQuick.Controls.impl

// The permission to send keys to other apps. Where the system asks for it, the steps and
// "Open Settings"; where it is granted, a confirmation; where it cannot be had, the reason.
// The controller polls trust while this page shows. Context: onboarding.
Item {
    property QtObject theme
    SystemPalette { id: pal }
    readonly property bool asksSystem: onboarding.howToEnable.length > 0

    ColumnLayout {
        anchors { left: parent.left; right: parent.right; top: parent.top; margins: 32; topMargin: 36 }
        spacing: 14

        Label {
            text: onboarding.permissionTitle
            font.pixelSize: theme.titleSize
            font.bold: true
            color: pal.windowText
        }
        Label {
            visible: text.length > 0
            text: onboarding.permissionIntro
            font.pixelSize: theme.bodySize
            color: pal.windowText
            wrapMode: Text.WordWrap
            Layout.fillWidth: true
        }

        OnboardingNotice {
            objectName: "permissionGranted"
            visible: onboarding.trusted
            Layout.fillWidth: true
            tint: theme.successTint
            iconSource: "qrc:/Tembrel/settings/icons/checkmark-circle-fill.svg"
            iconColor: theme.success
            title: "Permission granted"
            detail: onboarding.grantedDetail
        }

        OnboardingNotice {
            objectName: "sessionNote"
            visible: onboarding.trusted && onboarding.sessionNote.length > 0
            Layout.fillWidth: true
            tint: theme.warningTint
            iconSource: "qrc:/Tembrel/panel/icons/warning-triangle.svg"
            iconColor: theme.warning
            title: "In this session"
            detail: onboarding.sessionNote
        }

        OnboardingNotice {
            objectName: "permissionUnavailable"
            visible: !onboarding.trusted && !asksSystem
            Layout.fillWidth: true
            tint: theme.warningTint
            iconSource: "qrc:/Tembrel/panel/icons/warning-triangle.svg"
            iconColor: theme.warning
            title: onboarding.unavailableTitle
            detail: onboarding.untrustedReason
        }

        ColumnLayout {
            objectName: "howToEnable"
            visible: !onboarding.trusted && asksSystem
            Layout.fillWidth: true
            spacing: 6
            Label { text: "How to enable:"; font.bold: true; color: pal.windowText }
            Repeater {
                model: onboarding.howToEnable
                Label {
                    text: (index + 1) + ". " + modelData
                    font.pixelSize: theme.bodySize
                    color: pal.windowText
                    Layout.leftMargin: 4
                }
            }
            Button {
                objectName: "openSettingsButton"
                text: "Open Settings"
                icon.source: "qrc:/Tembrel/settings/icons/gearshape.svg"
                Layout.topMargin: 8
                onClicked: onboarding.openSystemSettings()
            }
        }
    }
}
