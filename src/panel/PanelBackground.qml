import QtQuick
import Tembrel

// The panel's rounded background: slightly translucent where a compositor blends it, opaque
// otherwise (the controller then clips the window to this shape).
Rectangle {
    property PanelTheme theme
    color: theme.background
    border.color: theme.border
    border.width: 1
    // Soft edges blend with black where nothing composites them; the window mask cuts the corners.
    antialiasing: theme.translucent
}
