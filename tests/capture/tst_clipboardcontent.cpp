#include "capture/ChromiumCustomData.h"
#include "capture/ClipboardManager.h"
#include "capture/ClipboardTypes.h"
#include "capture/HtmlDocument.h"
#include "capture/RtfReader.h"

#include <QMimeData>
#include <QtTest>

using Offer = QList<QPair<QString, QByteArray>>;

namespace {

const QString slackDelta = QStringLiteral(R"({"ops":[{"insert":"Hey "},{"insert":"team","attributes":{"bold":true}},{"insert":"\n"}]})");
const QByteArray rtf = "{\\rtf1\\ansi Dear {\\b team}\\par}";

QByteArray slackBlob(const QString& delta)
{
    return ChromiumCustomData::write({{"text/plain", "ignored"}, {ClipboardTypes::slackTexty, delta}});
}

std::optional<ClipboardContent> contentOf(const Offer& offer)
{
    QMimeData data;
    for (const auto& [type, bytes] : offer)
        data.setData(type, bytes);
    return ClipboardManager::contentFrom(data);
}

} // namespace

// Which of the formats an application offers Tembrel reads, and what it makes of it.
class TestClipboardContent : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void readsTheRichestFormat_data()
    {
        QTest::addColumn<Offer>("offer");
        QTest::addColumn<QString>("html");
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("format");
        QTest::addColumn<bool>("googleDocs");
        QTest::addColumn<QByteArray>("keptRtf");
        const int html = int(SourceFormat::html);
        const Offer plain{{"text/plain", "plain"}};

        QTest::newRow("slack delta wins over html and text")
            << Offer{{ClipboardTypes::chromiumCustomData, slackBlob(slackDelta)}, {"text/html", "<p>Slack's poorer HTML</p>"},
                     {"text/plain", "plain"}}
            << "<p>Hey <strong>team</strong></p>" << "Hey team" << html << false << QByteArray();
        const QByteArray good = slackBlob(slackDelta);
        const QList<QPair<const char*, QByteArray>> brokenSlack{
            {"delta not json", slackBlob("not json")},
            {"truncated second string", good.left(good.size() - 6)},
            {"no slack key", ChromiumCustomData::write({{"other", slackDelta}})},
            {"no entries", ChromiumCustomData::write({})}};
        for (const auto& [name, blob] : brokenSlack)
            QTest::addRow("slack falls through: %s", name)
                << Offer{{ClipboardTypes::chromiumCustomData, blob}, {"text/html", "<p>From <b>HTML</b></p>"}}
                << "<p>From <b>HTML</b></p>" << "From HTML" << html << false << QByteArray();

        const Offer rtfAndPlain{{ClipboardTypes::rtf, "{\\rtf1 rtf}"}, {"text/plain", "plain"}};
        QTest::newRow("html over rtf: chromium utf-8 with meta")
            << Offer{{"text/html", "<meta charset='utf-8'><p>caf\xC3\xA9</p><p>two</p>"}} + rtfAndPlain
            << "<meta charset='utf-8'><p>café</p><p>two</p>" << "café\n\ntwo" << html << false << QByteArray();
        QTest::newRow("html over rtf: utf-16 with mark")
            << Offer{{"text/html", QByteArray::fromHex("fffe3c0062003e00e9003c002f0062003e00")}} + rtfAndPlain
            << "<b>é</b>" << "é" << html << false << QByteArray();
        QTest::newRow("html over rtf: google docs")
            << Offer{{"text/html", "<b id=\"docs-internal-guid-abc\"><p>Doc</p></b>"}} + rtfAndPlain
            << "<b id=\"docs-internal-guid-abc\"><p>Doc</p></b>" << "Doc" << html << true << QByteArray();
        QTest::newRow("html over rtf: line break")
            << Offer{{"text/html", "<p>a<br>b</p>"}} + rtfAndPlain << "<p>a<br>b</p>" << "a\nb" << html << false << QByteArray();

        for (const char* type : {"text/rtf", "application/rtf", "text/richtext"})
            QTest::addRow("rtf over plain as %s", type)
                << Offer{{type, rtf}} + plain << "<p>Dear <strong>team</strong></p>" << "Dear team" << int(SourceFormat::rtf)
                << false << rtf;
        QTest::newRow("rtf that does not open falls to plain")
            << Offer{{ClipboardTypes::rtf, "not rtf at all"}} + plain << "<p>plain</p>" << "plain"
            << int(SourceFormat::plainText) << false << QByteArray();
        QTest::newRow("plain text escaped once")
            << Offer{{"text/plain", "a < b & \"c\"\nit's &amp;"}}
            << "<p>a &lt; b &amp; &quot;c&quot;<br>it&#39;s &amp;amp;</p>" << "a < b & \"c\"\nit's &amp;"
            << int(SourceFormat::plainText) << false << QByteArray();
    }

    void readsTheRichestFormat()
    {
        QFETCH(Offer, offer);
        QFETCH(QString, html);
        QFETCH(QString, text);
        QFETCH(int, format);
        QFETCH(bool, googleDocs);
        QFETCH(QByteArray, keptRtf);
        const auto content = contentOf(offer);
        QVERIFY(content);
        QCOMPARE(content->html.value_or(QStringLiteral("<none>")), html);
        QCOMPARE(content->plainText, text);
        QCOMPARE(int(content->sourceFormat), format);
        QCOMPARE(content->isFromGoogleDocs, googleDocs);
        QCOMPARE(content->originalRTF.value_or(QByteArray()), keptRtf);
        // What goes on to the fix keeps every field but the RTF bytes, and a plain selection's HTML.
        const bool plain = SourceFormat(format) == SourceFormat::plainText;
        QCOMPARE(CapturedContent(*content), (CapturedContent{text, plain ? std::nullopt : std::optional<QString>(html),
                                                             SourceFormat(format), googleDocs}));
    }

    // A blank richest format means the selection was blank: the poorer ones are not read instead.
    void blankYieldsNothing_data()
    {
        QTest::addColumn<Offer>("offer");
        const Offer rtfAndPlain{{ClipboardTypes::rtf, "{\\rtf1 rtf}"}, {"text/plain", "plain"}};
        QTest::newRow("blank slack delta")
            << Offer{{ClipboardTypes::chromiumCustomData, slackBlob(R"({"ops":[{"insert":"  \n"}]})")},
                     {"text/html", "<p>would be read otherwise</p>"}};
        QTest::newRow("blank html") << Offer{{"text/html", "<p> </p><br>\n<div>\r\n</div>"}} + rtfAndPlain;
        QTest::newRow("blank rtf") << Offer{{ClipboardTypes::rtf, "{\\rtf1{\\fonttbl{\\f0 Arial;}} \\par }"}, {"text/plain", "plain"}};
        QTest::newRow("no text at all") << Offer{{"image/png", "\x89PNG"}};
        QTest::newRow("blank text") << Offer{{"text/plain", " \n\t "}, {"image/png", "\x89PNG"}};
    }

    void blankYieldsNothing()
    {
        QFETCH(Offer, offer);
        QCOMPARE(contentOf(offer), std::nullopt);
    }

    void htmlToPlainText_data()
    {
        QTest::addColumn<QString>("html");
        QTest::addColumn<QString>("text");
        // As a browser copies them: a paragraph is followed by a blank line, other blocks by a line
        // break, table cells by tabs; never a noncharacter.
        QTest::newRow("paragraphs") << "<p>a</p><p>b</p>" << "a\n\nb";
        QTest::newRow("headings, lists, divs") << "<h2>T</h2><ul><li>a</li><li>b</li></ul><div>c</div>" << "T\na\nb\nc";
        QTest::newRow("table") << "<table><tr><td>a</td><td>b&nbsp;c</td></tr><tr><td>d</td><td>e</td></tr></table>"
                               << "a\tb c\nd\te";
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
        QCOMPARE(ClipboardManager::htmlToPlainText(QStringLiteral("<p>x</p>").repeated(600'000)).size(), 600'000);
    }

    void nestingIsBoundedBeforeLayout_data()
    {
        QTest::addColumn<QString>("html");
        QTest::addColumn<QString>("bounded"); // at a depth limit of 2
        QTest::newRow("shallow: unchanged") << "<div><b>a</b></div>" << "<div><b>a</b></div>";
        QTest::newRow("deep: unwrapped") << "<div><p><b>a</b>b</p></div>c" << "<div><p>ab</p></div>c";
        QTest::newRow("attributes with >") << "<a title=\"x>y\"><b><i>a</i></b></a>" << "<a title=\"x>y\"><b>a</b></a>";
        QTest::newRow("void and self-closed") << "<p><br><img src=x><b/><i>a</i></p>" << "<p><br><img src=x><b/><i>a</i></p>";
        QTest::newRow("end tags left out") << "<ul><li>a<li>b<li><p>c</ul>" << "<ul><li>a<li>b<li>c</ul>";
        QTest::newRow("comments and script") << "<div><!-- <b><b><b> --><script>if (a<b) x()</script></div>"
                                             << "<div><!-- <b><b><b> --><script>if (a<b) x()</script></div>";
        QTest::newRow("stray end tags") << "</b>a<b>b</i></b>" << "</b>a<b>b</i></b>";
    }

    void nestingIsBoundedBeforeLayout()
    {
        QFETCH(QString, html);
        QFETCH(QString, bounded);
        QCOMPARE(HtmlDocument::boundedNesting(html, 2), bounded);
    }

    void deepNestingKeepsItsText()
    {
        // Laid out as written, 200,000 levels took minutes: the time grows with the square of the
        // depth. Bounded, the text comes through whole, as text and as styled text.
        const int depth = 200'000;
        const QString html = QStringLiteral("<div><b>").repeated(depth / 2) + QStringLiteral("deep text")
            + QStringLiteral("</b></div>").repeated(depth / 2);
        QCOMPARE(ClipboardManager::htmlToPlainText(html), QStringLiteral("deep text"));
        QVERIFY(ClipboardManager::htmlToRTF(html));
        QCOMPARE(HtmlDocument::toRichText(html).plainText().trimmed(), QStringLiteral("deep text"));
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

    void fixedContent_data()
    {
        QTest::addColumn<int>("format");
        QTest::addColumn<bool>("googleDocs");
        QTest::addColumn<QString>("fixed");
        QTest::addColumn<QStringList>("formats");
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("html");
        const QStringList rich{ClipboardTypes::html, "text/plain", ClipboardTypes::rtf};
        // The answer to a plain selection is plain text, written exactly as it came.
        QTest::newRow("plain source: text only") << int(SourceFormat::plainText) << false << "  Fixed &amp;\tdone <p>\n"
                                                 << QStringList{"text/plain"} << "  Fixed &amp;\tdone <p>\n" << "";
        QTest::newRow("html source") << int(SourceFormat::html) << false << "<p>Fixed <b>now</b></p>" << rich << "Fixed now"
                                     << "<p>Fixed <b>now</b></p>";
        QTest::newRow("rtf source") << int(SourceFormat::rtf) << false << "<p>Fixed <b>now</b></p>" << rich << "Fixed now"
                                    << "<p>Fixed <b>now</b></p>";
        QTest::newRow("google docs: marker gone, clip cache invalidated")
            << int(SourceFormat::html) << true << "<b style=\"x\" id=\"docs-internal-guid-12ab\"><p>Fixed</p></b>"
            << rich + QStringList{ClipboardTypes::chromiumCustomData, ClipboardTypes::googleDocsClipId} << "Fixed"
            << "<b style=\"x\"><p>Fixed</p></b>";
    }

    void fixedContent()
    {
        QFETCH(int, format);
        QFETCH(bool, googleDocs);
        QFETCH(QString, fixed);
        QFETCH(QStringList, formats);
        QFETCH(QString, text);
        QFETCH(QString, html);
        std::unique_ptr<QMimeData> data(ClipboardManager::fixedContentData(
            fixed, CapturedContent{"x", "<p>x</p>", SourceFormat(format), googleDocs}));
        QStringList written = data->formats();
        written.sort();
        formats.sort();
        QCOMPARE(written, formats);
        QCOMPARE(data->text(), text);
        QCOMPARE(data->html(), html);
        if (formats.contains(ClipboardTypes::rtf))
            QVERIFY(data->data(ClipboardTypes::rtf).startsWith("{\\rtf1"));
        if (googleDocs) {
            // Docs reads the clip id from Chromium's pickle; an empty one stops it pasting its cache.
            const auto custom = ChromiumCustomData::read(data->data(ClipboardTypes::chromiumCustomData));
            QVERIFY(custom);
            QCOMPARE(custom->value(ClipboardTypes::googleDocsClipId, QStringLiteral("<absent>")), QString());
            QCOMPARE(data->data(ClipboardTypes::googleDocsClipId), QByteArray());
        }
    }
};

QTEST_MAIN(TestClipboardContent)
#include "tst_clipboardcontent.moc"
