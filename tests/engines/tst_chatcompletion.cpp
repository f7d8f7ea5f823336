#include "engines/ChatCompletion.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>

Q_DECLARE_METATYPE(FixError)

class ChatCompletionTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void endpointUrlHasExactlyOneSlash_data()
    {
        QTest::addColumn<QString>("base");
        QTest::addColumn<QString>("expected");
        const QString plain = QStringLiteral("http://127.0.0.1:8080/v1/chat/completions");
        QTest::newRow("no slash") << QStringLiteral("http://127.0.0.1:8080/v1") << plain;
        QTest::newRow("trailing slash") << QStringLiteral("http://127.0.0.1:8080/v1/") << plain;
        QTest::newRow("blanks around") << QStringLiteral(" \n http://127.0.0.1:8080/v1/\t\n") << plain;
        QTest::newRow("host only") << QStringLiteral("https://api.example.com")
                                   << QStringLiteral("https://api.example.com/chat/completions");
        QTest::newRow("not a URL") << QStringLiteral("just words") << QString();
        QTest::newRow("no scheme") << QStringLiteral("api.example.com/v1") << QString();
        QTest::newRow("other scheme") << QStringLiteral("ftp://example.com/v1") << QString();
        QTest::newRow("blank") << QStringLiteral("   ") << QString();
        QTest::newRow("broken port") << QStringLiteral("http://example.com:99999999/v1") << QString();
    }

    void endpointUrlHasExactlyOneSlash()
    {
        QFETCH(QString, base);
        QFETCH(QString, expected);
        const std::optional<QUrl> url = ChatCompletion::endpointUrl(base);
        if (expected.isEmpty())
            QVERIFY2(!url, qPrintable(url ? url->toString() : QString()));
        else
            QCOMPARE(url.value_or(QUrl()).toString(), expected);
    }

    void requestBodyOmitsABlankModel_data()
    {
        QTest::addColumn<QString>("model");
        QTest::addColumn<QJsonValue>("expected");
        QTest::newRow("empty") << QString() << QJsonValue(QJsonValue::Undefined);
        QTest::newRow("blanks") << QStringLiteral(" \n\t") << QJsonValue(QJsonValue::Undefined);
        QTest::newRow("trimmed") << QStringLiteral("  gpt-test\n") << QJsonValue(QStringLiteral("gpt-test"));
    }

    void requestBodyOmitsABlankModel()
    {
        QFETCH(QString, model);
        QFETCH(QJsonValue, expected);
        const QJsonObject body = QJsonDocument::fromJson(
            ChatCompletion::requestBody(QStringLiteral("Fix it."), QStringLiteral(" teh text "), model)).object();
        QCOMPARE(body.value(QStringLiteral("model")), expected);
        QCOMPARE(body.contains(QStringLiteral("model")), !expected.isUndefined());
        const QJsonArray messages = body.value(QStringLiteral("messages")).toArray();
        QCOMPARE(messages.size(), 2);
        QCOMPARE(messages.at(0).toObject(),
                 (QJsonObject{{QStringLiteral("role"), QStringLiteral("system")}, {QStringLiteral("content"), QStringLiteral("Fix it.")}}));
        QCOMPARE(messages.at(1).toObject(),
                 (QJsonObject{{QStringLiteral("role"), QStringLiteral("user")}, {QStringLiteral("content"), QStringLiteral(" teh text ")}}));
    }

    void decodeAnswerUsesOnlyTheContent_data()
    {
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QString>("answer");

        QTest::newRow("plain") << QByteArray(R"({"choices":[{"message":{"role":"assistant","content":"Fixed."}}]})")
                               << QStringLiteral("Fixed.");
        QTest::newRow("first choice only")
            << QByteArray(R"({"choices":[{"message":{"content":"one"}},{"message":{"content":"two"}}]})")
            << QStringLiteral("one");
        QTest::newRow("reasoning_content beside content")
            << QByteArray(R"({"choices":[{"message":{"reasoning_content":"I think...","content":"Fixed."}}]})")
            << QStringLiteral("Fixed.");
        QTest::newRow("reasoning beside content")
            << QByteArray(R"({"choices":[{"message":{"reasoning":"Hmm","content":"Fixed."}}]})") << QStringLiteral("Fixed.");
        QTest::newRow("leading think block")
            << QByteArray(R"({"choices":[{"message":{"content":"<think>The user wants...</think>\n\nFixed."}}]})")
            << QStringLiteral("Fixed.");
        QTest::newRow("think block after white space")
            << QByteArray(R"({"choices":[{"message":{"content":"\n <think>a\nb</think>Fixed."}}]})") << QStringLiteral("Fixed.");
        QTest::newRow("only one think block is stripped")
            << QByteArray(R"({"choices":[{"message":{"content":"<think>a</think><think>b</think> c"}}]})")
            << QStringLiteral("<think>b</think> c");
        QTest::newRow("think later in the text stays")
            << QByteArray(R"({"choices":[{"message":{"content":"I <think> so.</think>"}}]})")
            << QStringLiteral("I <think> so.</think>");
        QTest::newRow("trailing newline kept")
            << QByteArray(R"({"choices":[{"message":{"content":"Fixed.\n"}}]})") << QStringLiteral("Fixed.\n");
        QTest::newRow("text parts") << QByteArray(
            R"({"choices":[{"message":{"content":[{"type":"text","text":"Fi"},{"type":"text","text":"xed."}]}}]})")
                                    << QStringLiteral("Fixed.");
        QTest::newRow("extra keys everywhere")
            << QByteArray(R"({"id":"x","usage":{"total_tokens":3},"choices":[{"index":0,"finish_reason":"stop",)"
                          R"("message":{"content":"Fixed.","tool_calls":[]}}],"error":null})")
            << QStringLiteral("Fixed.");
    }

    void decodeAnswerUsesOnlyTheContent()
    {
        QFETCH(QByteArray, body);
        QFETCH(QString, answer);
        const Outcome<QString> decoded = ChatCompletion::decodeAnswer(body);
        QVERIFY(decoded.hasValue());
        QCOMPARE(decoded.value(), answer);
    }

    void decodeAnswerFailures_data()
    {
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<bool>("emptyResponse"); // else: an OtherError

        QTest::newRow("no choices") << QByteArray(R"({"choices":[]})") << true;
        QTest::newRow("null content") << QByteArray(R"({"choices":[{"message":{"content":null}}]})") << true;
        QTest::newRow("missing content, reasoning only")
            << QByteArray(R"({"choices":[{"message":{"reasoning_content":"I would say Fixed."}}]})") << true;
        QTest::newRow("empty content") << QByteArray(R"({"choices":[{"message":{"content":""}}]})") << true;
        QTest::newRow("blank content") << QByteArray(R"({"choices":[{"message":{"content":" \n"}}]})") << true;
        QTest::newRow("only a think block") << QByteArray(R"({"choices":[{"message":{"content":"<think>x</think>\n"}}]})")
                                            << true;
        QTest::newRow("think block never closed")
            << QByteArray(R"({"choices":[{"message":{"content":"<think>The user wants me to"}}]})") << true;

        QTest::newRow("not JSON") << QByteArray("<html>Bad gateway</html>") << false;
        QTest::newRow("empty body") << QByteArray() << false;
        QTest::newRow("JSON array") << QByteArray("[1,2]") << false;
        QTest::newRow("flat error body") << QByteArray(R"({"error":"model not found","code":"x"})") << false;
        QTest::newRow("nested error body")
            << QByteArray(R"({"error":{"message":"bad key","type":"invalid_request_error","code":null}})") << false;
        QTest::newRow("choices not a list") << QByteArray(R"({"choices":{"message":{"content":"x"}}})") << false;
        QTest::newRow("choice without message") << QByteArray(R"({"choices":[{"text":"legacy"}]})") << false;
        QTest::newRow("choice is a string") << QByteArray(R"({"choices":["x"]})") << false;
        QTest::newRow("content is a number") << QByteArray(R"({"choices":[{"message":{"content":42}}]})") << false;
        QTest::newRow("content parts not text")
            << QByteArray(R"({"choices":[{"message":{"content":[{"type":"image_url","image_url":"x"}]}}]})") << false;
        QTest::newRow("truncated") << QByteArray("{\"choices\":[{\"message\":{\"content\":\"Fix") << false;
    }

    void decodeAnswerFailures()
    {
        QFETCH(QByteArray, body);
        QFETCH(bool, emptyResponse);
        const Outcome<QString> decoded = ChatCompletion::decodeAnswer(body);
        QVERIFY(!decoded.hasValue());
        if (emptyResponse) {
            QCOMPARE(decoded.error(), FixError(TextFixError::emptyResponse()));
        } else {
            QVERIFY(std::holds_alternative<OtherError>(decoded.error()));
            QVERIFY(!std::get<OtherError>(decoded.error()).description.isEmpty());
            QCOMPARE(panelMessage(decoded.error(), true), QStringLiteral("Something went wrong. Try again?"));
        }
    }
};

QTEST_GUILESS_MAIN(ChatCompletionTest)
#include "tst_chatcompletion.moc"
