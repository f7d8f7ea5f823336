#include "app/BuildConfig.h"
#include "engines/CloudEngine.h"
#include "engines/HttpExchange.h"

#include "EngineTestSupport.h"
#include "support/TestEnvironment.h"

#include <QTimer>

using namespace std::chrono_literals;
using namespace EngineTest;

namespace {

CannedResponse fixed(const QString& fixedText, qint64 edits, int delayMs = 0)
{
    return CannedResponse::json(200, {{"fixedText", fixedText}, {"editCount", edits}}, delayMs);
}

} // namespace

// The product's own service, against a real server: the request, the status mapping, the single
// retry after a transport failure, and cancellation.
class CloudEngineTest : public QObject
{
    Q_OBJECT

    TestEnvironment m_environment;
    TestHttpServer m_server;

    FixOutcome fix(const QString& text, const TracePtr& trace, const QString& baseUrl = {},
                   std::chrono::milliseconds timeout = 2s, CancellationToken cancel = CancellationToken::none())
    {
        CloudEngine engine(baseUrl.isNull() ? m_server.url().toString() : baseUrl, [] { return "0190c1a2-test-client"; });
        engine.setTimeout(timeout);
        return finish(engine.fix(text, "Fix grammar.", trace, cancel));
    }

private Q_SLOTS:
    void initTestCase() { QVERIFY(m_server.listen()); }

    void init()
    {
        m_server.clearRequests();
        m_server.setHandler({});
        m_server.setDefaultResponse(fixed("unused", 0));
    }

    void sendsTheFixRequest()
    {
        m_server.enqueue(fixed("I have a cat.", 2));
        auto trace = std::make_shared<TraceCollector>();
        const QString text = "  i has a cat. ";
        const FixOutcome outcome = fix(text, trace, m_server.url().toString() + u'/');

        QVERIFY(outcome.hasValue());
        QCOMPARE(outcome.value(), (FixResult{text, "I have a cat.", 2, {}, {}, {}}));
        QCOMPARE(m_server.requestCount(), 1);
        const RecordedRequest request = m_server.requests().first();
        QCOMPARE(request.method, "POST");
        QCOMPARE(request.path, "/api/fix");
        QCOMPARE(request.header("content-type"), "application/json");
        QCOMPARE(request.header("x-posthog-distinct-id"), "0190c1a2-test-client");
        QCOMPARE(request.json(), (QJsonObject{{"text", text}, {"systemPrompt", "Fix grammar."}, {"requestId", trace->id()}}));
        QCOMPARE(traceLines(trace), (QStringList{"request_started: POST /api/fix", "response_received: HTTP 200 (… ms)"}));

        // Without a trace there is no request id to send.
        QVERIFY(fix("text", nullptr).hasValue());
        QVERIFY(!m_server.requests().last().json().contains("requestId"));
    }

