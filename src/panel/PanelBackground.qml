import QtQuick
import Tembrel

// The panel's rounded background: slightly translucent where a compositor blends it, opaque
// otherwise (the controller then clips the window to this shape).
Rectangle {
    id: background
    property PanelTheme theme
    color: theme.background
    border.color: theme.border
    border.width: 1
    // Soft edges blend with black where nothing composites them; the window mask cuts the corners.
    antialiasing: theme.translucent

    // The mask rounds the corners a pixel differently from the drawn curve: beneath the curve, the
    // edge's colour shows there rather than the window's black.
    Rectangle {
        z: -1
        anchors.fill: parent
        visible: !background.theme.translucent
        color: background.theme.border
    }
}
