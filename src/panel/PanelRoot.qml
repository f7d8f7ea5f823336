import QtQuick
import Tembrel

// The floating result panel: switches on the model's phase and draws the phase's view over a
// rounded background. The window is larger than what it draws; `backgroundRect` tells the
// controller which part to keep (clicks pass through the rest).
Item {
    id: root
    width: 400
    height: 350

    required property PanelViewModel model
    // Set by the controller: whether a compositor blends the window, and the desktop's appearance.
    property bool translucent: true
    property bool dark: false

    readonly property rect backgroundRect: Qt.rect(background.x, background.y, background.width, background.height)
    readonly property real backgroundRadius: background.radius
    signal backgroundChanged()
    onBackgroundRectChanged: backgroundChanged()

    readonly property bool loading: model.phase === PanelViewModel.Loading
    // A success is built out of sight while its diff settles; the pill stays until then, so the
    // result comes in at its final size with its final count.
    readonly property bool settling: model.phase === PanelViewModel.Success && !model.isSettled
    readonly property bool pillShown: loading || settling

    PanelTheme {
        id: panelTheme
        dark: root.dark
        translucent: root.translucent
    }

    PanelBackground {
        id: background
        theme: panelTheme
        anchors.horizontalCenter: parent.horizontalCenter
        y: 0
        width: root.settling ? settlingPill.implicitWidth
                             : root.loading ? (content.item ? content.item.implicitWidth : 0) : root.width
        height: root.settling ? settlingPill.implicitHeight
                              : Math.min(root.height, content.item ? content.item.implicitHeight : 0)
        radius: root.pillShown ? height / 2 : 14

        HoverHandler {
            onHoveredChanged: root.model.isHovered = hovered
        }

        Loader {
            id: settlingPill
            active: root.settling
            anchors.fill: parent
            sourceComponent: loadingPill
        }

        Loader {
            id: content
            // Full width while a success settles, so it lays out as it will be shown.
            width: root.settling ? root.width : parent.width
            height: root.settling ? (item ? item.implicitHeight : 0) : parent.height
            opacity: root.settling ? 0 : 1
            enabled: !root.settling
            sourceComponent: {
                switch (root.model.phase) {
                case PanelViewModel.Success: return success
                case PanelViewModel.NoChanges: return noChanges
                case PanelViewModel.Error: return error
                default: return loadingPill
                }
            }
        }
    }

    Component {
        id: loadingPill
        LoadingPillView { theme: panelTheme }
    }
    Component {
        id: success
        SuccessPanelView { model: root.model; theme: panelTheme; maximumHeight: root.height }
    }
    Component {
        id: noChanges
        NoChangesPanelView { model: root.model; theme: panelTheme }
    }
    Component {
        id: error
        ErrorPanelView { model: root.model; theme: panelTheme }
    }
}
