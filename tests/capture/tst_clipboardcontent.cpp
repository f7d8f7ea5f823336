#include "capture/ChromiumCustomData.h"
#include "capture/ClipboardManager.h"
#include "capture/ClipboardTypes.h"
#include "capture/RtfReader.h"

#include <QFile>
#include <QGuiApplication>
#include <QMimeData>
#include <QTextDocument>
#include <QtTest>

namespace {

const QString slackDelta = QStringLiteral(R"({"ops":[{"insert":"Hey "},{"insert":"team","attributes":{"bold":true}},{"insert":"\n"}]})");

QByteArray slackBlob(const QString& delta)
{
    return ChromiumCustomData::write({{"text/plain", "ignored"}, {ClipboardTypes::slackTexty, delta}});
}

QByteArray fixture(const QString& name)
{
    QFile file(QStringLiteral(TEMBREL_TEST_DATA_DIR "/capture/") + name);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

class TestClipboardContent : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void slackWinsOverEverything()
    {
        QMimeData data;
        data.setData(ClipboardTypes::chromiumCustomData, slackBlob(slackDelta));
        data.setHtml(QStringLiteral("<p>Slack's poorer HTML</p>"));
        data.setText(QStringLiteral("plain"));
        const auto content = ClipboardManager::contentFrom(data);
        QVERIFY(content);
        QCOMPARE(content->html, QStringLiteral("<p>Hey <strong>team</strong></p>"));
        QCOMPARE(content->plainText, QStringLiteral("Hey team"));
        QCOMPARE(content->sourceFormat, SourceFormat::html);
        QVERIFY(!content->isFromGoogleDocs);
        QVERIFY(!content->originalRTF);
    }

    void blankSlackDeltaYieldsNothing()
    {
        QMimeData data;
        data.setData(ClipboardTypes::chromiumCustomData, slackBlob(R"({"ops":[{"insert":"  \n"}]})"));
        data.setHtml(QStringLiteral("<p>would be read otherwise</p>"));
        QCOMPARE(ClipboardManager::contentFrom(data), std::nullopt);
    }

    void slackFallsThrough_data()
    {
        QTest::addColumn<QByteArray>("blob");
        const QByteArray good = slackBlob(slackDelta);
        QTest::newRow("delta not json") << slackBlob("not json");
        QTest::newRow("truncated second string") << good.left(good.size() - 6);
        QTest::newRow("no slack key") << ChromiumCustomData::write({{"other", slackDelta}});
        QTest::newRow("no entries") << ChromiumCustomData::write({});
    }

    void slackFallsThrough()
    {
        QFETCH(QByteArray, blob);
        QMimeData data;
        data.setData(ClipboardTypes::chromiumCustomData, blob);
        data.setHtml(QStringLiteral("<p>From <b>HTML</b></p>"));
        const auto content = ClipboardManager::contentFrom(data);
        QVERIFY(content);
        QCOMPARE(content->html, QStringLiteral("<p>From <b>HTML</b></p>"));
        QCOMPARE(content->plainText, QStringLiteral("From HTML"));
    }

    void htmlRule_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QString>("html");
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("googleDocs");
        QTest::newRow("chromium utf-8 with meta")
            << QByteArray("<meta charset='utf-8'><p>caf\xC3\xA9</p><p>two</p>") << QStringLiteral("<meta charset='utf-8'><p>café</p><p>two</p>")
            << QStringLiteral("café\ntwo") << false;
        QTest::newRow("utf-16 with mark")
            << QByteArray::fromHex("fffe3c0062003e00e9003c002f0062003e00") << QStringLiteral("<b>é</b>") << QStringLiteral("é") << false;
        QTest::newRow("google docs")
            << QByteArray("<b id=\"docs-internal-guid-abc\"><p>Doc</p></b>") << QStringLiteral("<b id=\"docs-internal-guid-abc\"><p>Doc</p></b>")
            << QStringLiteral("Doc") << true;
        QTest::newRow("line break and separators")
            << QByteArray("<p>a<br>b</p>") << QStringLiteral("<p>a<br>b</p>") << QStringLiteral("a\nb") << false;
    }

