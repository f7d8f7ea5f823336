#include "capture/QuillDeltaParser.h"

#include <QtTest>

class TestQuillDeltaParser : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void rendersHtml_data();
    void rendersHtml();
    void rejectsWhatIsNotADelta_data();
    void rejectsWhatIsNotADelta();
    void keepsAttributesOfTheWrongTypeOut();
    void longInputStaysLinear();
};

void TestQuillDeltaParser::rendersHtml_data()
{
    QTest::addColumn<QString>("json");
    QTest::addColumn<QString>("html");

    QTest::newRow("paragraph") << R"({"ops":[{"insert":"Hello\n"}]})" << "<p>Hello</p>";
    QTest::newRow("empty ops") << R"({"ops":[]})" << "";
    QTest::newRow("bold inside italic order")
        << R"({"ops":[{"insert":"x","attributes":{"bold":true,"italic":true}},{"insert":"\n"}]})"
        << "<p><strong><em>x</em></strong></p>";
    QTest::newRow("all inline wrappers")
        << R"({"ops":[{"insert":"x","attributes":{"bold":true,"italic":true,"strike":true,"code":true,"link":"https://a.example/?q=1&r=\"2\""}},{"insert":"\n"}]})"
        << "<p><a href=\"https://a.example/?q=1&amp;r=&quot;2&quot;\"><del><strong><em><code>x</code></em></strong></del></a></p>";
    QTest::newRow("false flags are off")
        << R"({"ops":[{"insert":"x","attributes":{"bold":false}},{"insert":"\n"}]})" << "<p>x</p>";
    QTest::newRow("text escaped")
        << R"({"ops":[{"insert":"a<b>&'\"\n"}]})" << "<p>a&lt;b&gt;&amp;&#39;&quot;</p>";
    QTest::newRow("bullets")
        << R"({"ops":[{"insert":"a"},{"insert":"\n","attributes":{"list":"bullet"}},{"insert":"b"},{"insert":"\n","attributes":{"list":"checked"}}]})"
        << "<ul><li>a</li><li>b</li></ul>";
    QTest::newRow("nested ordered then paragraph")
        << R"({"ops":[{"insert":"a"},{"insert":"\n","attributes":{"list":"ordered"}},{"insert":"b"},{"insert":"\n","attributes":{"list":"ordered","indent":1}},{"insert":"c\n"}]})"
        << "<ol><li>a<ol><li>b</li></ol></li></ol><p>c</p>";
    QTest::newRow("bullet then ordered at same level")
        << R"({"ops":[{"insert":"a"},{"insert":"\n","attributes":{"list":"bullet"}},{"insert":"b"},{"insert":"\n","attributes":{"list":"ordered"}}]})"
        << "<ul><li>a</li></ul><ol><li>b</li></ol>";
    QTest::newRow("back out two levels")
        << R"({"ops":[{"insert":"a"},{"insert":"\n","attributes":{"list":"bullet"}},{"insert":"b"},{"insert":"\n","attributes":{"list":"bullet","indent":1}},{"insert":"c"},{"insert":"\n","attributes":{"list":"bullet","indent":2}},{"insert":"d"},{"insert":"\n","attributes":{"list":"bullet"}}]})"
        << "<ul><li>a<ul><li>b<ul><li>c</li></ul></li></ul></li><li>d</li></ul>";
    QTest::newRow("code block double escaped")
        << R"({"ops":[{"insert":"x<y"},{"insert":"\n","attributes":{"code-block":true}},{"insert":"z"},{"insert":"\n","attributes":{"code-block":true}}]})"
        << "<pre><code>x&amp;lt;y\nz</code></pre>";
    QTest::newRow("code block then paragraph")
        << R"({"ops":[{"insert":"a&b"},{"insert":"\n","attributes":{"code-block":true}},{"insert":"after\n"}]})"
        << "<pre><code>a&amp;amp;b</code></pre><p>after</p>";
    QTest::newRow("code block closes list")
        << R"({"ops":[{"insert":"a"},{"insert":"\n","attributes":{"list":"bullet"}},{"insert":"k"},{"insert":"\n","attributes":{"code-block":true}}]})"
        << "<ul><li>a</li></ul><pre><code>k</code></pre>";
    QTest::newRow("empty header kept") << R"({"ops":[{"insert":"\n","attributes":{"header":2}}]})" << "<h2></h2>";
    QTest::newRow("empty blockquote kept")
        << R"({"ops":[{"insert":"\n","attributes":{"blockquote":true}}]})" << "<blockquote></blockquote>";
    QTest::newRow("blockquote wins over header")
        << R"({"ops":[{"insert":"q"},{"insert":"\n","attributes":{"blockquote":true,"header":1}}]})"
        << "<blockquote>q</blockquote>";
    QTest::newRow("empty line emits nothing") << R"({"ops":[{"insert":"a\n\nb\n"}]})" << "<p>a</p><p>b</p>";
    QTest::newRow("slack emoji verbatim")
        << R"({"ops":[{"insert":"hi "},{"insert":{"slackemoji":{"text":"<:wave:>"}}},{"insert":"\n"}]})"
        << "<p>hi <:wave:></p>";
    QTest::newRow("unknown insert ignored")
        << R"({"ops":[{"insert":"a"},{"insert":{"image":"x.png"}},{"insert":{"slackemoji":{"name":"x"}}},{"insert":"\n"}]})"
        << "<p>a</p>";
    QTest::newRow("op without insert skipped")
        << R"({"ops":[{"retain":3},{"insert":"a\n"}]})" << "<p>a</p>";
    QTest::newRow("trailing text without newline") << R"({"ops":[{"insert":"tail"}]})" << "<p>tail</p>";
    QTest::newRow("list open at end closes")
        << R"({"ops":[{"insert":"a"},{"insert":"\n","attributes":{"list":"ordered"}},{"insert":"t"}]})"
        << "<ol><li>a</li></ol><p>t</p>";
    QTest::newRow("code block open at end")
        << R"({"ops":[{"insert":"a"},{"insert":"\n","attributes":{"list":"bullet"}},{"insert":"c"},{"insert":"\n","attributes":{"code-block":true}}]})"
        << "<ul><li>a</li></ul><pre><code>c</code></pre>";
    QTest::newRow("line attributes come from the newline's op")
        << R"({"ops":[{"insert":"a\n","attributes":{"header":1}},{"insert":"b\n"}]})"
        << "<h1>a</h1><p>b</p>";
}

