import QtQuick
import QtQuick.Controls
import QtQuick.Controls.impl
import Tembrel

// The left pane: search field, the list grouped by date, and the footer with the totals.
Rectangle {
    id: pane

    required property HistoryWindowModel history
    required property HistoryWindowTheme theme

    color: theme.sidebar

    Rectangle {
        id: searchBox
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.top: parent.top
        anchors.margins: 12
        height: 30
        radius: 7
        color: pane.theme.field
        border.width: search.activeFocus ? 2 : 1
        border.color: search.activeFocus ? pane.theme.accent : pane.theme.fieldBorder

        IconImage {
            id: glass
            anchors.left: parent.left
            anchors.leftMargin: 9
            anchors.verticalCenter: parent.verticalCenter
            width: 13
            height: 13
            sourceSize: Qt.size(width, height)
            color: pane.theme.secondaryText
            source: "qrc:/Tembrel/history/HistoryWindowIcons/search.svg"
        }

        TextField {
            id: search
            objectName: "searchField"
            anchors.left: glass.right
            anchors.right: parent.right
            anchors.verticalCenter: parent.verticalCenter
            leftPadding: 6
            rightPadding: 8
            placeholderText: "Search tembrels..."
            placeholderTextColor: pane.theme.secondaryText
            color: pane.theme.text
            selectionColor: pane.theme.selection
            selectedTextColor: pane.theme.selectionText
            font.pixelSize: pane.theme.bodySize
            background: null
            text: pane.history.searchText
            onTextEdited: pane.history.searchText = text
        }
    }

    Text {
        id: storageNotice
        objectName: "storageNotice"
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.top: searchBox.bottom
        anchors.leftMargin: 14
        anchors.rightMargin: 14
        anchors.topMargin: visible ? 8 : 0
        height: visible ? implicitHeight : 0
        visible: text.length > 0
        text: pane.history.storageNotice
        wrapMode: Text.Wrap
        color: pane.theme.secondaryText
        font.pixelSize: pane.theme.smallSize
    }

    ListView {
        id: list
        objectName: "historyList"
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.top: storageNotice.bottom
        anchors.topMargin: 8
        anchors.bottom: footer.top
        clip: true
        model: pane.history.list
        reuseItems: true
        boundsBehavior: Flickable.StopAtBounds
        ScrollBar.vertical: ScrollBar {}

        section.property: "heading"
        section.criteria: ViewSection.FullString
        section.delegate: Item {
            required property string section
            width: ListView.view.width
            height: 28
            Text {
                anchors.left: parent.left
                anchors.leftMargin: 16
                anchors.bottom: parent.bottom
                anchors.bottomMargin: 4
                text: parent.section
                color: pane.theme.secondaryText
                font.pixelSize: pane.theme.smallSize
                font.weight: Font.DemiBold
            }
        }

        delegate: HistoryListRow {
            width: ListView.view.width
            theme: pane.theme
            selected: entryId === pane.history.selectedId
            onSelect: pane.history.selectedId = entryId
            onRemove: pane.history.requestDelete(entryId)
        }
    }

    Column {
        objectName: "emptyHistory"
        visible: pane.history.isHistoryEmpty
        anchors.centerIn: list
        width: list.width - 40
        spacing: 6

        Text {
            width: parent.width
            horizontalAlignment: Text.AlignHCenter
            text: "No tembrels yet"
            color: pane.theme.text
            font.pixelSize: pane.theme.titleSize
            font.weight: Font.DemiBold
        }
        Text {
            width: parent.width
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.Wrap
            visible: text.length > 0
            text: pane.history.shortcutHint
            color: pane.theme.secondaryText
            font.pixelSize: pane.theme.bodySize
        }
    }

    Text {
        objectName: "noMatches"
        visible: pane.history.hasNoMatches
        anchors.centerIn: list
        text: "No matches"
        color: pane.theme.secondaryText
        font.pixelSize: pane.theme.titleSize
    }

    Rectangle {
        id: footer
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.bottom: parent.bottom
        height: 40
        color: "transparent"

        Rectangle {
            anchors.left: parent.left
            anchors.right: parent.right
            anchors.top: parent.top
            height: 1
            color: pane.theme.separator
        }

        Row {
            anchors.left: parent.left
            anchors.leftMargin: 14
            anchors.verticalCenter: parent.verticalCenter
            spacing: 6

            Text {
                objectName: "tembrelSummary"
                text: pane.history.list.tembrelSummary
                color: pane.theme.secondaryText
                font.pixelSize: pane.theme.smallSize
            }
            Text {
                text: "\u00b7"
                opacity: 0.5
                color: pane.theme.secondaryText
                font.pixelSize: pane.theme.smallSize
            }
            Text {
                objectName: "editSummary"
                text: pane.history.list.editSummary
                color: pane.theme.secondaryText
                font.pixelSize: pane.theme.smallSize
            }
        }

        HistoryWindowButton {
            objectName: "clearButton"
            anchors.right: parent.right
            anchors.rightMargin: 10
            anchors.verticalCenter: parent.verticalCenter
            theme: pane.theme
            text: "Clear"
            bordered: false
            destructive: true
            enabled: !pane.history.isHistoryEmpty
            onClicked: pane.history.requestClear()
        }
    }
}
