#include "engines/CustomOpenAIEngine.h"

#include "EngineTestSupport.h"
#include "support/TestEnvironment.h"

#include <QTimer>
#include <QCoro/QCoroTimer>

using namespace std::chrono_literals;
using namespace EngineTest;

Q_DECLARE_METATYPE(std::optional<QString>)

namespace {

// Paragraphs of one repeated letter each, long enough that every paragraph becomes its own chunk.
QString paragraphs(int count)
{
    QStringList list;
    for (int i = 0; i < count; ++i)
        list.append(QString(9000, QChar(u'a' + i)));
    return list.join("\n\n");
}

} // namespace

// The user's own chat-completions endpoint, against a real server: request, chunks, failures.
class CustomOpenAIEngineTest : public QObject
{
    Q_OBJECT

    TestEnvironment m_environment;
    TestHttpServer m_server;
    CustomEndpointConfig m_config;
    std::optional<QString> m_apiKey;
    QList<QPair<QString, QString>> m_counted;

    FixOutcome fix(const QString& text, const TracePtr& trace = nullptr,
                   CancellationToken cancel = CancellationToken::none(), std::chrono::milliseconds timeout = 2s)
    {
        CustomOpenAIEngine engine(
            [this] { return m_config; },
            [this]() -> QCoro::Task<std::optional<QString>> {
                co_await QCoro::sleepFor(1ms); // like the keyring, the key arrives asynchronously
                co_return m_apiKey;
            },
            [this](const QString& original, const QString& fixed) {
                m_counted.append({original, fixed});
                return qint64(fixed.size() - original.size() + 1000);
            });
        engine.setTimeout(timeout);
        return finish(engine.fix(text, "Proofread.", trace, cancel));
    }

private Q_SLOTS:
    void initTestCase() { QVERIFY(m_server.listen()); }

    void init()
    {
        m_server.clearRequests();
        m_server.setHandler({});
        m_server.setDefaultResponse(CannedResponse::json(200, chatAnswer("Fixed.")));
        m_config = {m_server.url("/v1").toString(), "test-model", true};
        m_apiKey = "sk-made-up-test-key";
        m_counted.clear();
    }

    void sendsOneChatCompletion()
    {
        auto trace = std::make_shared<TraceCollector>();
        const FixOutcome outcome = fix("I has a cat.", trace);
        QVERIFY(outcome.hasValue());
        QCOMPARE(outcome.value(), (FixResult{"I has a cat.", "Fixed.", 1000 - 6, {}, {}, {}}));
        QCOMPARE(m_counted, (QList<QPair<QString, QString>>{{"I has a cat.", "Fixed."}}));
        const RecordedRequest request = m_server.requests().first();
        QCOMPARE(request.method, "POST");
        QCOMPARE(request.path, "/v1/chat/completions");
        QCOMPARE(request.header("content-type"), "application/json");
        QCOMPARE(request.header("authorization"), "Bearer sk-made-up-test-key");
        QCOMPARE(request.json().value("model").toString(), "test-model");
        QCOMPARE(request.json().value("messages").toArray(),
                 (QJsonArray{QJsonObject{{"role", "system"}, {"content", "Proofread."}},
                             QJsonObject{{"role", "user"}, {"content", "I has a cat."}}}));
        QCOMPARE(traceLines(trace),
                 (QStringList{"request_started: POST /chat/completions", "response_received: HTTP 200 (… ms)"}));
    }

    void urlAndHeadersFollowTheSettings_data()
    {
        QTest::addColumn<QString>("suffix");
        QTest::addColumn<QString>("model");
        QTest::addColumn<std::optional<QString>>("key");
        QTest::addColumn<QByteArray>("authorization");
        const std::optional<QString> key("k-1");
        QTest::newRow("trailing slash") << "/v1/" << "m" << key << QByteArray("Bearer k-1");
        QTest::newRow("blanks around the URL") << "/v1 \n" << "m" << key << QByteArray("Bearer k-1");
        QTest::newRow("blank model is left out") << "/v1" << " \n " << key << QByteArray("Bearer k-1");
        QTest::newRow("no key") << "/v1" << "m" << std::optional<QString>() << QByteArray();
        QTest::newRow("empty key") << "/v1" << "m" << std::optional<QString>("") << QByteArray();
    }

