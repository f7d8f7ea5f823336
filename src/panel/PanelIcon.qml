import QtQuick
import Tembrel
import QtQuick.Controls.impl

// An icon from the desktop's icon theme by its freedesktop name, else Tembrel's own drawing,
// tinted in one colour.
IconImage {
    property string fallback
    sourceSize: Qt.size(width, height)
    source: fallback.length > 0 ? "qrc:/Tembrel/panel/icons/" + fallback + ".svg" : ""
}
