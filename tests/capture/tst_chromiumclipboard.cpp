#include "capture/ClipboardManager.h"
#include "capture/ClipboardTypes.h"

#include <QClipboard>
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

// Chromium as the real producer and consumer of the clipboard: it copies a page's custom types
// (its web custom data pickle) and pastes what Tembrel wrote back, driven over the DevTools
// protocol. Reading its HTML selections is the end-to-end test's part.

namespace {

// A client of Chromium's remote debugging protocol, on one page.
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
        (void)QTest::qWaitFor([&] { return m_replies.contains(id); }, 15000);
        return m_replies.take(id);
    }

    // With a user gesture, so that the page may copy.
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
    void readsPageCustomTypes();
    void chromiumPastesGoogleDocsInvalidation();

private:
    QTemporaryDir m_dir;
    QProcess m_chromium;
    DevTools m_devTools;
};

void TestChromiumClipboard::initTestCase()
{
    const QString chromium = QStandardPaths::findExecutable(QStringLiteral("chromium"));
    if (chromium.isEmpty())
        QSKIP("chromium is not installed");
    const QString profile = m_dir.filePath(QStringLiteral("profile"));
    m_chromium.setStandardOutputFile(QProcess::nullDevice());
    m_chromium.setStandardErrorFile(QProcess::nullDevice());
    m_chromium.start(chromium, {"--no-sandbox", "--user-data-dir=" + profile, "--remote-debugging-port=0",
                                "--no-first-run", "--no-default-browser-check", "--disable-gpu", "--password-store=basic",
                                "--disable-background-networking", "--window-size=800,600",
                                QUrl::fromLocalFile(QStringLiteral(TEMBREL_TEST_DATA_DIR "/capture/clipboard-page.html")).toString()});
    QVERIFY(m_chromium.waitForStarted());
    // Chromium writes the port it chose into the profile once it listens.
    QFile ports(profile + QStringLiteral("/DevToolsActivePort"));
    QVERIFY2(QTest::qWaitFor([&] { return ports.size() > 0; }, 60000), "Chromium did not open DevTools");
    QVERIFY(ports.open(QIODevice::ReadOnly));
    const QUrl list(QStringLiteral("http://127.0.0.1:%1/json/list").arg(QString::fromLatin1(ports.readLine().trimmed())));

    QNetworkAccessManager network;
    QUrl socketUrl;
    QVERIFY(QTest::qWaitFor([&] {
        std::unique_ptr<QNetworkReply> reply(network.get(QNetworkRequest(list)));
        (void)QTest::qWaitFor([&] { return reply->isFinished(); }, 5000);
        for (const QJsonValue& target : QJsonDocument::fromJson(reply->readAll()).array()) {
            if (target.toObject().value("url").toString().endsWith(QLatin1StringView("clipboard-page.html")))
                socketUrl = QUrl(target.toObject().value("webSocketDebuggerUrl").toString());
        }
        QTest::qWait(socketUrl.isEmpty() ? 200 : 0);
        return !socketUrl.isEmpty();
    }, 30000));
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

void TestChromiumClipboard::readsPageCustomTypes()
{
    // Until the window is mapped and focused a copy can come to nothing, so it is repeated.
    QClipboard* system = QGuiApplication::clipboard();
    bool copied = false;
    for (int attempt = 0; attempt < 10 && !copied; ++attempt) {
        system->clear();
        m_devTools.evaluate(QStringLiteral("document.execCommand('copy')"));
        copied = QTest::qWaitFor([&] { return system->mimeData() && system->mimeData()->hasFormat(ClipboardTypes::chromiumCustomData); }, 2000);
    }
    QVERIFY(copied);
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

QTEST_MAIN(TestChromiumClipboard)

#include "tst_chromiumclipboard.moc"
