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
        width: root.loading ? (content.item ? content.item.implicitWidth : 0) : root.width
        height: Math.min(root.height, content.item ? content.item.implicitHeight : 0)
        radius: root.loading ? height / 2 : 14

        HoverHandler {
            onHoveredChanged: root.model.isHovered = hovered
        }

        Loader {
            id: content
            anchors.fill: parent
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
