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
    // The page follows the appearance of what it is shown in.
    property bool dark: false
    // How many pages the view has loaded; edit navigation never adds to it.
    readonly property int pageLoads: d.pageLoads
    // True once the current page has finished loading.
    readonly property bool pageReady: loader.item !== null && loader.item.pageReady

    signal editCount(int count)
    signal contentHeight(real height)

    QtObject {
        id: d
        property int pageLoads: 0
        property url pendingUrl
    }

    DiffWebViewCoordinator {
        id: coordinator
        originalHTML: root.originalHTML
        fixedHTML: root.fixedHTML
        currentEditIndex: root.currentEditIndex
        dark: root.dark
        onEditCount: (count) => root.editCount(count)
        onContentHeight: (height) => root.contentHeight(height)
        onLoadRequested: (url) => {
            if (loader.item) {
                loader.item.show(url)
            } else {
                d.pendingUrl = url
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
            if (d.pendingUrl.toString().length > 0) {
                item.show(d.pendingUrl)
                d.pendingUrl = ""
            }
        }
        sourceComponent: WebEngineView {
            id: view

            property bool pageReady: false
            property url pageUrl
            // Scripts asked for while the page was still loading, in order; they run once it has.
            property var waitingScripts: []

            function show(address) {
                pageReady = false
                waitingScripts = []
                d.pageLoads += 1
                pageUrl = address
                url = address
            }

            function run(script) {
                if (pageReady) {
                    runJavaScript(script)
                } else {
                    waitingScripts = waitingScripts.concat([script])
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
                coordinator.servePagesTo(profile)
                channel.registerObjects({ "diffWebViewCoordinator": coordinator })
                userScripts.collection = [{
                    name: "messageHandlers",
                    sourceCode: coordinator.hostScript,
                    injectionPoint: WebEngineScript.DocumentCreation,
                    worldId: WebEngineScript.MainWorld
                }]
            }

            onLoadingChanged: (info) => {
                if (info.status === WebEngineView.LoadSucceededStatus && info.url.toString() === pageUrl.toString()) {
                    pageReady = true
                    const scripts = waitingScripts
                    waitingScripts = []
                    scripts.forEach((script) => runJavaScript(script))
                }
            }

            // The page is a picture of the diff: links and pasted redirects never take it elsewhere.
            onNavigationRequested: (request) => {
                if (request.url.toString() === pageUrl.toString()) {
                    request.accept()
                } else {
                    request.reject()
                }
            }
            onNewWindowRequested: (request) => {}
        }
    }
}