    void urlAndHeadersFollowTheSettings()
    {
        QFETCH(QString, suffix);
        QFETCH(QString, model);
        QFETCH(std::optional<QString>, key);
        QFETCH(QByteArray, authorization);
        m_config = {m_server.url().toString() + suffix, model, true};
        m_apiKey = key;
        QVERIFY(fix("text").hasValue());
        const RecordedRequest request = m_server.requests().first();
        QCOMPARE(request.path, "/v1/chat/completions");
        QCOMPARE(request.headers.contains("authorization"), !authorization.isEmpty());
        QCOMPARE(request.header("authorization"), authorization);
        QCOMPARE(request.json().contains("model"), !model.trimmed().isEmpty());
    }

    void statusesMapToErrors_data()
    {
        QTest::addColumn<CannedResponse>("response");
        QTest::addColumn<FixError>("expected");
        const auto text = [](int status, const char* body) { return CannedResponse::text(status, body); };
        const FixError auth = CustomEndpointError::authenticationFailed;
        const FixError server = CustomEndpointError::serverError;
        const FixError processing = TextFixError::processingFailed();
        QTest::newRow("400") << text(400, R"({"error":{"message":"bad","code":"INPUT_TOO_LONG"}})") << processing;
        QTest::newRow("401") << text(401, R"({"error":{"message":"Invalid key"}})") << auth;
        QTest::newRow("403") << text(403, R"({"error":"forbidden"})") << auth;
        QTest::newRow("404") << text(404, "") << processing;
        QTest::newRow("418") << text(418, "teapot") << processing;
        QTest::newRow("429") << text(429, "") << FixError(TextFixError::rateLimited());
        QTest::newRow("500") << text(500, "oops") << server;
        QTest::newRow("503") << text(503, "") << server;
        QTest::newRow("599") << text(599, "") << server;
        QTest::newRow("200 empty choices") << text(200, R"({"choices":[]})") << FixError(TextFixError::emptyResponse());
        QTest::newRow("200 null content") << text(200, R"({"choices":[{"message":{"content":null}}]})")
                                          << FixError(TextFixError::emptyResponse());
        QTest::newRow("200 undecodable") << text(200, "not json") << FixError(OtherError{});
        QTest::newRow("200 error body") << text(200, R"({"error":{"message":"overloaded"}})") << FixError(OtherError{});
    }

    void statusesMapToErrors()
    {
        QFETCH(CannedResponse, response);
        QFETCH(FixError, expected);
        m_server.enqueue(response);
        auto trace = std::make_shared<TraceCollector>();
        const FixOutcome outcome = fix("Some text.", trace);
        QVERIFY(!outcome.hasValue());
        if (std::holds_alternative<OtherError>(expected))
            QVERIFY(std::holds_alternative<OtherError>(outcome.error()));
        else
            QCOMPARE(outcome.error(), expected);
        QCOMPARE(m_server.requestCount(), 1); // never retried
        QCOMPARE(traceLines(trace).last(), QStringLiteral("response_received: HTTP %1 (… ms)").arg(response.status));
        QVERIFY(m_counted.isEmpty());
    }

    void editCountComesFromTheWordDiff()
    {
        const CustomEndpointConfig config = m_config;
        CustomOpenAIEngine engine([config] { return config; }, {}); // and without a key provider, no key
        m_server.setDefaultResponse(CannedResponse::json(200, chatAnswer("I have a cat.")));
        const FixOutcome changed = finish(engine.fix("I has a cat.", {}, nullptr, {}));
        const FixOutcome unchanged = finish(engine.fix("I have a cat.", {}, nullptr, {}));
        QVERIFY(changed.hasValue() && unchanged.hasValue());
        QVERIFY(changed.value().editCount.value_or(0) > 0);
        QCOMPARE(unchanged.value().editCount, std::optional<qint64>(0));
        QVERIFY(!m_server.requests().first().headers.contains("authorization"));
    }