    void statusesMapToErrors_data()
    {
        QTest::addColumn<CannedResponse>("response");
        QTest::addColumn<FixError>("expected");
        const FixError processing = TextFixError::processingFailed();
        const FixError tooLong = TextFixError::inputTooLong(100000);
        const FixError other = OtherError{};
        const auto text = [](int status, const char* body) { return CannedResponse::text(status, body); };
        QTest::newRow("400 input too long") << text(400, R"({"error":"Text too long","code":"INPUT_TOO_LONG"})") << tooLong;
        QTest::newRow("400 input too long, nested")
            << text(400, R"({"error":{"message":"Text too long","code":"INPUT_TOO_LONG"}})") << tooLong;
        QTest::newRow("400 other code") << text(400, R"({"error":"Empty","code":"EMPTY_TEXT"})") << processing;
        QTest::newRow("400 code in wrong case") << text(400, R"({"error":"x","code":"input_too_long"})") << processing;
        QTest::newRow("400 undecodable") << text(400, "<html>bad</html>") << processing;
        QTest::newRow("400 empty body") << text(400, "") << processing;
        QTest::newRow("401") << text(401, R"({"error":"no"})") << processing;
        QTest::newRow("403") << text(403, "") << processing;
        QTest::newRow("404") << text(404, "") << processing;
        QTest::newRow("418") << text(418, "I'm a teapot") << processing;
        QTest::newRow("429") << text(429, R"({"error":"slow down"})") << FixError(TextFixError::rateLimited());
        QTest::newRow("500") << text(500, "") << processing;
        QTest::newRow("503") << text(503, "<html>down</html>") << processing;
        QTest::newRow("200 not JSON") << text(200, "<html>ok</html>") << other;
        QTest::newRow("200 without editCount") << text(200, R"({"fixedText":"x"})") << other;
        QTest::newRow("200 fractional editCount") << text(200, R"({"fixedText":"x","editCount":1.5})") << other;
        QTest::newRow("200 null fixedText") << text(200, R"({"fixedText":null,"editCount":1})") << other;
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
        // A status is the service's verdict: never retried.
        QCOMPARE(m_server.requestCount(), 1);
        QCOMPARE(traceLines(trace).last(), QStringLiteral("response_received: HTTP %1 (… ms)").arg(response.status));
    }

    void checksComeBeforeAnyRequest_data()
    {
        QTest::addColumn<QString>("baseUrl"); // null: the test server
        QTest::addColumn<QString>("text");
        QTest::addColumn<FixError>("expected");
        const FixError tooLong = TextFixError::inputTooLong(100000);
        const FixError unusable = TextFixError::networkError();
        QTest::newRow("empty") << QString() << "" << FixError(TextFixError::emptyInput());
        QTest::newRow("blanks and line breaks") << QString() << " \n\t\r\n " << FixError(TextFixError::emptyInput());
        QTest::newRow("100001 characters") << QString() << QString(100001, u'x') << tooLong;
        QTest::newRow("100001 characters, mostly blank") << QString() << "x" + QString(100000, u' ') << tooLong;
        QTest::newRow("empty URL") << QString("") << "text" << unusable;
        QTest::newRow("URL without scheme") << "127.0.0.1:8787" << "text" << unusable;
        QTest::newRow("file URL") << "file:///tmp" << "text" << unusable;
        QTest::newRow("broken URL") << "http://exa mple.com" << "text" << unusable;
    }

    void checksComeBeforeAnyRequest()
    {
        QFETCH(QString, baseUrl);
        QFETCH(QString, text);
        QFETCH(FixError, expected);
        auto trace = std::make_shared<TraceCollector>();
        const FixOutcome outcome = fix(text, trace, baseUrl);
        QVERIFY(!outcome.hasValue());
        QCOMPARE(outcome.error(), expected);
        QCOMPARE(m_server.requestCount(), 0);
        QVERIFY(trace->events().isEmpty());
    }

    void sendsExactlyTheLongestText()
    {
        // 100000 characters, of which many are two-code-unit accented letters.
        const QString text = QString("e\u0301x").repeated(50000);
        QCOMPARE(text.size(), 150000);
        QVERIFY(fix(text, nullptr).hasValue());
        QCOMPARE(m_server.requests().first().json().value("text").toString(), text);
    }

    void retriesOnceAfterADroppedConnection()
    {
        // A connection closed before any answer is one failed attempt, never resent behind the
        // engine's back: the retry is the second request the server sees, and the trace shows it.
        m_server.enqueue(CannedResponse::dropped());
        m_server.enqueue(fixed("Fixed.", 1));
        auto trace = std::make_shared<TraceCollector>();
        const FixOutcome outcome = fix("fixd", trace);
        QVERIFY(outcome.hasValue());
        QCOMPARE(outcome.value().fixedText, "Fixed.");
        QCOMPARE(m_server.requestCount(), 2);
        QCOMPARE(traceLines(trace), (QStringList{"request_started: POST /api/fix", "request_failed: connection lost",
                                                 "retry_started: attempt 2 after 500ms delay",
                                                 "response_received: HTTP 200 (… ms)"}));
        QCOMPARE(m_server.requests().at(1).body, m_server.requests().at(0).body); // the same request both times
        const auto events = trace->events();
        QVERIFY(events.at(1).timestamp.msecsTo(events.at(3).timestamp) >= 500);
    }

