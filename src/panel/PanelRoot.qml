import QtQuick
import QtQuick.Controls

// The floating result panel: a loading pill, then the fixed text or a message.
Item {
    id: root
    width: 400
    height: 350

    Rectangle {
        anchors.fill: parent
        radius: panelTranslucent ? 14 : 0
        color: palette.window
        border.color: Qt.rgba(0, 0, 0, 0.12)

        Column {
            anchors.fill: parent
            anchors.margins: 16
            spacing: 10

            Label {
                text: panel.phase === "loading" ? "Fixing..."
                    : panel.phase === "success" ? "Copied!"
                    : panel.phase === "noChanges" ? "No changes needed"
                    : panel.message
                font.bold: true
                wrapMode: Text.Wrap
                width: parent.width
            }
            Label {
                visible: panel.phase === "success" || panel.phase === "noChanges"
                text: panel.fixedText
                wrapMode: Text.Wrap
                width: parent.width
                elide: Text.ElideRight
                maximumLineCount: 12
            }
            Label {
                visible: panel.phase === "success"
                text: "Ctrl+V to paste"
                opacity: 0.6
            }
        }
    }
}