    void checksComeBeforeAnyRequest_data()
    {
        QTest::addColumn<bool>("configured");
        QTest::addColumn<QString>("url");
        QTest::addColumn<QString>("text");
        QTest::addColumn<FixError>("expected");
        const QString good = "http://127.0.0.1:9/v1";
        QTest::newRow("not configured") << false << good << "text" << FixError(TextFixError::engineUnavailable());
        QTest::newRow("blank text") << true << good << " \n " << FixError(TextFixError::emptyInput());
        QTest::newRow("100001 characters") << true << good << QString(100001, u'x')
                                           << FixError(TextFixError::inputTooLong(100000));
        QTest::newRow("unusable URL") << true << "localhost v1" << "text" << FixError(TextFixError::networkError());
    }

    void checksComeBeforeAnyRequest()
    {
        QFETCH(bool, configured);
        QFETCH(QString, url);
        QFETCH(QString, text);
        QFETCH(FixError, expected);
        m_config = {url, QString(), configured};
        auto trace = std::make_shared<TraceCollector>();
        const FixOutcome outcome = fix(text, trace);
        QVERIFY(!outcome.hasValue());
        QCOMPARE(outcome.error(), expected);
        QVERIFY(trace->events().isEmpty());
        QCOMPARE(m_server.requestCount(), 0);
        // Availability follows the same switch, read when asked.
        CustomOpenAIEngine engine([this] { return m_config; }, {});
        QCOMPARE(finish(engine.isAvailable()), configured);
    }

