#include "capture/QuillDeltaParser.h"
#include "support/TestData.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QtTest>

class TestQuillDeltaParser : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void rendersHtml_data();
    void rendersHtml();
    void rejectsWhatIsNotADelta_data();
    void rejectsWhatIsNotADelta();
    void longInputStaysLinear();
};

// Each case in quill-deltas.json is a delta as Slack puts it on the clipboard and the HTML it reads as.
void TestQuillDeltaParser::rendersHtml_data()
{
    QTest::addColumn<QByteArray>("json");
    QTest::addColumn<QString>("html");
    const QJsonArray cases = QJsonDocument::fromJson(testData("capture/quill-deltas.json")).array();
    QVERIFY(cases.size() > 20);
    for (const QJsonValue& row : cases) {
        QTest::newRow(qPrintable(row["case"].toString()))
            << QJsonDocument(row["delta"].toObject()).toJson(QJsonDocument::Compact) << row["html"].toString();
    }
}

void TestQuillDeltaParser::rendersHtml()
{
    QFETCH(QByteArray, json);
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
