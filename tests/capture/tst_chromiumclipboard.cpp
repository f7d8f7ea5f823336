#include "capture/ClipboardManager.h"
#include "capture/ClipboardTypes.h"
#include "support/TestEnvironment.h"

#include <QClipboard>
#include <QDir>
#include <QFile>
#include <QGuiApplication>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMimeData>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QWebSocket>
#include <QtTest>

// Chromium as the real producer and consumer of the clipboard: it copies a selection (HTML),
// copies a page's custom types (its web custom data pickle) and pastes what Tembrel wrote back,
// driven over the DevTools protocol.

namespace {

const char page[] = R"(<!doctype html><meta charset="utf-8"><title>t</title>
<body>
<p id="rich">Hello <b>bold</b> w&ouml;rld &amp; co</p>
<div id="target" contenteditable="true">x</div>
<script>
window.pasted = null;
window.customCopy = null;
document.addEventListener('copy', e => {
  if (!window.customCopy) return;
  e.clipboardData.setData('text/plain', 'Hey team');
  e.clipboardData.setData('text/html', '<b id="docs-internal-guid-42">Hey team</b>');
  e.clipboardData.setData('application/x-vnd.google-docs-internal-clip-id', 'clip-42');
  e.clipboardData.setData('slack/texty', JSON.stringify(window.customCopy));
  e.preventDefault();
});
document.addEventListener('paste', e => {
  window.pasted = {
    types: Array.from(e.clipboardData.types),
    clipId: e.clipboardData.getData('application/x-vnd.google-docs-internal-clip-id'),
    html: e.clipboardData.getData('text/html'),
    text: e.clipboardData.getData('text/plain')
  };
  e.preventDefault();
});
</script>)";

class DevTools
{
public:
    bool connectTo(const QUrl& url)
    {
        QObject::connect(&m_socket, &QWebSocket::textMessageReceived, [this](const QString& message) {
            const QJsonObject object = QJsonDocument::fromJson(message.toUtf8()).object();
            if (object.contains(QLatin1StringView("id")))
                m_replies.insert(object.value(QLatin1StringView("id")).toInt(), object);
        });
        m_socket.open(url);
        return QTest::qWaitFor([this] { return m_socket.state() == QAbstractSocket::ConnectedState; }, 15000);
    }

    QJsonObject call(const QString& method, const QJsonObject& params)
    {
        const int id = ++m_nextId;
        m_socket.sendTextMessage(QString::fromUtf8(
            QJsonDocument(QJsonObject{{"id", id}, {"method", method}, {"params", params}}).toJson(QJsonDocument::Compact)));
        if (!QTest::qWaitFor([&] { return m_replies.contains(id); }, 15000))
            return {};
        return m_replies.take(id);
    }

    QJsonValue evaluate(const QString& expression)
    {
        const QJsonObject reply = call(QStringLiteral("Runtime.evaluate"),
                                       {{"expression", expression}, {"userGesture", true}, {"returnByValue", true}});
        return reply.value("result").toObject().value("result").toObject().value("value");
    }

private:
    QWebSocket m_socket;
    QHash<int, QJsonObject> m_replies;
    int m_nextId = 0;
};

} // namespace

class TestChromiumClipboard : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();
    void readsChromiumSelectionAsHtml();
    void readsPageCustomTypes();
    void chromiumPastesGoogleDocsInvalidation();

private:
    bool copyInPage(const QString& script, const QString& type);

    QTemporaryDir m_dir;
    QProcess m_chromium;
    DevTools m_devTools;
};

void TestChromiumClipboard::initTestCase()
{
    const QString chromium = QStandardPaths::findExecutable(QStringLiteral("chromium"));
    if (chromium.isEmpty())
        QSKIP("chromium is not installed");
    QFile file(m_dir.filePath(QStringLiteral("page.html")));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(page);
    file.close();
    const QString profile = m_dir.filePath(QStringLiteral("profile"));
    m_chromium.setStandardOutputFile(m_dir.filePath(QStringLiteral("chromium.log")));
    m_chromium.setStandardErrorFile(m_dir.filePath(QStringLiteral("chromium.log")), QIODevice::Append);
    m_chromium.start(chromium, {"--no-sandbox", "--user-data-dir=" + profile, "--remote-debugging-port=0",
                                "--no-first-run", "--no-default-browser-check", "--disable-gpu", "--password-store=basic",
                                "--disable-background-networking", "--window-size=800,600",
                                QUrl::fromLocalFile(file.fileName()).toString()});
    QVERIFY(m_chromium.waitForStarted());
    const QString portFile = profile + QStringLiteral("/DevToolsActivePort");
    QVERIFY2(QTest::qWaitFor([&] { return QFile(portFile).size() > 0; }, 60000), "Chromium did not open DevTools");
    QFile ports(portFile);
    QVERIFY(ports.open(QIODevice::ReadOnly));
    const QByteArray port = ports.readLine().trimmed();

    QNetworkAccessManager network;
    QJsonArray targets;
    QVERIFY(QTest::qWaitFor([&] {
        QNetworkReply* reply = network.get(QNetworkRequest(QUrl(QStringLiteral("http://127.0.0.1:%1/json/list").arg(QString::fromLatin1(port)))));
        if (!QTest::qWaitFor([reply] { return reply->isFinished(); }, 5000))
            return false;
        targets = QJsonDocument::fromJson(reply->readAll()).array();
        reply->deleteLater();
        for (const QJsonValue& target : targets) {
            if (target[QLatin1StringView("type")] == QLatin1StringView("page")
                && target[QLatin1StringView("url")].toString().endsWith(QLatin1StringView("page.html")))
                return true;
        }
        QTest::qWait(200);
        return false;
    }, 30000));
    QUrl socketUrl;
    for (const QJsonValue& target : targets) {
        if (target[QLatin1StringView("url")].toString().endsWith(QLatin1StringView("page.html")))
            socketUrl = QUrl(target[QLatin1StringView("webSocketDebuggerUrl")].toString());
    }
    QVERIFY(m_devTools.connectTo(socketUrl));
    QVERIFY(QTest::qWaitFor([this] { return m_devTools.evaluate("document.readyState") == QJsonValue("complete"); }, 15000));
}