    void transportFailuresAreRetriedOnceThenANetworkError_data()
    {
        QTest::addColumn<QString>("baseUrl"); // null: the test server
        QTest::addColumn<CannedResponse>("response");
        QTest::addColumn<QString>("summary");
        QTest::addColumn<int>("requests");
        QTest::newRow("time-out") << QString() << fixed("late", 0, 3000) << "timeout" << 2;
        QTest::newRow("dropped") << QString() << CannedResponse::dropped() << "connection lost" << 2;
        QTest::newRow("not HTTP") << QString() << garbage() << "connection lost" << 2;
        QTest::newRow("unresolvable host") << "http://tembrel-engine-test.invalid" << fixed("x", 0) << "cannot find host" << 0;
        QTest::newRow("refused") << refusedUrl() << fixed("x", 0) << "cannot connect to host" << 0;
    }

    void transportFailuresAreRetriedOnceThenANetworkError()
    {
        QFETCH(QString, baseUrl);
        QFETCH(CannedResponse, response);
        QFETCH(QString, summary);
        QFETCH(int, requests);
        m_server.setDefaultResponse(response);
        auto trace = std::make_shared<TraceCollector>();
        const FixOutcome outcome = fix("text", trace, baseUrl, 200ms);
        QVERIFY(!outcome.hasValue());
        const auto* error = std::get_if<TextFixError>(&outcome.error());
        QVERIFY(error && error->kind() == TextFixError::Kind::networkError);
        QCOMPARE(error->underlying().value_or(NetworkFailure{}).summary(), summary);
        QCOMPARE(traceLines(trace), (QStringList{"request_started: POST /api/fix", "request_failed: " + summary,
                                                 "retry_started: attempt 2 after 500ms delay", "retry_failed: " + summary}));
        QCOMPARE(m_server.requestCount(), requests);
    }

    void cancellingAbortsTheRequestInFlight()
    {
        CancellationToken cancel;
        m_server.setHandler([&](const RecordedRequest&) {
            QTimer::singleShot(0, [cancel] { cancel.cancel(); });
            return fixed("late", 0, 5000);
        });
        auto trace = std::make_shared<TraceCollector>();
        const FixOutcome outcome = fix("text", trace, {}, 10s, cancel);
        QVERIFY(!outcome.hasValue());
        QCOMPARE(m_server.requestCount(), 1);
        // Neither a retry nor a response: the run just stops.
        QCOMPARE(traceLines(trace), QStringList{"request_started: POST /api/fix"});

        // Nor does the pause before a retry outlast a cancellation.
        CancellationToken later;
        QTimer::singleShot(0, [later] { later.cancel(); });
        QCOMPARE(finish(cancellablePause(60s, later)), false);
        QCOMPARE(finish(cancellablePause(1ms, CancellationToken::none())), true);
    }

    void baseUrlComesFromTheEnvironmentWhenSet()
    {
        qputenv("TEMBREL_CLOUD_URL", "http://127.0.0.1:1/elsewhere");
        QCOMPARE(CloudEngine::baseUrlFromEnvironment(), "http://127.0.0.1:1/elsewhere");
        qunsetenv("TEMBREL_CLOUD_URL");
        // Without the variable the build's own address holds, empty unless the build names a service.
        QCOMPARE(CloudEngine::baseUrlFromEnvironment(), QString::fromUtf8(BuildConfig::cloudUrl));
        QVERIFY(finish(CloudEngine(QString(), {}).isAvailable())); // the service is always there to try
    }
};

QTEST_GUILESS_MAIN(CloudEngineTest)
#include "tst_cloudengine.moc"