    void htmlRule()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(QString, html);
        QFETCH(QString, text);
        QFETCH(bool, googleDocs);
        QMimeData data;
        data.setData(ClipboardTypes::html, bytes);
        data.setData(ClipboardTypes::rtf, QByteArray("{\\rtf1 rtf}"));
        data.setText(QStringLiteral("plain"));
        const auto content = ClipboardManager::contentFrom(data);
        QVERIFY(content);
        QCOMPARE(content->html, html);
        QCOMPARE(content->plainText, text);
        QCOMPARE(content->sourceFormat, SourceFormat::html);
        QCOMPARE(content->isFromGoogleDocs, googleDocs);
        QVERIFY(!content->originalRTF);
    }

    void blankHtmlYieldsNothingEvenWithOthers()
    {
        QMimeData data;
        data.setData(ClipboardTypes::rtf, QByteArray("{\\rtf1 rtf}"));
        data.setText(QStringLiteral("plain"));
        data.setHtml(QStringLiteral("<p> </p><br>\n<div>\r\n</div>"));
        QCOMPARE(ClipboardManager::contentFrom(data), std::nullopt);
    }

    void rtfRule_data()
    {
        QTest::addColumn<QString>("type");
        QTest::newRow("text/rtf") << QStringLiteral("text/rtf");
        QTest::newRow("application/rtf") << QStringLiteral("application/rtf");
        QTest::newRow("text/richtext") << QStringLiteral("text/richtext");
    }

    void rtfRule()
    {
        QFETCH(QString, type);
        const QByteArray rtf = fixture(QStringLiteral("textedit-sample.rtf"));
        QMimeData data;
        data.setData(type, rtf);
        data.setText(QStringLiteral("plain"));
        const auto content = ClipboardManager::contentFrom(data);
        QVERIFY(content);
        QCOMPARE(content->sourceFormat, SourceFormat::rtf);
        QCOMPARE(content->originalRTF, rtf);
        QVERIFY(content->plainText.startsWith(QStringLiteral("Dear team,\nthis has bold")));
        QVERIFY(content->html->startsWith(QStringLiteral("<p>Dear team,</p>")));
        QVERIFY(!content->isFromGoogleDocs);
    }

    void rtfThatDoesNotOpenFallsToPlain()
    {
        QMimeData data;
        data.setData(ClipboardTypes::rtf, QByteArray("not rtf at all"));
        data.setText(QStringLiteral("plain"));
        const auto content = ClipboardManager::contentFrom(data);
        QVERIFY(content);
        QCOMPARE(content->sourceFormat, SourceFormat::plainText);
    }

    void blankRtfYieldsNothing()
    {
        QMimeData data;
        data.setData(ClipboardTypes::rtf, QByteArray("{\\rtf1{\\fonttbl{\\f0 Arial;}} \\par }"));
        data.setText(QStringLiteral("plain"));
        QCOMPARE(ClipboardManager::contentFrom(data), std::nullopt);
    }

    void plainRule()
    {
        QMimeData data;
        const QString text = QStringLiteral("a < b & \"c\"\nit's &amp;");
        data.setText(text);
        const auto content = ClipboardManager::contentFrom(data);
        QVERIFY(content);
        QCOMPARE(content->plainText, text);
        QCOMPARE(content->html, QStringLiteral("<p>a &lt; b &amp; &quot;c&quot;<br>it&#39;s &amp;amp;</p>"));
        QCOMPARE(content->sourceFormat, SourceFormat::plainText);
    }

    void nothingUsable_data()
    {
        QTest::addColumn<QString>("text");
        QTest::newRow("no text") << QString();
        QTest::newRow("blank text") << QStringLiteral(" \n\t ");
    }

    void nothingUsable()
    {
        QFETCH(QString, text);
        QMimeData data;
        if (!text.isNull())
            data.setText(text);
        data.setData(QStringLiteral("image/png"), QByteArray("\x89PNG"));
        QCOMPARE(ClipboardManager::contentFrom(data), std::nullopt);
    }

    void htmlToPlainText_data()
    {
        QTest::addColumn<QString>("html");
        QTest::addColumn<QString>("text");
        QTest::newRow("paragraphs") << "<p>a</p><p>b</p>" << "a\nb";
        QTest::newRow("br") << "<p>a<br>b</p>" << "a\nb";
        QTest::newRow("trimmed") << "<p>  </p><p> x </p><p></p>" << "x";
        QTest::newRow("entities") << "<p>&lt;&amp;&gt;</p>" << "<&>";
        QTest::newRow("empty") << "" << "";
    }

    void htmlToPlainText()
    {
        QFETCH(QString, html);
        QFETCH(QString, text);
        QCOMPARE(ClipboardManager::htmlToPlainText(html), text);
    }

    void hugeHtmlIsStrippedNotLaidOut()
    {
        const QString huge = QStringLiteral("<p>x</p>").repeated(600'000);
        const QString text = ClipboardManager::htmlToPlainText(huge);
        QCOMPARE(text.size(), 600'000);
    }

    void attributedStringToHTML()
    {
        QTextDocument document;
        document.setHtml(QStringLiteral("<p>Hello <b>there</b></p>"));
        const QString html = ClipboardManager::attributedStringToHTML(document);
        QVERIFY(!html.contains(QStringLiteral("<body")));
        QVERIFY(html.contains(QStringLiteral("there")));
        QVERIFY(html.contains(QStringLiteral("font-weight")));
    }

    void htmlToRtfKeepsFormatting()
    {
        const auto rtf = ClipboardManager::htmlToRTF(QStringLiteral(
            "<p>Plain <b>bold</b> <i>it</i> <u>u</u> <s>s</s> <a href=\"https://x.example/\">link</a></p>"
            "<ul><li>one<ul><li>deep</li></ul></li></ul><ol><li>first</li></ol><p>a<br>b</p>"));
        QVERIFY(rtf);
        const std::optional<RichText> text = RtfReader::read(*rtf);
        QVERIFY(text);
        QCOMPARE(text->toHtml(),
                 QStringLiteral("<p>Plain <strong>bold</strong> <em>it</em> <u>u</u> <del>s</del> "
                                "<a href=\"https://x.example/\">link</a></p><ul><li>one<ul><li>deep</li></ul></li></ul>"
                                "<ol><li>first</li></ol><p>a<br>b</p>"));
    }

    void fixedContentForPlainSourceIsTextOnly()
    {
        std::unique_ptr<QMimeData> data(ClipboardManager::fixedContentData(
            QStringLiteral("<p>Fixed &amp; done</p>"), CapturedContent{"x", "<p>x</p>", SourceFormat::plainText, false}));
        QCOMPARE(data->formats(), QStringList{QStringLiteral("text/plain")});
        QCOMPARE(data->text(), QStringLiteral("Fixed & done"));
    }

    void fixedContentForRichSource_data()
    {
        QTest::addColumn<int>("format");
        QTest::newRow("html") << int(SourceFormat::html);
        QTest::newRow("rtf") << int(SourceFormat::rtf);
    }

    void fixedContentForRichSource()
    {
        QFETCH(int, format);
        std::unique_ptr<QMimeData> data(ClipboardManager::fixedContentData(
            QStringLiteral("<p>Fixed <b>now</b></p>"), CapturedContent{"x", "<p>x</p>", SourceFormat(format), false}));
        QCOMPARE(data->text(), QStringLiteral("Fixed now"));
        QCOMPARE(data->html(), QStringLiteral("<p>Fixed <b>now</b></p>"));
        QVERIFY(data->data(ClipboardTypes::rtf).startsWith("{\\rtf1"));
        QVERIFY(!data->hasFormat(ClipboardTypes::chromiumCustomData));
        QVERIFY(!data->hasFormat(ClipboardTypes::googleDocsClipId));
    }

    void fixedContentForGoogleDocs()
    {
        const QString fixed = QStringLiteral("<b style=\"x\" id=\"docs-internal-guid-12ab\"><p>Fixed</p></b>");
        std::unique_ptr<QMimeData> data(
            ClipboardManager::fixedContentData(fixed, CapturedContent{"x", "<p>x</p>", SourceFormat::html, true}));
        QVERIFY(!data->html().contains(QStringLiteral("docs-internal-guid")));
        QCOMPARE(data->html(), QStringLiteral("<b style=\"x\"><p>Fixed</p></b>"));
        const auto custom = ChromiumCustomData::read(data->data(ClipboardTypes::chromiumCustomData));
        QVERIFY(custom);
        QVERIFY(custom->contains(ClipboardTypes::googleDocsClipId));
        QCOMPARE(custom->value(ClipboardTypes::googleDocsClipId), QString());
        QVERIFY(data->hasFormat(ClipboardTypes::googleDocsClipId));
        QVERIFY(data->data(ClipboardTypes::googleDocsClipId).isEmpty());
    }

    void clipboardContentConverts()
    {
        const ClipboardContent content{"t", "<p>t</p>", QByteArray("{\\rtf1 t}"), SourceFormat::rtf, true};
        const CapturedContent captured = content;
        QCOMPARE(captured, (CapturedContent{"t", "<p>t</p>", SourceFormat::rtf, true}));
    }
};

int main(int argc, char** argv)
{
    QGuiApplication app(argc, argv);
    TestClipboardContent test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_clipboardcontent.moc"
