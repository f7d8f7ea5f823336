import QtQuick
import Tembrel
import QtQuick.Controls

// The word diff of the plain texts as styled text: scrollable, with the current edit framed and
// scrolled into view. Reports the edit count it computed to the model.
Item {
    id: view
    property PanelViewModel model
    property PanelTheme theme

    implicitHeight: text.contentHeight + text.topPadding + text.bottomPadding

    DiffRenderViewModel {
        id: render
        palette: DiffRenderViewModel.Panel
        dark: view.theme.dark
        originalText: view.model.originalText
        fixedText: view.model.fixedText
        onIsComputingChanged: {
            if (!isComputing)
                view.model.reportEditCount(editCount)
        }
    }

    NavigableDiffText {
        id: segments
        runs: render.runs
        dark: view.theme.dark
        currentEdit: view.model.currentEditIndex
    }

    Flickable {
        id: flick
        anchors.fill: parent
        clip: true
        contentWidth: width
        contentHeight: text.height
        boundsBehavior: Flickable.StopAtBounds
        ScrollBar.vertical: ScrollBar { policy: flick.contentHeight > flick.height ? ScrollBar.AsNeeded : ScrollBar.AlwaysOff }

        Behavior on contentY {
            NumberAnimation { duration: 180; easing.type: Easing.OutCubic }
        }

        TextEdit {
            id: text
            objectName: "diffText"
            width: flick.width
            topPadding: 2
            bottomPadding: 2
            rightPadding: 8
            readOnly: true
            selectByMouse: false
            activeFocusOnPress: false
            textFormat: TextEdit.RichText
            wrapMode: TextEdit.Wrap
            color: view.theme.text
            font.pixelSize: view.theme.bodySize
            text: segments.html
            onContentHeightChanged: Qt.callLater(view.frameCurrentEdit)

            DiffStrikeLines {
                target: text
                ranges: segments.strikeRanges
                color: Qt.rgba(render.removalColor.r, render.removalColor.g, render.removalColor.b, 0.6)
                thickness: Math.max(1, Math.round(text.font.pixelSize / 13))
            }
        }

        // The current edit's frame, like the HTML view's outline.
        Rectangle {
            id: frame
            objectName: "currentEditFrame"
            visible: false
            color: "transparent"
            border.color: view.theme.accent
            border.width: 1.5
            radius: 3
        }
    }

    function frameCurrentEdit() {
        const start = segments.editStart(view.model.currentEditIndex)
        const end = segments.editEnd(view.model.currentEditIndex)
        if (start < 0 || end <= start) {
            frame.visible = false
            return
        }
        const first = text.positionToRectangle(start)
        const last = text.positionToRectangle(end)
        const oneLine = Math.abs(first.y - last.y) < 1
        frame.x = first.x - 2
        frame.y = first.y - 1
        frame.width = (oneLine ? last.x : text.width - text.rightPadding) - first.x + 4
        frame.height = first.height + 2
        frame.visible = true
        const wanted = first.y + first.height / 2 - flick.height / 2
        flick.contentY = Math.max(0, Math.min(wanted, flick.contentHeight - flick.height))
    }

    Connections {
        target: segments
        function onHtmlChanged() { Qt.callLater(view.frameCurrentEdit) }
    }
    onWidthChanged: Qt.callLater(view.frameCurrentEdit)
    onHeightChanged: Qt.callLater(view.frameCurrentEdit)
}
