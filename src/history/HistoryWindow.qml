import QtQuick
import Tembrel

// The history window's content: the searchable list on the left, the selected tembrel on the
// right, and the two confirmations.
Item {
    id: root

    required property HistoryWindowModel history
    property bool dark: false

    HistoryWindowTheme {
        id: theme
        dark: root.dark
    }

    Rectangle {
        anchors.fill: parent
        color: theme.background
    }

    HistoryListPane {
        id: listPane
        anchors.left: parent.left
        anchors.top: parent.top
        anchors.bottom: parent.bottom
        width: Math.round(Math.max(280, Math.min(360, root.width * 0.36)))
        history: root.history
        theme: theme
    }

    Rectangle {
        id: divider
        anchors.left: listPane.right
        anchors.top: parent.top
        anchors.bottom: parent.bottom
        width: 1
        color: theme.separator
    }

    HistoryWindowDetail {
        anchors.left: divider.right
        anchors.right: parent.right
        anchors.top: parent.top
        anchors.bottom: parent.bottom
        history: root.history
        theme: theme
        dark: root.dark
    }

    HistoryWindowConfirm {
        objectName: "deleteConfirmation"
        theme: theme
        shown: root.history.isConfirmingDelete
        title: "Delete this tembrel from history?"
        message: "This can't be undone."
        actionText: "Delete"
        onConfirmed: root.history.confirmDelete()
        onCancelled: root.history.cancelDelete()
    }

    HistoryWindowConfirm {
        objectName: "clearConfirmation"
        theme: theme
        shown: root.history.isConfirmingClear
        title: "Clear all history?"
        message: root.history.clearMessage
        actionText: "Clear History"
        onConfirmed: root.history.confirmClear()
        onCancelled: root.history.cancelClear()
    }
}
