#include "capture/RtfReader.h"

#include <QFile>
#include <QtTest>

namespace {

QByteArray fixture(const QString& name)
{
    QFile file(QStringLiteral(TEMBREL_TEST_DATA_DIR "/capture/") + name);
    if (!file.open(QIODevice::ReadOnly))
        qFatal("missing fixture %s", qPrintable(name));
    return file.readAll();
}

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
    void rejectsWhatIsNotRtf_data();
    void rejectsWhatIsNotRtf();
    void survivesMalformedInput_data();
    void survivesMalformedInput();
    void readsProducers_data();
    void readsProducers();
    void keepsTablesAsText();
    void deepNestingAndLongInputStayCheap();
};

void TestRtfReader::readsConstructs_data()
{
    QTest::addColumn<QByteArray>("rtf");
    QTest::addColumn<QString>("html");

    QTest::newRow("paragraphs") << QByteArray(R"({\rtf1 one\par two\par})") << "<p>one</p><p>two</p>";
    QTest::newRow("line break and tab") << QByteArray(R"({\rtf1 a\line b\tab c})") << "<p>a<br>b\tc</p>";
    QTest::newRow("newline after backslash is a paragraph") << QByteArray("{\\rtf1 a\\\nb}") << "<p>a</p><p>b</p>";
    QTest::newRow("raw line ends ignored") << QByteArray("{\\rtf1 a\r\nb}") << "<p>ab</p>";
    QTest::newRow("bold toggles") << QByteArray(R"({\rtf1 a \b b\b0  c})") << "<p>a <strong>b</strong> c</p>";
    QTest::newRow("group restores format")
        << QByteArray(R"({\rtf1 {\i x}y})") << "<p><em>x</em>y</p>";
    QTest::newRow("underline off by ulnone")
        << QByteArray(R"({\rtf1 \ul u\ulnone n})") << "<p><u>u</u>n</p>";
    QTest::newRow("plain resets") << QByteArray(R"({\rtf1 \b\i\strike a\plain b})") << "<p><strong><em><del>a</del></em></strong>b</p>";
    QTest::newRow("unicode with fallback skipped")
        << QByteArray(R"({\rtf1 caf\u233?s})") << "<p>cafés</p>";
    QTest::newRow("negative unicode") << QByteArray(R"({\rtf1 \u-3913?})") << QStringLiteral("<p>\uF0B7</p>");
    QTest::newRow("uc2 skips two fallback characters")
        << QByteArray(R"({\rtf1\uc2 \u8212--x})") << QStringLiteral("<p>\u2014x</p>");
    QTest::newRow("hex fallback counts as one") << QByteArray(R"({\rtf1 \u8364\'80x})") << QStringLiteral("<p>\u20ACx</p>");
    QTest::newRow("uc0 no fallback") << QByteArray(R"({\rtf1\uc0 \u8226 x})") << QStringLiteral("<p>\u2022x</p>");
    QTest::newRow("fallback ends at group end") << QByteArray(R"({\rtf1 {\uc3 \u233}abc})") << QStringLiteral("<p>\u00E9abc</p>");
    QTest::newRow("surrogate pair") << QByteArray(R"({\rtf1 \u-10179?\u-8704?})") << QString::fromUtf8("<p>😀</p>");
    QTest::newRow("cp1252 escapes") << QByteArray(R"({\rtf1\ansi \'93q\'94 \'e9})") << QStringLiteral("<p>\u201Cq\u201D \u00E9</p>");
    QTest::newRow("font charset decides code page")
        << QByteArray(R"({\rtf1{\fonttbl{\f0\fcharset0 A;}{\f1\fcharset238 B;}}\f1 \'b9\f0 \'b9})")
        << QStringLiteral("<p>\u0105\u00B9</p>");
    QTest::newRow("mac code page") << QByteArray(R"({\rtf1\mac \'8e})") << QStringLiteral("<p>\u00E9</p>");
    QTest::newRow("escaped braces and backslash") << QByteArray(R"({\rtf1 \{a\}\\})") << "<p>{a}\\</p>";
    QTest::newRow("html escaped") << QByteArray(R"({\rtf1 <a&b>})") << "<p>&lt;a&amp;b&gt;</p>";
    QTest::newRow("named symbols")
        << QByteArray(R"({\rtf1 \ldblquote q\rdblquote\emdash\bullet\~x})") << QStringLiteral("<p>\u201Cq\u201D\u2014\u2022\u00A0x</p>");
    QTest::newRow("hyperlink field")
        << QByteArray(R"({\rtf1 {\field{\*\fldinst{HYPERLINK "http://x.example/?a=1&b=2"}}{\fldrslt{\ul go}}} on})")
        << "<p><a href=\"http://x.example/?a=1&amp;b=2\"><u>go</u></a> on</p>";
    QTest::newRow("non-link field shows its result")
        << QByteArray(R"({\rtf1 {\field{\*\fldinst{ PAGE }}{\fldrslt 3}}})") << "<p>3</p>";
    QTest::newRow("starred unknown destination skipped")
        << QByteArray(R"({\rtf1 {\*\foo {nested} text}a})") << "<p>a</p>";
    QTest::newRow("known destinations skipped")
        << QByteArray(R"({\rtf1{\fonttbl{\f0 Arial;}}{\colortbl;\red1;}{\stylesheet{\s1 Normal;}}{\info{\title T}}a})") << "<p>a</p>";
    QTest::newRow("hidden text dropped") << QByteArray(R"({\rtf1 a{\v b}c})") << "<p>ac</p>";
    QTest::newRow("bin data not parsed") << QByteArray("{\\rtf1 {\\pict\\bin3 }{\\}a}") << "<p>a</p>";
    QTest::newRow("listtext bullets") << QByteArray(R"({\rtf1 {\listtext \u8226 \tab}a\par{\listtext \u8226 \tab}b\par})")
                                      << "<ul><li>a</li><li>b</li></ul>";
    QTest::newRow("listtext numbers nested")
        << QByteArray(R"({\rtf1 \pard\ilvl0{\listtext 1.\tab}a\par\pard\ilvl1{\listtext a.\tab}b\par\pard c\par})")
        << "<ol><li>a<ol><li>b</li></ol></li></ol><p>c</p>";
    QTest::newRow("pntext with pn numbering")
        << QByteArray(R"({\rtf1 {\pntext\f1 \tab}{\*\pn\pnlvlbody\pndec}x\par})") << "<ol><li>x</li></ol>";
    QTest::newRow("empty paragraph kept inside") << QByteArray(R"({\rtf1 a\par\par b})") << "<p>a</p><p><br></p><p>b</p>";
    QTest::newRow("text after document ignored") << QByteArray(R"({\rtf1 a}trailing)") << "<p>a</p>";
    QTest::newRow("leading white space") << QByteArray("\r\n {\\rtf1 a}") << "<p>a</p>";
}

void TestRtfReader::readsConstructs()
{
    QFETCH(QByteArray, rtf);
    QFETCH(QString, html);
    QCOMPARE(htmlOf(rtf), html);
}

void TestRtfReader::rejectsWhatIsNotRtf_data()
{
    QTest::addColumn<QByteArray>("data");
    QTest::newRow("empty") << QByteArray();
    QTest::newRow("plain text") << QByteArray("hello");
    QTest::newRow("html") << QByteArray("<p>{\\rtf1 x}</p>");
    QTest::newRow("brace only") << QByteArray("{");
    QTest::newRow("other group") << QByteArray("{\\pict x}");
}

void TestRtfReader::rejectsWhatIsNotRtf()
{
    QFETCH(QByteArray, data);
    QVERIFY(!RtfReader::read(data));
}

void TestRtfReader::survivesMalformedInput_data()
{
    QTest::addColumn<QByteArray>("rtf");
    QTest::addColumn<QString>("text");
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
    QTest::newRow("overlong control word") << QByteArray("{\\rtf1 \\" + QByteArray(100, 'a') + " z}") << QString(68, QLatin1Char('a')) + " z";
}

void TestRtfReader::survivesMalformedInput()
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
    const QString html = htmlOf(fixture(file));
    for (const QString& fragment : fragments) {
        if (!html.contains(fragment))
            QFAIL(qPrintable(QStringLiteral("missing %1 in %2").arg(fragment, html)));
    }
    QVERIFY(!html.contains(QStringLiteral("Helvetica")));
    QVERIFY(!html.contains(QStringLiteral("Header text")));
    QVERIFY(!html.contains(QStringLiteral("Not text")));
}

void TestRtfReader::keepsTablesAsText()
{
    const QByteArray rtf = R"({\rtf1 \trowd\cellx100\cellx200 \intbl {\pard\intbl one\par two\par}\cell {\pard\intbl three\par}\cell\row after\par})";
    QCOMPARE(textOf(rtf), QStringLiteral("one\ntwo\tthree\nafter"));
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
