import QtQuick
import QtQuick.Controls
import QtQuick.Layouts

// The first page: what Tembrel does, in one breath. Context: onboarding.
Item {
    property QtObject theme
    SystemPalette { id: pal }

    ColumnLayout {
        anchors.centerIn: parent
        width: parent.width - 80
        spacing: 8

        Label {
            objectName: "welcomeTitle"
            text: "Tembrel"
            font.family: onboarding.titleFontFamily
            font.pixelSize: 54
            color: pal.windowText
            Layout.alignment: Qt.AlignHCenter
        }
        Label {
            text: "Fix grammar and typos instantly."
            font.pixelSize: 18
            color: pal.windowText
            Layout.alignment: Qt.AlignHCenter
        }
        Label {
            objectName: "welcomeHint"
            text: "Select text, press " + onboarding.shortcutText + ", and paste."
            font.pixelSize: theme.bodySize
            color: pal.windowText
            opacity: 0.7
            wrapMode: Text.WordWrap
            horizontalAlignment: Text.AlignHCenter
            Layout.fillWidth: true
        }
        OnboardingButton {
            objectName: "getStartedButton"
            text: "Get Started"
            prominent: true
            font.pixelSize: 14
            Layout.topMargin: 28
            Layout.preferredWidth: 180
            Layout.preferredHeight: 36
            Layout.alignment: Qt.AlignHCenter
            onClicked: onboarding.next()
        }
    }
}
