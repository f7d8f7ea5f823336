#include "capture/RtfReader.h"
#include "support/TestData.h"

#include <QtTest>

namespace {

QString htmlOf(const QByteArray& rtf)
{
    const std::optional<RichText> text = RtfReader::read(rtf);
    return text ? text->toHtml() : QStringLiteral("<none>");
}

QString textOf(const QByteArray& rtf)
{
    const std::optional<RichText> text = RtfReader::read(rtf);
    return text ? text->plainText() : QStringLiteral("<none>");
}

} // namespace

class TestRtfReader : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void readsConstructs_data();
    void readsConstructs();
    void readsTextOfOddInput_data();
    void readsTextOfOddInput();
    void readsProducers_data();
    void readsProducers();
    void deepNestingAndLongInputStayCheap();
};

// rtf-constructs.txt holds a case per block: "# name", a line of RTF, the HTML it reads as. Cases
// with line ends or invisible characters in them stay here.
void TestRtfReader::readsConstructs_data()
{
    QTest::addColumn<QByteArray>("rtf");
    QTest::addColumn<QString>("html");

    const QStringList blocks = QString::fromUtf8(testData("capture/rtf-constructs.txt")).split(QStringLiteral("\n\n"));
    QVERIFY(blocks.size() > 20);
    for (const QString& block : blocks) {
        const QStringList lines = block.trimmed().split(QLatin1Char('\n'));
        QVERIFY2(lines.size() == 3 && lines[0].startsWith(QStringLiteral("# ")), qPrintable(block));
        QTest::newRow(qPrintable(lines[0].mid(2))) << lines[1].toLatin1() << lines[2];
    }
    QTest::newRow("line break and tab") << QByteArray(R"({\rtf1 a\line b\tab c})") << "<p>a<br>b\tc</p>";
    QTest::newRow("newline after backslash is a paragraph") << QByteArray("{\\rtf1 a\\\nb}") << "<p>a</p><p>b</p>";
    QTest::newRow("raw line ends ignored") << QByteArray("{\\rtf1 a\r\nb}") << "<p>ab</p>";
    QTest::newRow("leading white space") << QByteArray("\r\n {\\rtf1 a}") << "<p>a</p>";
    QTest::newRow("negative unicode") << QByteArray(R"({\rtf1 \u-3913?})") << QStringLiteral("<p>\uF0B7</p>");
    QTest::newRow("named symbols") << QByteArray(R"({\rtf1 \ldblquote q\rdblquote\emdash\bullet\~x})")
                                   << QStringLiteral("<p>\u201Cq\u201D\u2014\u2022\u00A0x</p>");
}

void TestRtfReader::readsConstructs()
{
    QFETCH(QByteArray, rtf);
    QFETCH(QString, html);
    QCOMPARE(htmlOf(rtf), html);
}

void TestRtfReader::readsTextOfOddInput_data()
{
    QTest::addColumn<QByteArray>("rtf");
    QTest::addColumn<QString>("text");
    const QString none = QStringLiteral("<none>");
    QTest::newRow("not rtf: empty") << QByteArray() << none;
    QTest::newRow("not rtf: plain text") << QByteArray("hello") << none;
    QTest::newRow("not rtf: html around rtf") << QByteArray("<p>{\\rtf1 x}</p>") << none;
    QTest::newRow("not rtf: brace only") << QByteArray("{") << none;
    QTest::newRow("not rtf: other group") << QByteArray("{\\pict x}") << none;
    QTest::newRow("unclosed groups") << QByteArray(R"({\rtf1 a{\b b{\i c)") << "abc";
    QTest::newRow("extra closing braces") << QByteArray(R"({\rtf1 a}}}b)") << "a";
    QTest::newRow("truncated hex") << QByteArray(R"({\rtf1 a\'4)") << "a";
    QTest::newRow("bad hex") << QByteArray(R"({\rtf1 a\'zzb})") << "azzb";
    QTest::newRow("lone backslash at end") << QByteArray("{\\rtf1 a\\") << "a";
    QTest::newRow("huge parameter") << QByteArray(R"({\rtf1\uc99999999999999 \u99999999999999999?x})") << "";
    QTest::newRow("huge bin") << QByteArray(R"({\rtf1 a\bin999999999999 xyz})") << "a";
    QTest::newRow("negative bin") << QByteArray(R"({\rtf1 a\bin-5 b})") << "ab";
    QTest::newRow("field without result") << QByteArray(R"({\rtf1 {\field{\*\fldinst HYPERLINK "x"}}y})") << "y";
    QTest::newRow("fldrslt without field") << QByteArray(R"({\rtf1 {\fldrslt r}})") << "r";
    QTest::newRow("table cells as tabs, rows as lines")
        << QByteArray(R"({\rtf1 \trowd\cellx100\cellx200 \intbl {\pard\intbl one\par two\par}\cell {\pard\intbl three\par}\cell\row after\par})")
        << "one\ntwo\tthree\nafter";
    QTest::newRow("overlong control word") << QByteArray("{\\rtf1 \\" + QByteArray(100, 'a') + " z}") << QString(68, QLatin1Char('a')) + " z";
}