    void longTextsAreChunked_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("answers"); // each chunk is answered with its length
        QTest::addColumn<QString>("firstStep");
        QTest::newRow("one chunk's worth is sent whole, untrimmed") << QString(15999, u'x') + u' ' << "16000"
                                                                    << "request_started: POST /chat/completions";
        QTest::newRow("paragraph break at 12000") << QString(11998, u'a') + "\n\n" + QString(8000, u'b')
                                                  << "11998\n\n8000" << "chunking_started: 2 chunks";
        QTest::newRow("longest text accepted, cut hard")
            << QString(100000, u'x') << QStringList(6, "16000").join("\n\n") + "\n\n4000" << "chunking_started: 7 chunks";
    }

    void longTextsAreChunked()
    {
        QFETCH(QString, text);
        QFETCH(QString, answers);
        QFETCH(QString, firstStep);
        m_server.setHandler([](const RecordedRequest& request) {
            return CannedResponse::json(200, chatAnswer(QString::number(userContent(request).size())));
        });
        auto trace = std::make_shared<TraceCollector>();
        const FixOutcome outcome = fix(text, trace);
        QVERIFY(outcome.hasValue());
        QCOMPARE(outcome.value().fixedText, answers);
        QCOMPARE(m_server.requestCount(), int(answers.count(u'\n') / 2 + 1));
        QCOMPARE(traceLines(trace).first(), firstStep);
    }

    void chunksAreAllInFlightAtOnceAndJoinedInOrder()
    {
        // Seven chunks: more than the six connections a network manager opens to one host.
        AnswerGate gate(m_server, 7, [](const RecordedRequest& request) {
            return CannedResponse::json(200, chatAnswer(userContent(request).left(3).toUpper()));
        });
        auto trace = std::make_shared<TraceCollector>();
        const QString text = paragraphs(7);
        const FixOutcome outcome = fix(text, trace);

        QVERIFY(gate.arrivedWhileNoneReleased());
        QVERIFY(outcome.hasValue());
        QCOMPARE(outcome.value().fixedText, "AAA\n\nBBB\n\nCCC\n\nDDD\n\nEEE\n\nFFF\n\nGGG");
        QCOMPARE(outcome.value().originalText, text);
        // The edits are counted once, over the whole text.
        QCOMPARE(m_counted, (QList<QPair<QString, QString>>{{text, outcome.value().fixedText}}));
        QStringList sent;
        for (const RecordedRequest& request : m_server.requests())
            sent.append(userContent(request));
        std::sort(sent.begin(), sent.end());
        QCOMPARE(sent, text.split("\n\n"));

        const QStringList lines = traceLines(trace);
        QCOMPARE(lines.first(), "chunking_started: 7 chunks");
        for (int i = 1; i <= 7; ++i)
            QVERIFY(lines.contains(QStringLiteral("request_started: POST /chat/completions (chunk %1)").arg(i)));
        QCOMPARE(lines.count("response_received: HTTP 200 (… ms)"), 7);
    }

    void firstFailureFailsTheFixAndStopsTheOthers()
    {
        // All four are in before the third chunk's refusal leaves; the others would answer late.
        AnswerGate gate(m_server, 4, [](const RecordedRequest& request) {
            if (userContent(request).startsWith(u'c'))
                return CannedResponse::text(401, "{}");
            return CannedResponse::json(200, chatAnswer("slow"), 20000);
        });
        auto trace = std::make_shared<TraceCollector>();
        const FixOutcome outcome = fix(paragraphs(4), trace, CancellationToken::none(), 30s);
        QVERIFY(!outcome.hasValue());
        QCOMPARE(outcome.error(), FixError(CustomEndpointError::authenticationFailed));
        // The others were aborted, not waited for: no other answer was ever recorded.
        const QStringList lines = traceLines(trace);
        QCOMPARE(lines.filter("response_received"), QStringList{"response_received: HTTP 401 (… ms)"});
        QCOMPARE(lines.filter("request_started").size(), 4);
        QVERIFY(m_counted.isEmpty());
        QVERIFY(gate.arrivedWhileNoneReleased());
    }

    void cancellingStopsEveryChunk()
    {
        CancellationToken cancel;
        int seen = 0;
        m_server.setHandler([&](const RecordedRequest&) {
            if (++seen == 3)
                QTimer::singleShot(0, [cancel] { cancel.cancel(); });
            return CannedResponse::json(200, chatAnswer("slow"), 20000);
        });
        auto trace = std::make_shared<TraceCollector>();
        const FixOutcome outcome = fix(paragraphs(3), trace, cancel, 30s);
        QVERIFY(!outcome.hasValue());
        QVERIFY(traceLines(trace).filter("response_received").isEmpty());
        QVERIFY(m_counted.isEmpty());
    }

    void transportFailuresAreNotRetried_data()
    {
        QTest::addColumn<QString>("url"); // empty: the test server
        QTest::addColumn<CannedResponse>("response");
        QTest::addColumn<QString>("summary");
        QTest::addColumn<int>("requests");
        const CannedResponse slow = CannedResponse::json(200, chatAnswer("late"), 3000);
        QTest::newRow("time-out") << QString() << slow << "timeout" << 1;
        QTest::newRow("dropped") << QString() << CannedResponse::dropped() << "connection lost" << 1;
        QTest::newRow("not HTTP") << QString() << garbage() << "connection lost" << 1;
        QTest::newRow("unresolvable host") << "http://tembrel-engine-test.invalid/v1" << slow << "cannot find host" << 0;
        QTest::newRow("refused") << refusedUrl("/v1") << slow << "cannot connect to host" << 0;
    }

    void transportFailuresAreNotRetried()
    {
        QFETCH(QString, url);
        QFETCH(CannedResponse, response);
        QFETCH(QString, summary);
        QFETCH(int, requests);
        m_server.setDefaultResponse(response);
        if (!url.isEmpty())
            m_config.url = url;
        auto trace = std::make_shared<TraceCollector>();
        const FixOutcome outcome = fix("text", trace, CancellationToken::none(), 200ms);
        QVERIFY(!outcome.hasValue());
        QVERIFY(std::holds_alternative<OtherError>(outcome.error()));
        QCOMPARE(traceLines(trace), (QStringList{"request_started: POST /chat/completions", "request_failed: " + summary}));
        QCOMPARE(m_server.requestCount(), requests);
    }
};

QTEST_GUILESS_MAIN(CustomOpenAIEngineTest)
#include "tst_customopenaiengine.moc"
