import QtQuick
import QtQuick.Controls
import QtQuick.Layouts

// The small grey line of help under a control.
Label {
    Layout.fillWidth: true
    wrapMode: Text.WordWrap
    font.pointSize: 8
    color: pal.windowText
    opacity: 0.65
    SystemPalette { id: pal }
}
