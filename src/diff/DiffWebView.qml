import QtQuick
import QtWebEngine
import QtWebChannel
import Tembrel

// Shows the HTML-aware diff of two documents in a web page and reports the page's edit count and
// content height. The web engine is created only once there is a document to show.
Item {
    id: root

    property string originalHTML
    property string fixedHTML
    property int currentEditIndex: 0
    // How many pages the view has loaded; edit navigation never adds to it.
    readonly property int pageLoads: d.pageLoads
    // True once the current page has finished loading.
    readonly property bool pageReady: loader.item !== null && loader.item.pageReady

    signal editCount(int count)
    signal contentHeight(real height)

    QtObject {
        id: d
        property int pageLoads: 0
        property string pendingHtml
        property bool hasPending: false
    }

    DiffWebViewCoordinator {
        id: coordinator
        originalHTML: root.originalHTML
        fixedHTML: root.fixedHTML
        currentEditIndex: root.currentEditIndex
        onEditCount: (count) => root.editCount(count)
        onContentHeight: (height) => root.contentHeight(height)
        onLoadRequested: (html) => {
            if (loader.item) {
                loader.item.show(html)
            } else {
                d.pendingHtml = html
                d.hasPending = true
            }
        }
        onScriptRequested: (script) => {
            if (loader.item) {
                loader.item.run(script)
            }
        }
    }

    Loader {
        id: loader
        anchors.fill: parent
        active: root.originalHTML.length > 0 || root.fixedHTML.length > 0
        onLoaded: {
            if (d.hasPending) {
                d.hasPending = false
                item.show(d.pendingHtml)
                d.pendingHtml = ""
            }
        }
        sourceComponent: WebEngineView {
            id: view

            property bool pageReady: false
            // The latest script asked for while the page was still loading; it runs once it has.
            property string waitingScript

            function show(html) {
                pageReady = false
                d.pageLoads += 1
                loadHtml(html)
            }

            function run(script) {
                if (pageReady) {
                    runJavaScript(script)
                } else {
                    waitingScript = script
                }
            }

            // The page shows only once it is laid out, over the panel's own background.
            backgroundColor: "transparent"
            opacity: pageReady ? 1 : 0
            settings.javascriptCanOpenWindows: false
            settings.javascriptCanAccessClipboard: false
            settings.localContentCanAccessRemoteUrls: false
            settings.focusOnNavigationEnabled: false
            webChannel: channel

            WebChannel {
                id: channel
            }

            Component.onCompleted: {
                channel.registerObjects({ "diffWebViewCoordinator": coordinator })
                userScripts.collection = [{
                    name: "messageHandlers",
                    sourceCode: coordinator.hostScript,
                    injectionPoint: WebEngineScript.DocumentCreation,
                    worldId: WebEngineScript.MainWorld
                }]
            }

            onLoadingChanged: (info) => {
                if (info.status === WebEngineView.LoadSucceededStatus) {
                    pageReady = true
                    if (waitingScript.length > 0) {
                        runJavaScript(waitingScript)
                        waitingScript = ""
                    }
                }
            }

            // The page is a picture of the diff: links and pasted redirects never take it elsewhere.
            onNavigationRequested: (request) => {
                if (request.url.toString().startsWith("data:")) {
                    request.accept()
                } else {
                    request.reject()
                }
            }
            onNewWindowRequested: (request) => {}
        }
    }
}