void TestQuillDeltaParser::rendersHtml()
{
    QFETCH(QString, json);
    QFETCH(QString, html);
    const std::optional<QString> result = QuillDeltaParser::parse(json);
    QVERIFY(result.has_value());
    QCOMPARE(*result, html);
}

void TestQuillDeltaParser::rejectsWhatIsNotADelta_data()
{
    QTest::addColumn<QByteArray>("json");
    QTest::newRow("array at top") << QByteArray(R"([{"ops":[]}])");
    QTest::newRow("no ops") << QByteArray(R"({"op":[]})");
    QTest::newRow("ops not array") << QByteArray(R"({"ops":{"insert":"a"}})");
    QTest::newRow("op not object") << QByteArray(R"({"ops":[{"insert":"a\n"},"b"]})");
    QTest::newRow("broken json") << QByteArray(R"({"ops":[{"insert":"a\n"})");
    QTest::newRow("empty") << QByteArray();
    QTest::newRow("not utf-8") << QByteArray("{\"ops\":[{\"insert\":\"\xff\xfe\"}]}");
}

void TestQuillDeltaParser::rejectsWhatIsNotADelta()
{
    QFETCH(QByteArray, json);
    QCOMPARE(QuillDeltaParser::parse(json), std::nullopt);
}

void TestQuillDeltaParser::keepsAttributesOfTheWrongTypeOut()
{
    const auto ops = QuillDeltaParser::readOps(
        R"({"ops":[{"insert":"a","attributes":{"bold":"yes","link":5,"indent":1.5,"header":"2","list":true}}]})");
    QVERIFY(ops);
    QCOMPARE(ops->size(), 1);
    const DeltaOp::Attributes a = *ops->first().attributes;
    QVERIFY(!a.bold && !a.link && !a.indent && !a.header && !a.list);
    QCOMPARE(QuillDeltaParser::parse(QByteArray(R"({"ops":[{"insert":"a\n","attributes":{"header":"2"}}]})")),
             QStringLiteral("<p>a</p>"));
}

void TestQuillDeltaParser::longInputStaysLinear()
{
    // Deep indents that pop one level at a time and thousands of lines: the output grows with the
    // input and nothing is rebuilt per line.
    QByteArray json = R"({"ops":[)";
    for (int i = 0; i < 20000; ++i)
        json += R"({"insert":"x"},{"insert":"\n","attributes":{"list":"bullet","indent":)" + QByteArray::number(i % 50)
            + "}},";
    json += R"({"insert":"end\n"}]})";
    const std::optional<QString> html = QuillDeltaParser::parse(json);
    QVERIFY(html);
    QCOMPARE(html->count(QStringLiteral("<li>")), 20000);
    QCOMPARE(html->count(QStringLiteral("<ul>")), html->count(QStringLiteral("</ul>")));
    QVERIFY(html->endsWith(QStringLiteral("<p>end</p>")));
}

QTEST_APPLESS_MAIN(TestQuillDeltaParser)
#include "tst_quilldeltaparser.moc"
