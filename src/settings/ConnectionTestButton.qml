import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Tembrel

// Tests the custom endpoint as entered: "Test Connection", "Testing...", "Connected!" or
// "Retry" with the verdict beside it.
RowLayout {
    id: control
    property var testState: null   // a ConnectionTestState
    property bool canTest: true
    signal testRequested()

    spacing: 8
    SystemPalette { id: pal }

    readonly property int status: testState ? testState.status : 0

    Button {
        objectName: "connectionTestButton"
        enabled: control.canTest && control.status !== ConnectionTestState.Testing
        text: {
            switch (control.status) {
            case ConnectionTestState.Testing: return "Testing..."
            case ConnectionTestState.Success: return "Connected!"
            case ConnectionTestState.Failed: return "Retry"
            default: return "Test Connection"
            }
        }
        onClicked: control.testRequested()
    }
    BusyIndicator {
        visible: control.status === ConnectionTestState.Testing
        running: visible
        Layout.preferredWidth: 20
        Layout.preferredHeight: 20
    }
    Label {
        objectName: "connectionTestMessage"
        visible: control.status === ConnectionTestState.Failed || control.status === ConnectionTestState.Success
        text: control.status === ConnectionTestState.Failed ? control.testState.message : "\u2713"
        color: control.status === ConnectionTestState.Failed ? "#d0312d" : "#2e9d47"
        Layout.fillWidth: true
        wrapMode: Text.WordWrap
        font.pointSize: 8
    }
}
