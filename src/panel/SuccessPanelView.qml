import QtQuick
import Tembrel
import QtQuick.Controls

// The result of a fix that changed the text: the header, the diff with the current edit
// highlighted, and the footer with edit navigation and key hints.
Item {
    id: view
    property PanelViewModel model
    property PanelTheme theme
    property real maximumHeight: 350

    readonly property real chromeHeight: header.implicitHeight + separator.height + footer.implicitHeight
                                         + 3 * column.spacing + column.topPadding + column.bottomPadding
    readonly property real diffMaximumHeight: maximumHeight - chromeHeight
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
            id: header
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
                objectName: "successHeader"
                anchors.verticalCenter: parent.verticalCenter
                text: view.model.successHeader
                color: view.theme.text
                font.pixelSize: view.theme.bodySize
                font.weight: Font.DemiBold
            }
        }

        Loader {
            id: diff
            width: column.width - column.leftPadding - column.rightPadding
            height: item ? Math.min(item.implicitHeight, view.diffMaximumHeight) : 0
            sourceComponent: view.model.hasHtmlDiff ? htmlDiff : plainDiff
        }

        Rectangle {
            id: separator
            width: column.width - column.leftPadding - column.rightPadding
            height: 1
            color: view.theme.separator
        }

        EditNavigationFooter {
            id: footer
            width: column.width - column.leftPadding - column.rightPadding
            model: view.model
            theme: view.theme
        }
    }

    Component {
        id: plainDiff
        NavigableDiffView {
            model: view.model
            theme: view.theme
        }
    }
    Component {
        id: htmlDiff
        Item {
            implicitHeight: Math.max(60, web.contentHeightReported)
            DiffWebView {
                id: web
                objectName: "htmlDiff"
                property real contentHeightReported: 120
                // The count is passed on once the page's height is known too: the panel shows
                // itself when the count arrives and must have its final size by then.
                property int pendingCount: -1
                property bool heightKnown: false
                function reportWhenSized() {
                    if (pendingCount >= 0 && heightKnown) {
                        view.model.reportEditCount(pendingCount)
                        pendingCount = -1
                    }
                }
                anchors.fill: parent
                originalHTML: view.model.originalHTML
                fixedHTML: view.model.fixedHTML
                currentEditIndex: view.model.currentEditIndex
                dark: view.theme.dark
                onEditCount: (count) => { pendingCount = count; reportWhenSized() }
                onContentHeight: (height) => {
                    contentHeightReported = Math.ceil(height)
                    heightKnown = true
                    reportWhenSized()
                }
            }
        }
    }
}
