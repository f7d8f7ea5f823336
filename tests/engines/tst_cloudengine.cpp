#include "engines/CloudEngine.h"
#include "engines/HttpExchange.h"

#include "EngineTestSupport.h"
#include "support/TestEnvironment.h"

#include <QJsonObject>
#include <QTimer>
#include <QCoro/QCoroTask>

using namespace std::chrono_literals;
using EngineTest::traceLines;

namespace {

QJsonObject fixResponse(const QString& fixedText, qint64 edits)
{
    return {{QStringLiteral("fixedText"), fixedText}, {QStringLiteral("editCount"), edits}};
}

QString distinctId()
{
    return QStringLiteral("0190c1a2-test-client");
}

} // namespace

class CloudEngineTest : public QObject
{
    Q_OBJECT

    TestEnvironment m_environment;
    TestHttpServer m_server;

    std::unique_ptr<CloudEngine> engineFor(const QString& baseUrl, std::chrono::milliseconds timeout = 2s)
    {
        auto engine = std::make_unique<CloudEngine>(baseUrl, &distinctId);
        engine->setTimeout(timeout);
        return engine;
    }

    FixOutcome fix(CloudEngine& engine, const QString& text, const TracePtr& trace,
                   CancellationToken cancel = CancellationToken::none())
    {
        return EngineTest::finish(engine.fix(text, QStringLiteral("Fix grammar."), trace, cancel));
    }

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(m_server.listen());
    }

    void init()
    {
        m_server.clearRequests();
        m_server.setHandler({});
        m_server.setDefaultResponse(CannedResponse::json(200, fixResponse(QStringLiteral("unused"), 0)));
    }

    void sendsTheFixRequest()
    {
        m_server.enqueue(CannedResponse::json(200, fixResponse(QStringLiteral("I have a cat."), 2)));
        auto engine = engineFor(m_server.url().toString() + u'/');
        auto trace = std::make_shared<TraceCollector>();
        const QString text = QStringLiteral("  i has a cat. ");

        const FixOutcome outcome = fix(*engine, text, trace);

        QVERIFY(outcome.hasValue());
        QCOMPARE(outcome.value(), (FixResult{text, QStringLiteral("I have a cat."), 2, {}, {}, {}}));
        QCOMPARE(m_server.requestCount(), 1);
        const RecordedRequest request = m_server.requests().first();
        QCOMPARE(request.method, QByteArray("POST"));
        QCOMPARE(request.path, QByteArray("/api/fix"));
        QCOMPARE(request.header("content-type"), QByteArray("application/json"));
        QCOMPARE(request.header("x-posthog-distinct-id"), QByteArray("0190c1a2-test-client"));
        QCOMPARE(request.json(), (QJsonObject{{QStringLiteral("text"), text},
                                              {QStringLiteral("systemPrompt"), QStringLiteral("Fix grammar.")},
                                              {QStringLiteral("requestId"), trace->id()}}));
        QCOMPARE(traceLines(trace).join(u'|'), QStringList({QStringLiteral("request_started: POST /api/fix"),
                                                 QStringLiteral("response_received: HTTP 200 (… ms)")}).join(u'|'));
    }

    void requestIdIsLeftOutWithoutATrace()
    {
        auto engine = engineFor(m_server.url().toString());
        QVERIFY(fix(*engine, QStringLiteral("text"), nullptr).hasValue());
        QVERIFY(!m_server.requests().first().json().contains(QStringLiteral("requestId")));
    }

    void statusesMapToErrors_data()
    {
        QTest::addColumn<CannedResponse>("response");
        QTest::addColumn<FixError>("expected");

        const auto processing = FixError(TextFixError::processingFailed());
        const auto json = [](int status, const char* body) { return CannedResponse::text(status, QByteArray(body)); };
        QTest::newRow("400 input too long") << json(400, R"({"error":"Text too long","code":"INPUT_TOO_LONG"})")
                                            << FixError(TextFixError::inputTooLong(100000));
        QTest::newRow("400 input too long, nested")
            << json(400, R"({"error":{"message":"Text too long","code":"INPUT_TOO_LONG"}})")
            << FixError(TextFixError::inputTooLong(100000));
        QTest::newRow("400 other code") << json(400, R"({"error":"Empty","code":"EMPTY_TEXT"})")
                                        << FixError(TextFixError::emptyInput());
        QTest::newRow("400 code in wrong case") << json(400, R"({"error":"x","code":"input_too_long"})")
                                                << FixError(TextFixError::emptyInput());
        QTest::newRow("400 undecodable") << json(400, "<html>bad</html>") << FixError(TextFixError::emptyInput());
        QTest::newRow("400 empty body") << json(400, "") << FixError(TextFixError::emptyInput());
        QTest::newRow("401") << json(401, R"({"error":"no"})") << processing;
        QTest::newRow("403") << json(403, "") << processing;
        QTest::newRow("404") << json(404, "") << processing;
        QTest::newRow("418") << json(418, "I'm a teapot") << processing;
        QTest::newRow("429") << json(429, R"({"error":"slow down"})") << FixError(TextFixError::rateLimited());
        QTest::newRow("500") << json(500, "") << processing;
        QTest::newRow("503") << json(503, "<html>down</html>") << processing;
        QTest::newRow("200 not JSON") << json(200, "<html>ok</html>") << FixError(OtherError{});
        QTest::newRow("200 without editCount") << json(200, R"({"fixedText":"x"})") << FixError(OtherError{});
        QTest::newRow("200 fractional editCount") << json(200, R"({"fixedText":"x","editCount":1.5})")
                                                  << FixError(OtherError{});
        QTest::newRow("200 null fixedText") << json(200, R"({"fixedText":null,"editCount":1})")
                                            << FixError(OtherError{});
    }

    void statusesMapToErrors()
    {
        QFETCH(CannedResponse, response);
        QFETCH(FixError, expected);
        m_server.enqueue(response);
        auto engine = engineFor(m_server.url().toString());
        auto trace = std::make_shared<TraceCollector>();

        const FixOutcome outcome = fix(*engine, QStringLiteral("Some text."), trace);

        QVERIFY(!outcome.hasValue());
        if (std::holds_alternative<OtherError>(expected))
            QVERIFY(std::holds_alternative<OtherError>(outcome.error()));
        else
            QCOMPARE(outcome.error(), expected);
        // A status is the service's verdict: never retried.
        QCOMPARE(m_server.requestCount(), 1);
        QCOMPARE(traceLines(trace).last(), QStringLiteral("response_received: HTTP %1 (… ms)").arg(response.status));
    }

    void rejectsEmptyAndOverlongTextBeforeAnyRequest_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<FixError>("expected");
        QTest::newRow("empty") << QString() << FixError(TextFixError::emptyInput());
        QTest::newRow("blanks and line breaks") << QStringLiteral(" \n\t\r\n ") << FixError(TextFixError::emptyInput());
        QTest::newRow("100001 characters") << QString(100001, u'x') << FixError(TextFixError::inputTooLong(100000));
        QTest::newRow("100001 characters, mostly blank") << QStringLiteral("x") + QString(100000, u' ')
                                                         << FixError(TextFixError::inputTooLong(100000));
    }

    void rejectsEmptyAndOverlongTextBeforeAnyRequest()
    {
        QFETCH(QString, text);
        QFETCH(FixError, expected);
        auto engine = engineFor(m_server.url().toString());
        auto trace = std::make_shared<TraceCollector>();
        const FixOutcome outcome = fix(*engine, text, trace);
        QVERIFY(!outcome.hasValue());
        QCOMPARE(outcome.error(), expected);
        QCOMPARE(m_server.requestCount(), 0);
        QVERIFY(trace->events().isEmpty());
    }

    void sendsExactlyTheLongestText()
    {
        // 100000 characters, of which many are two-code-unit accented letters.
        QString text;
        for (int i = 0; i < 50000; ++i)
            text += QStringLiteral("e\u0301x");
        QCOMPARE(text.size(), 150000);
        auto engine = engineFor(m_server.url().toString());
        QVERIFY(fix(*engine, text, nullptr).hasValue());
        QCOMPARE(m_server.requests().first().json().value(QStringLiteral("text")).toString(), text);
    }

    void retriesOnceAfterADroppedConnection()
    {
        // The network stack resends once by itself on a closed connection: two drops are one
        // failed attempt as the engine sees it.
        m_server.enqueue(CannedResponse::dropped());
        m_server.enqueue(CannedResponse::dropped());
        m_server.enqueue(CannedResponse::json(200, fixResponse(QStringLiteral("Fixed."), 1)));
        auto engine = engineFor(m_server.url().toString());
        auto trace = std::make_shared<TraceCollector>();

        const FixOutcome outcome = fix(*engine, QStringLiteral("fixd"), trace);

        QVERIFY(outcome.hasValue());
        QCOMPARE(outcome.value().fixedText, QStringLiteral("Fixed."));
        QCOMPARE(m_server.requestCount(), 3);
        QCOMPARE(traceLines(trace).join(u'|'), QStringList({QStringLiteral("request_started: POST /api/fix"),
                                                 QStringLiteral("request_failed: connection lost"),
                                                 QStringLiteral("retry_started: attempt 2 after 500ms delay"),
                                                 QStringLiteral("response_received: HTTP 200 (… ms)")}).join(u'|'));
        // The same request both times.
        QCOMPARE(m_server.requests().at(2).body, m_server.requests().at(0).body);
        const auto events = trace->events();
        QVERIFY(events.at(1).timestamp.msecsTo(events.at(3).timestamp) >= 500);
    }

    void timeoutOnBothAttemptsIsANetworkError()
    {
        m_server.setDefaultResponse(CannedResponse::json(200, fixResponse(QStringLiteral("late"), 0), 3000));
        auto engine = engineFor(m_server.url().toString(), 200ms);
        auto trace = std::make_shared<TraceCollector>();

        const FixOutcome outcome = fix(*engine, QStringLiteral("text"), trace);

        QVERIFY(!outcome.hasValue());
        const auto* error = std::get_if<TextFixError>(&outcome.error());
        QVERIFY(error);
        QCOMPARE(error->kind(), TextFixError::Kind::networkError);
        QVERIFY(error->underlying());
        QCOMPARE(error->underlying()->kind, NetworkFailure::Kind::timeout);
        QCOMPARE(traceLines(trace).join(u'|'), QStringList({QStringLiteral("request_started: POST /api/fix"),
                                                 QStringLiteral("request_failed: timeout"),
                                                 QStringLiteral("retry_started: attempt 2 after 500ms delay"),
                                                 QStringLiteral("retry_failed: timeout")}).join(u'|'));
        QCOMPARE(m_server.requestCount(), 2);
    }

    void unresolvableHostFailsBothAttempts()
    {
        auto engine = engineFor(QStringLiteral("http://tembrel-engine-test.invalid"));
        auto trace = std::make_shared<TraceCollector>();
        const FixOutcome outcome = fix(*engine, QStringLiteral("text"), trace);
        QVERIFY(!outcome.hasValue());
        const auto* error = std::get_if<TextFixError>(&outcome.error());
        QVERIFY(error && error->kind() == TextFixError::Kind::networkError);
        QCOMPARE(error->underlying().value_or(NetworkFailure{}).kind, NetworkFailure::Kind::cannotFindHost);
        QCOMPARE(traceLines(trace).join(u'|'), QStringList({QStringLiteral("request_started: POST /api/fix"),
                                                 QStringLiteral("request_failed: cannot find host"),
                                                 QStringLiteral("retry_started: attempt 2 after 500ms delay"),
                                                 QStringLiteral("retry_failed: cannot find host")}).join(u'|'));
    }

    void garbageAnswerIsALostConnection()
    {
        // The network stack resends on bytes that are not HTTP, then reports the connection lost.
        CannedResponse garbage;
        garbage.garbage = true;
        m_server.setDefaultResponse(garbage);
        auto engine = engineFor(m_server.url().toString());
        auto trace = std::make_shared<TraceCollector>();
        const FixOutcome outcome = fix(*engine, QStringLiteral("text"), trace);
        QVERIFY(!outcome.hasValue());
        const auto* error = std::get_if<TextFixError>(&outcome.error());
        QVERIFY(error && error->kind() == TextFixError::Kind::networkError);
        QCOMPARE(error->underlying().value_or(NetworkFailure{}).kind, NetworkFailure::Kind::connectionLost);
        QCOMPARE(traceLines(trace).join(u'|'), QStringList({QStringLiteral("request_started: POST /api/fix"),
                                                            QStringLiteral("request_failed: connection lost"),
                                                            QStringLiteral("retry_started: attempt 2 after 500ms delay"),
                                                            QStringLiteral("retry_failed: connection lost")}).join(u'|'));
    }

    void unusableBaseUrlFailsWithoutRequest_data()
    {
        QTest::addColumn<QString>("baseUrl");
        QTest::newRow("empty") << QString();
        QTest::newRow("no scheme") << QStringLiteral("127.0.0.1:8787");
        QTest::newRow("file") << QStringLiteral("file:///tmp");
        QTest::newRow("broken") << QStringLiteral("http://exa mple.com");
    }

    void unusableBaseUrlFailsWithoutRequest()
    {
        QFETCH(QString, baseUrl);
        auto engine = engineFor(baseUrl);
        auto trace = std::make_shared<TraceCollector>();
        const FixOutcome outcome = fix(*engine, QStringLiteral("text"), trace);
        QVERIFY(!outcome.hasValue());
        QCOMPARE(outcome.error(), FixError(TextFixError::networkError()));
        QVERIFY(trace->events().isEmpty());
    }

    void cancellingAbortsTheRequestInFlight()
    {
        CancellationToken cancel;
        m_server.setHandler([&](const RecordedRequest&) {
            QTimer::singleShot(0, [cancel] { cancel.cancel(); });
            return CannedResponse::json(200, fixResponse(QStringLiteral("late"), 0), 5000);
        });
        auto engine = engineFor(m_server.url().toString(), 10s);
        auto trace = std::make_shared<TraceCollector>();

        const FixOutcome outcome = fix(*engine, QStringLiteral("text"), trace, cancel);

        QVERIFY(!outcome.hasValue());
        QCOMPARE(m_server.requestCount(), 1);
        // Neither a retry nor a response: the run just stops.
        QCOMPARE(traceLines(trace).join(u'|'), QStringList({QStringLiteral("request_started: POST /api/fix")}).join(u'|'));
    }

    void retryPauseEndsEarlyWhenCancelled()
    {
        CancellationToken cancel;
        QTimer::singleShot(0, [cancel] { cancel.cancel(); });
        QCOMPARE(EngineTest::finish(cancellablePause(60s, cancel)), false);
        QCOMPARE(EngineTest::finish(cancellablePause(1ms, CancellationToken::none())), true);
    }

    void baseUrlComesFromTheEnvironmentWhenSet()
    {
        qputenv("TEMBREL_CLOUD_URL", "http://127.0.0.1:1/elsewhere");
        QCOMPARE(CloudEngine::baseUrlFromEnvironment(), QStringLiteral("http://127.0.0.1:1/elsewhere"));
        qunsetenv("TEMBREL_CLOUD_URL");
        QVERIFY(!CloudEngine::baseUrlFromEnvironment().isEmpty());
        QVERIFY(CloudEngine::baseUrlFromEnvironment() != QStringLiteral("http://127.0.0.1:1/elsewhere"));
    }

    void isAlwaysAvailable()
    {
        auto engine = engineFor(QString());
        QVERIFY(EngineTest::finish(engine->isAvailable()));
    }
};

QTEST_GUILESS_MAIN(CloudEngineTest)
#include "tst_cloudengine.moc"