void TestRtfReader::readsTextOfOddInput()
{
    QFETCH(QByteArray, rtf);
    QFETCH(QString, text);
    QCOMPARE(textOf(rtf), text);
}

void TestRtfReader::readsProducers_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<QStringList>("fragments");
    const QStringList common = {
        "Plain start, <strong>bold words</strong>, <em>italic words</em>, <u>underlined</u> and <del>struck</del>.",
        QStringLiteral("Accents: café naïve — “quotes” 日本語 and €5."),
        "<a href=\"https://example.com/path?a=1&amp;b=2\">",
        "<p>Line one<br>Line two</p>",
        "<p>Cell A\tCell B</p><p>Cell C\tCell D</p>",
        "<p>The end.</p>",
    };
    // Generated from sample.html by `pandoc -s -t rtf` (2.17) and `abiword --to=rtf` (3.0).
    QTest::newRow("pandoc") << "pandoc-sample.rtf" << (common + QStringList{QStringLiteral("<p>•\tFirst bullet</p>"), "<p>1.\tStep one</p>"});
    QTest::newRow("abiword") << "abiword-sample.rtf"
                             << (common + QStringList{"<ul><li>First bullet</li><li>Second bullet</li></ul>",
                                                      "<ol><li>Step one</li><li>Step two</li></ol>"});
    // The shapes TextEdit and WordPad write, by hand.
    QTest::newRow("textedit") << "textedit-sample.rtf"
                              << QStringList{"<p>Dear team,</p>",
                                             "this has <strong>bold </strong>and <em>italic</em> text, <u>underlined</u> and <del>struck</del> words.",
                                             QString::fromUtf8("Café crème brûlée – “quoted” 😀"),
                                             "<p>Tab\tseparated</p>",
                                             "<ul><li>apples</li><li>pears<ul><li>green pears</li></ul></li></ul><ol><li>wash</li><li>dry</li></ol>",
                                             "See <a href=\"https://www.example.org/a?b=1&amp;c=2\"><u>our page</u></a> for more."};
    QTest::newRow("wordpad") << "wordpad-sample.rtf"
                             << QStringList{"<ul><li>Bullet one</li><li>Bullet two</li></ul><ol><li>Numbered</li></ol>",
                                            QStringLiteral("<p>Привет and <a href=\"mailto:a@example.com\"><u>mail us</u></a></p>"),
                                            "<p>Name\tValue</p><p>a\tb</p>", "<p>Hidden visible end<br>next</p>",
                                            "<p>binary after</p>"};
}

void TestRtfReader::readsProducers()
{
    QFETCH(QString, file);
    QFETCH(QStringList, fragments);
    const QString html = htmlOf(testData("capture/" + file));
    for (const QString& fragment : fragments) {
        if (!html.contains(fragment))
            QFAIL(qPrintable(QStringLiteral("missing %1 in %2").arg(fragment, html)));
    }
    QVERIFY(!html.contains(QStringLiteral("Helvetica")));
    QVERIFY(!html.contains(QStringLiteral("Header text")));
    QVERIFY(!html.contains(QStringLiteral("Not text")));
}

void TestRtfReader::deepNestingAndLongInputStayCheap()
{
    QByteArray deep = "{\\rtf1 ";
    deep += QByteArray(200000, '{') + "x" + QByteArray(200000, '}') + "y}";
    QCOMPARE(textOf(deep), QStringLiteral("xy"));

    QByteArray many = "{\\rtf1 ";
    for (int i = 0; i < 50000; ++i)
        many += "{\\b a}\\u233?\\'e9\\par ";
    many += '}';
    const std::optional<RichText> text = RtfReader::read(many);
    QVERIFY(text);
    QCOMPARE(text->paragraphs.size(), 50000);
    QCOMPARE(text->paragraphs.last().plainText(), QStringLiteral("a\u00E9\u00E9"));
}

QTEST_APPLESS_MAIN(TestRtfReader)
#include "tst_rtfreader.moc"