void TestChromiumClipboard::cleanupTestCase()
{
    if (m_chromium.state() != QProcess::NotRunning) {
        m_chromium.terminate();
        if (!m_chromium.waitForFinished(5000))
            m_chromium.kill();
        m_chromium.waitForFinished(5000);
    }
}

// The page copies as soon as it has focus and a user gesture; until the window is mapped and
// focused a copy can come to nothing, so it is repeated a few times.
bool TestChromiumClipboard::copyInPage(const QString& script, const QString& type)
{
    for (int attempt = 0; attempt < 10; ++attempt) {
        QGuiApplication::clipboard()->clear();
        m_devTools.evaluate(QStringLiteral("{ ") + script + QStringLiteral("; document.execCommand('copy') }"));
        if (QTest::qWaitFor([&] {
                const QMimeData* data = QGuiApplication::clipboard()->mimeData();
                return data && data->hasFormat(type);
            }, 2000))
            return true;
    }
    return false;
}

void TestChromiumClipboard::readsChromiumSelectionAsHtml()
{
    QVERIFY(copyInPage(QStringLiteral(
        "window.customCopy = null; const r = document.createRange(); r.selectNodeContents(document.getElementById('rich'));"
        "getSelection().removeAllRanges(); getSelection().addRange(r)"), ClipboardTypes::html));
    const auto content = ClipboardManager().readContent();
    QVERIFY(content);
    QCOMPARE(content->sourceFormat, SourceFormat::html);
    QCOMPARE(content->plainText, QStringLiteral("Hello bold wörld & co"));
    QVERIFY2(content->html->contains(QStringLiteral("bold</b>")), qPrintable(*content->html));
    QVERIFY(!content->isFromGoogleDocs);
}

void TestChromiumClipboard::readsPageCustomTypes()
{
    QVERIFY(copyInPage(QStringLiteral(
        R"(window.customCopy = {ops: [{insert: "Hey "}, {insert: "team", attributes: {bold: true}}, {insert: "\n"}]})"),
        ClipboardTypes::chromiumCustomData));
    ClipboardManager clipboard;
    const auto custom = clipboard.readChromiumCustomData();
    QVERIFY(custom);
    QCOMPARE(custom->value(ClipboardTypes::googleDocsClipId), QStringLiteral("clip-42"));
    QVERIFY(custom->contains(ClipboardTypes::slackTexty));
    const auto content = clipboard.readContent();
    QVERIFY(content);
    // The Slack delta wins over the page's own HTML, which carries the Google Docs marker.
    QCOMPARE(content->html, QStringLiteral("<p>Hey <strong>team</strong></p>"));
    QCOMPARE(content->plainText, QStringLiteral("Hey team"));
    QVERIFY(!content->isFromGoogleDocs);
}

void TestChromiumClipboard::chromiumPastesGoogleDocsInvalidation()
{
    ClipboardManager clipboard;
    const bool invalidated = clipboard.writeFixedContent(
        QStringLiteral("<b id=\"docs-internal-guid-42\">Fixed team</b>"),
        CapturedContent{QStringLiteral("Hey team"), QStringLiteral("<b>Hey team</b>"), SourceFormat::html, true});
    QVERIFY(invalidated);
    // Chromium notices asynchronously that it no longer owns the clipboard; until then it pastes
    // its own last copy. Paste until the fixed text arrives, then look at what came with it.
    QJsonObject pasted;
    for (int attempt = 0; attempt < 10 && pasted.value("text").toString() != QLatin1StringView("Fixed team"); ++attempt) {
        m_devTools.evaluate(QStringLiteral("window.pasted = null; document.getElementById('target').focus(); true"));
        for (const char* type : {"keyDown", "keyUp"}) {
            m_devTools.call(QStringLiteral("Input.dispatchKeyEvent"),
                            {{"type", type}, {"key", "v"}, {"code", "KeyV"}, {"modifiers", 2}, {"windowsVirtualKeyCode", 86},
                             {"commands", QJsonArray{"paste"}}});
        }
        (void)QTest::qWaitFor([&] {
            pasted = QJsonDocument::fromJson(m_devTools.evaluate("JSON.stringify(window.pasted)").toString().toUtf8()).object();
            return !pasted.isEmpty();
        }, 2000);
    }
    const QJsonArray types = pasted.value("types").toArray();
    QVERIFY2(types.contains(ClipboardTypes::googleDocsClipId), QJsonDocument(pasted).toJson().constData());
    // Without the pickle entry Chromium still hands the page the id of the clip it copied last,
    // and Docs would paste its cached copy of that clip.
    QVERIFY2(pasted.value("clipId").toString().isEmpty(), QJsonDocument(pasted).toJson().constData());
    QCOMPARE(pasted.value("text").toString(), QStringLiteral("Fixed team"));
    QVERIFY(pasted.value("html").toString().contains(QStringLiteral("Fixed team")));
    QVERIFY(!pasted.value("html").toString().contains(QStringLiteral("docs-internal-guid")));
}

int main(int argc, char** argv)
{
    TestEnvironment environment;
    QGuiApplication app(argc, argv);
    TestChromiumClipboard test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_chromiumclipboard.moc"
