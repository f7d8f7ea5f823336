import QtQuick
import QtQuick.Controls
import QtQuick.Layouts

// The onboarding window's content: three pages that slide into view, "Back", the page indicator
// and the page's own button. Return does what the page's main button does. Context: onboarding.
Page {
    id: root
    SystemPalette { id: pal }
    OnboardingTheme { id: theme; window: pal.window }
    background: Rectangle { color: pal.window }

    SwipeView {
        id: pages
        objectName: "pages"
        anchors.fill: parent
        interactive: false
        clip: true
        currentIndex: onboarding.currentPage

        OnboardingWelcomePage { theme: theme }
        OnboardingPermissionPage { theme: theme }
        OnboardingTryPage { theme: theme; current: SwipeView.isCurrentItem }
    }

    Shortcut {
        sequences: ["Return", "Enter"]
        enabled: onboarding.currentPage < 2 || onboarding.succeeded
        onActivated: onboarding.currentPage < 2 ? onboarding.next() : onboarding.finish()
    }

    footer: Item {
        implicitHeight: 60

        Rectangle {
            anchors { left: parent.left; right: parent.right; top: parent.top }
            height: 1
            color: pal.mid
            opacity: onboarding.currentPage > 0 ? 0.35 : 0
        }
        OnboardingButton {
            objectName: "backButton"
            visible: onboarding.currentPage > 0
            quiet: true
            text: "Back"
            leadingIcon: "qrc:/Tembrel/settings/icons/chevron-left.svg"
            leftPadding: 10
            rightPadding: 12
            anchors { left: parent.left; leftMargin: 14; verticalCenter: parent.verticalCenter }
            onClicked: onboarding.back()
        }
        OnboardingPageIndicator {
            anchors.centerIn: parent
            count: onboarding.pageCount
            current: onboarding.currentPage
            onPageClicked: function(index) { onboarding.goToPage(index) }
        }
        OnboardingButton {
            objectName: "continueButton"
            visible: onboarding.currentPage === 1
            prominent: true
            text: "Continue"
            trailingIcon: "qrc:/Tembrel/settings/icons/arrow-right.svg"
            anchors { right: parent.right; rightMargin: 20; verticalCenter: parent.verticalCenter }
            onClicked: onboarding.next()
        }
        OnboardingButton {
            objectName: "letsGoButton"
            visible: onboarding.currentPage === 2
            // Available before the sentence is fixed too: nobody is kept in onboarding by a
            // service that cannot be reached. It stands out once the fix has arrived.
            prominent: onboarding.succeeded
            text: "Let's Go"
            anchors { right: parent.right; rightMargin: 20; verticalCenter: parent.verticalCenter }
            onClicked: onboarding.finish()
        }
    }
}
