import QtQuick
import Tembrel

// Tembrel's mark while a fix runs: three dots that rise and brighten in turn.
Row {
    id: mark
    property color color: "#e67e22"
    spacing: 3

    Repeater {
        model: 3
        Rectangle {
            id: dot
            required property int index
            width: 6
            height: 6
            radius: 3
            color: mark.color
            opacity: 0.35
            SequentialAnimation on opacity {
                loops: Animation.Infinite
                PauseAnimation { duration: dot.index * 160 }
                NumberAnimation { to: 1.0; duration: 280; easing.type: Easing.OutQuad }
                NumberAnimation { to: 0.35; duration: 280; easing.type: Easing.InQuad }
                PauseAnimation { duration: (2 - dot.index) * 160 }
            }
        }
    }
}
