import QtQuick

// Strike lines through the removed words of a diff shown in a TextEdit, in their own colour:
// Qt's rich text would draw them in the text's colour. Place it as a child of the TextEdit.
Item {
    id: lines
    required property Item target
    property var ranges: []
    property color color: "red"
    property real thickness: 1

    anchors.fill: parent

    property var segments: []

    // One segment per line a range covers, found from the text's own cursor rectangles.
    function layout() {
        const found = []
        for (let i = 0; i < ranges.length; ++i) {
            const range = ranges[i]
            let first = null
            let last = null
            for (let position = range.start; position <= range.end; ++position) {
                const r = target.positionToRectangle(position)
                if (first && Math.abs(r.y - first.y) > 1) {
                    found.push({ x: first.x, y: first.y, width: last.x - first.x, height: first.height })
                    first = null
                }
                if (!first)
                    first = r
                last = r
            }
            if (first && last.x > first.x)
                found.push({ x: first.x, y: first.y, width: last.x - first.x, height: first.height })
        }
        segments = found
        // A text not laid out yet answers with empty rectangles: look again a moment later.
        if (found.length < ranges.length && retries < 20) {
            ++retries
            relayout.restart()
        }
    }

    property int retries: 0
    function schedule() {
        retries = 0
        relayout.restart()
    }
    Timer {
        id: relayout
        interval: 16
        onTriggered: lines.layout()
    }

    onRangesChanged: schedule()
    onWidthChanged: schedule()
    Connections {
        target: lines.target
        function onContentHeightChanged() { lines.schedule() }
        function onContentWidthChanged() { lines.schedule() }
        function onTextChanged() { lines.schedule() }
    }

    Repeater {
        model: lines.segments
        Rectangle {
            objectName: "strikeLine"
            required property var modelData
            x: modelData.x
            // Through the middle of the lower-case letters, where a strike-through sits.
            y: Math.round(modelData.y + modelData.height * 0.56 - lines.thickness / 2)
            width: modelData.width
            height: lines.thickness
            color: lines.color
        }
    }
}
