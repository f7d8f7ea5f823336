import QtQuick

// Which of the pages shows, as dots; a click on a dot goes to its page.
Row {
    id: indicator
    property int count: 0
    property int current: 0
    signal pageClicked(int index)

    spacing: 4
    SystemPalette { id: pal }

    Repeater {
        model: indicator.count
        Item {
            objectName: "pageDot" + index
            width: 18
            height: 18
            Rectangle {
                anchors.centerIn: parent
                width: index === indicator.current ? 18 : 8
                height: 8
                radius: 4
                color: index === indicator.current ? pal.highlight : pal.mid
                opacity: index === indicator.current ? 1 : 0.6
                Behavior on width { NumberAnimation { duration: 150; easing.type: Easing.OutCubic } }
            }
            MouseArea {
                anchors.fill: parent
                cursorShape: Qt.PointingHandCursor
                onClicked: indicator.pageClicked(index)
            }
        }
    }
}
