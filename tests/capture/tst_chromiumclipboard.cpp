#include "capture/ClipboardManager.h"
#include "capture/ClipboardTypes.h"
#include "support/ChromiumSession.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMimeData>
#include <QtTest>

// Chromium as the real producer and consumer of the clipboard: it copies a page's custom types
// (its web custom data pickle) and pastes what Tembrel wrote back, driven over the DevTools
// protocol. Reading its HTML selections is the end-to-end test's part.
class TestChromiumClipboard : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void readsPageCustomTypes();
    void chromiumPastesGoogleDocsInvalidation();

private:
    ChromiumSession m_chromium;
};

void TestChromiumClipboard::initTestCase()
{
    // The test command installs Chromium: without it this test fails rather than passing unseen.
    QVERIFY2(m_chromium.start(QStringLiteral(TEMBREL_TEST_DATA_DIR "/capture/clipboard-page.html")),
             qPrintable(m_chromium.error()));
}

void TestChromiumClipboard::readsPageCustomTypes()
{
    // Until the window is mapped and focused a copy can come to nothing, so it is repeated.
    QClipboard* system = QGuiApplication::clipboard();
    bool copied = false;
    for (int attempt = 0; attempt < 10 && !copied; ++attempt) {
        system->clear();
        m_chromium.evaluate(QStringLiteral("document.execCommand('copy')"));
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
        m_chromium.evaluate(QStringLiteral("window.pasted = null; document.getElementById('target').focus(); true"));
        for (const char* type : {"keyDown", "keyUp"}) {
            m_chromium.call(QStringLiteral("Input.dispatchKeyEvent"),
                            {{"type", type}, {"key", "v"}, {"code", "KeyV"}, {"modifiers", 2}, {"windowsVirtualKeyCode", 86},
                             {"commands", QJsonArray{"paste"}}});
        }
        (void)QTest::qWaitFor([&] {
            pasted = QJsonDocument::fromJson(m_chromium.evaluate(QStringLiteral("JSON.stringify(window.pasted)")).toString().toUtf8()).object();
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
