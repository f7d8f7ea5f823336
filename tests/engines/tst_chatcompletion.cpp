#include "engines/ChatCompletion.h"

#include <QTest>

Q_DECLARE_METATYPE(FixError)

namespace {

// An answer whose first choice's message has these members.
QByteArray message(const char* members)
{
    return QByteArray(R"({"choices":[{"message":{)") + members + "}}]}";
}

} // namespace

// The chat-completions protocol: the endpoint's address and reading the answer. The request body is
// checked where the engine and the connection test send it.
class ChatCompletionTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void endpointUrlHasExactlyOneSlash_data()
    {
        QTest::addColumn<QString>("base");
        QTest::addColumn<QString>("expected"); // empty: not usable
        const QString plain = "http://127.0.0.1:8080/v1/chat/completions";
        QTest::newRow("no slash") << "http://127.0.0.1:8080/v1" << plain;
        QTest::newRow("trailing slash") << "http://127.0.0.1:8080/v1/" << plain;
        QTest::newRow("blanks around") << " \n http://127.0.0.1:8080/v1/\t\n" << plain;
        QTest::newRow("host only") << "https://api.example.com" << "https://api.example.com/chat/completions";
        QTest::newRow("not a URL") << "just words" << QString();
        QTest::newRow("no scheme") << "api.example.com/v1" << QString();
        QTest::newRow("other scheme") << "ftp://example.com/v1" << QString();
        QTest::newRow("blank") << "   " << QString();
        QTest::newRow("broken port") << "http://example.com:99999999/v1" << QString();
    }

    void endpointUrlHasExactlyOneSlash()
    {
        QFETCH(QString, base);
        QFETCH(QString, expected);
        const std::optional<QUrl> url = ChatCompletion::endpointUrl(base);
        QCOMPARE(url.has_value(), !expected.isEmpty());
        QCOMPARE(url.value_or(QUrl()).toString(), expected);
    }

    void decodeAnswerUsesOnlyTheContent_data()
    {
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QString>("answer");
        QTest::newRow("plain") << message(R"("role":"assistant","content":"Fixed.")") << "Fixed.";
        QTest::newRow("first choice only")
            << QByteArray(R"({"choices":[{"message":{"content":"one"}},{"message":{"content":"two"}}]})") << "one";
        QTest::newRow("reasoning_content beside content")
            << message(R"("reasoning_content":"I think...","content":"Fixed.")") << "Fixed.";
        QTest::newRow("reasoning beside content") << message(R"("reasoning":"Hmm","content":"Fixed.")") << "Fixed.";
        QTest::newRow("leading think block") << message(R"("content":"<think>The user wants...</think>\n\nFixed.")")
                                             << "Fixed.";
        QTest::newRow("think block after white space") << message(R"("content":"\n <think>a\nb</think>Fixed.")")
                                                       << "Fixed.";
        QTest::newRow("only one think block is stripped")
            << message(R"("content":"<think>a</think><think>b</think> c")") << "<think>b</think> c";
        QTest::newRow("think later in the text stays") << message(R"("content":"I <think> so.</think>")")
                                                       << "I <think> so.</think>";
        QTest::newRow("trailing newline kept") << message(R"("content":"Fixed.\n")") << "Fixed.\n";
        QTest::newRow("text parts")
            << message(R"("content":[{"type":"text","text":"Fi"},{"type":"text","text":"xed."}])") << "Fixed.";
        QTest::newRow("extra keys everywhere")
            << QByteArray(R"({"id":"x","usage":{"total_tokens":3},"choices":[{"index":0,"finish_reason":"stop",)"
                          R"("message":{"content":"Fixed.","tool_calls":[]}}],"error":null})")
            << "Fixed.";
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
        QTest::newRow("null content") << message(R"("content":null)") << true;
        QTest::newRow("missing content, reasoning only") << message(R"("reasoning_content":"I would say Fixed.")") << true;
        QTest::newRow("empty content") << message(R"("content":"")") << true;
        QTest::newRow("blank content") << message(R"("content":" \n")") << true;
        QTest::newRow("only a think block") << message(R"("content":"<think>x</think>\n")") << true;
        QTest::newRow("think block never closed") << message(R"("content":"<think>The user wants me to")") << true;

        QTest::newRow("not JSON") << QByteArray("<html>Bad gateway</html>") << false;
        QTest::newRow("empty body") << QByteArray() << false;
        QTest::newRow("JSON array") << QByteArray("[1,2]") << false;
        QTest::newRow("flat error body") << QByteArray(R"({"error":"model not found","code":"x"})") << false;
        QTest::newRow("nested error body")
            << QByteArray(R"({"error":{"message":"bad key","type":"invalid_request_error","code":null}})") << false;
        QTest::newRow("choices not a list") << QByteArray(R"({"choices":{"message":{"content":"x"}}})") << false;
        QTest::newRow("choice without message") << QByteArray(R"({"choices":[{"text":"legacy"}]})") << false;
        QTest::newRow("choice is a string") << QByteArray(R"({"choices":["x"]})") << false;
        QTest::newRow("content is a number") << message(R"("content":42)") << false;
        QTest::newRow("content parts not text") << message(R"("content":[{"type":"image_url","image_url":"x"}])") << false;
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
        }
    }
};

QTEST_GUILESS_MAIN(ChatCompletionTest)
#include "tst_chatcompletion.moc"
