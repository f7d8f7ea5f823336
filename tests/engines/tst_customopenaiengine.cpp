#include "engines/CustomOpenAIEngine.h"

#include "EngineTestSupport.h"
#include "support/TestEnvironment.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QTimer>
#include <QCoro/QCoroTask>
#include <QCoro/QCoroTimer>

using namespace std::chrono_literals;
using EngineTest::traceLines;

Q_DECLARE_METATYPE(std::optional<QString>)

namespace {

QJsonObject chatAnswer(const QString& content)
{
    return {{QStringLiteral("choices"),
             QJsonArray{QJsonObject{{QStringLiteral("message"),
                                     QJsonObject{{QStringLiteral("role"), QStringLiteral("assistant")},
                                                 {QStringLiteral("content"), content}}}}}}};
}

QString userContent(const RecordedRequest& request)
{
    return request.json().value(QStringLiteral("messages")).toArray().at(1).toObject().value(QStringLiteral("content")).toString();
}

// Paragraphs of one repeated letter each, long enough that every paragraph becomes its own chunk.
QString paragraphs(int count, qsizetype length = 9000)
{
    QStringList list;
    for (int i = 0; i < count; ++i)
        list.append(QString(length, QChar(u'a' + i)));
    return list.join(QStringLiteral("\n\n"));
}

} // namespace

class CustomOpenAIEngineTest : public QObject
{
    Q_OBJECT

    TestEnvironment m_environment;
    TestHttpServer m_server;
    CustomEndpointConfig m_config;
    std::optional<QString> m_apiKey;
    QList<QPair<QString, QString>> m_counted;

    std::unique_ptr<CustomOpenAIEngine> makeEngine(std::chrono::milliseconds timeout = 2s)
    {
        auto engine = std::make_unique<CustomOpenAIEngine>(
            [this] { return m_config; },
            [this]() -> QCoro::Task<std::optional<QString>> {
                // Like the keyring, the key arrives asynchronously.
                co_await QCoro::sleepFor(1ms);
                co_return m_apiKey;
            },
            [this](const QString& original, const QString& fixed) {
                m_counted.append({original, fixed});
                return qint64(fixed.size() - original.size() + 1000);
            });
        engine->setTimeout(timeout);
        return engine;
    }

    FixOutcome fix(const QString& text, const TracePtr& trace = nullptr,
                   CancellationToken cancel = CancellationToken::none(), std::chrono::milliseconds timeout = 2s)
    {
        auto engine = makeEngine(timeout);
        return EngineTest::finish(engine->fix(text, QStringLiteral("Proofread."), trace, cancel));
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
        m_server.setDefaultResponse(CannedResponse::json(200, chatAnswer(QStringLiteral("Fixed."))));
        m_config = {m_server.url(QStringLiteral("/v1")).toString(), QStringLiteral("test-model"), true};
        m_apiKey = QStringLiteral("sk-made-up-test-key");
        m_counted.clear();
    }

    void sendsOneChatCompletion()
    {
        auto trace = std::make_shared<TraceCollector>();
        const FixOutcome outcome = fix(QStringLiteral("I has a cat."), trace);

        QVERIFY(outcome.hasValue());
        QCOMPARE(outcome.value(), (FixResult{QStringLiteral("I has a cat."), QStringLiteral("Fixed."), 1000 - 6, {}, {}, {}}));
        QCOMPARE(m_counted, (QList<QPair<QString, QString>>{{QStringLiteral("I has a cat."), QStringLiteral("Fixed.")}}));
        const RecordedRequest request = m_server.requests().first();
        QCOMPARE(request.method, QByteArray("POST"));
        QCOMPARE(request.path, QByteArray("/v1/chat/completions"));
        QCOMPARE(request.header("content-type"), QByteArray("application/json"));
        QCOMPARE(request.header("authorization"), QByteArray("Bearer sk-made-up-test-key"));
        QCOMPARE(request.json().value(QStringLiteral("model")).toString(), QStringLiteral("test-model"));
        QCOMPARE(request.json().value(QStringLiteral("messages")).toArray().at(0).toObject().value(QStringLiteral("content")),
                 QJsonValue(QStringLiteral("Proofread.")));
        QCOMPARE(userContent(request), QStringLiteral("I has a cat."));
        QCOMPARE(traceLines(trace).join(u'|'), QStringList({QStringLiteral("request_started: POST /chat/completions"),
                                                 QStringLiteral("response_received: HTTP 200 (… ms)")}).join(u'|'));
    }

    void urlAndHeadersFollowTheSettings_data()
    {
        QTest::addColumn<QString>("suffix");
        QTest::addColumn<QString>("model");
        QTest::addColumn<std::optional<QString>>("key");
        QTest::addColumn<QByteArray>("authorization");
        QTest::addColumn<bool>("hasModel");

        const auto key = std::optional<QString>(QStringLiteral("k-1"));
        QTest::newRow("trailing slash") << QStringLiteral("/v1/") << QStringLiteral("m") << key << QByteArray("Bearer k-1") << true;
        QTest::newRow("blanks around the URL") << QStringLiteral("/v1 \n") << QStringLiteral("m") << key
                                                << QByteArray("Bearer k-1") << true;
        QTest::newRow("blank model") << QStringLiteral("/v1") << QStringLiteral(" \n ") << key << QByteArray("Bearer k-1")
                                     << false;
        QTest::newRow("no key") << QStringLiteral("/v1") << QStringLiteral("m") << std::optional<QString>() << QByteArray()
                                << true;
        QTest::newRow("empty key") << QStringLiteral("/v1") << QStringLiteral("m") << std::optional<QString>(QString())
                                   << QByteArray() << true;
    }

    void urlAndHeadersFollowTheSettings()
    {
        QFETCH(QString, suffix);
        QFETCH(QString, model);
        QFETCH(std::optional<QString>, key);
        QFETCH(QByteArray, authorization);
        QFETCH(bool, hasModel);
        m_config = {m_server.url().toString() + suffix, model, true};
        m_apiKey = key;

        QVERIFY(fix(QStringLiteral("text")).hasValue());

        const RecordedRequest request = m_server.requests().first();
        QCOMPARE(request.path, QByteArray("/v1/chat/completions"));
        QCOMPARE(request.headers.contains("authorization"), !authorization.isEmpty());
        QCOMPARE(request.header("authorization"), authorization);
        QCOMPARE(request.json().contains(QStringLiteral("model")), hasModel);
    }

    void statusesMapToErrors_data()
    {
        QTest::addColumn<CannedResponse>("response");
        QTest::addColumn<FixError>("expected");
        QTest::addColumn<QString>("panel");

        const auto text = [](int status, const char* body) { return CannedResponse::text(status, QByteArray(body)); };
        const QString auth = QStringLiteral("API authentication failed. Check your API key.");
        const QString server = QStringLiteral("Your API endpoint returned an error.");
        const QString processing = QStringLiteral("Couldn't process that text. Try again?");
        const QString wrong = QStringLiteral("Something went wrong. Try again?");
        QTest::newRow("400") << text(400, R"({"error":{"message":"bad","code":"INPUT_TOO_LONG"}})")
                             << FixError(TextFixError::processingFailed()) << processing;
        QTest::newRow("401") << text(401, R"({"error":{"message":"Invalid key"}})")
                             << FixError(CustomEndpointError::authenticationFailed) << auth;
        QTest::newRow("403") << text(403, R"({"error":"forbidden"})") << FixError(CustomEndpointError::authenticationFailed)
                             << auth;
        QTest::newRow("404") << text(404, "") << FixError(TextFixError::processingFailed()) << processing;
        QTest::newRow("418") << text(418, "teapot") << FixError(TextFixError::processingFailed()) << processing;
        QTest::newRow("429") << text(429, "") << FixError(TextFixError::rateLimited())
                             << QStringLiteral("Service is busy. Try again in a moment.");
        QTest::newRow("500") << text(500, "oops") << FixError(CustomEndpointError::serverError) << server;
        QTest::newRow("503") << text(503, "") << FixError(CustomEndpointError::serverError) << server;
        QTest::newRow("599") << text(599, "") << FixError(CustomEndpointError::serverError) << server;
        QTest::newRow("200 empty choices") << text(200, R"({"choices":[]})") << FixError(TextFixError::emptyResponse()) << wrong;
        QTest::newRow("200 null content") << text(200, R"({"choices":[{"message":{"content":null}}]})")
                                          << FixError(TextFixError::emptyResponse()) << wrong;
        QTest::newRow("200 undecodable") << text(200, "not json") << FixError(OtherError{}) << wrong;
        QTest::newRow("200 error body") << text(200, R"({"error":{"message":"overloaded"}})") << FixError(OtherError{})
                                        << wrong;
    }

    void statusesMapToErrors()
    {
        QFETCH(CannedResponse, response);
        QFETCH(FixError, expected);
        QFETCH(QString, panel);
        m_server.enqueue(response);
        auto trace = std::make_shared<TraceCollector>();

        const FixOutcome outcome = fix(QStringLiteral("Some text."), trace);

        QVERIFY(!outcome.hasValue());
        if (std::holds_alternative<OtherError>(expected))
            QVERIFY(std::holds_alternative<OtherError>(outcome.error()));
        else
            QCOMPARE(outcome.error(), expected);
        QCOMPARE(panelMessage(outcome.error(), true), panel);
        QCOMPARE(m_server.requestCount(), 1); // never retried
        QCOMPARE(traceLines(trace).last(), QStringLiteral("response_received: HTTP %1 (… ms)").arg(response.status));
        QVERIFY(m_counted.isEmpty());
    }

    void editCountComesFromTheWordDiff()
    {
        const CustomEndpointConfig config = m_config;
        CustomOpenAIEngine engine([config] { return config; }, {});
        m_server.enqueue(CannedResponse::json(200, chatAnswer(QStringLiteral("I have a cat."))));
        m_server.enqueue(CannedResponse::json(200, chatAnswer(QStringLiteral("I have a cat."))));
        const FixOutcome changed = EngineTest::finish(engine.fix(QStringLiteral("I has a cat."), {}, nullptr, {}));
        const FixOutcome unchanged = EngineTest::finish(engine.fix(QStringLiteral("I have a cat."), {}, nullptr, {}));
        QVERIFY(changed.hasValue() && unchanged.hasValue());
        QVERIFY(changed.value().editCount.value_or(0) > 0);
        QCOMPARE(unchanged.value().editCount, std::optional<qint64>(0));
        // Without a key provider the request simply goes without a key.
        QVERIFY(!m_server.requests().first().headers.contains("authorization"));
    }

    void answerWithReasoningKeepsOnlyTheContent()
    {
        m_server.enqueue(CannedResponse::text(200, QByteArray(
            R"({"choices":[{"message":{"reasoning_content":"The user wrote has...","content":"<think>plan</think>\n\nI have a cat."}}]})")));
        const FixOutcome outcome = fix(QStringLiteral("I has a cat."));
        QVERIFY(outcome.hasValue());
        QCOMPARE(outcome.value().fixedText, QStringLiteral("I have a cat."));
    }

    void checksComeBeforeAnyRequest_data()
    {
        QTest::addColumn<bool>("configured");
        QTest::addColumn<QString>("url");
        QTest::addColumn<QString>("text");
        QTest::addColumn<FixError>("expected");
        const QString good = QStringLiteral("http://127.0.0.1:9/v1");
        QTest::newRow("not configured") << false << good << QStringLiteral("text") << FixError(TextFixError::engineUnavailable());
        QTest::newRow("blank text") << true << good << QStringLiteral(" \n ") << FixError(TextFixError::emptyInput());
        QTest::newRow("100001 characters") << true << good << QString(100001, u'x')
                                           << FixError(TextFixError::inputTooLong(100000));
        QTest::newRow("unusable URL") << true << QStringLiteral("localhost v1") << QStringLiteral("text")
                                      << FixError(TextFixError::networkError());
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
    }

    void availabilityFollowsTheSettingsWhenAsked()
    {
        auto engine = makeEngine();
        QVERIFY(EngineTest::finish(engine->isAvailable()));
        m_config.isConfigured = false;
        QVERIFY(!EngineTest::finish(engine->isAvailable()));
    }

    void textOfOneChunkIsSentWhole()
    {
        auto trace = std::make_shared<TraceCollector>();
        const QString text = QString(15999, u'x') + u' ';
        QVERIFY(fix(text, trace).hasValue());
        QCOMPARE(m_server.requestCount(), 1);
        QCOMPARE(userContent(m_server.requests().first()), text);
        QCOMPARE(traceLines(trace).first(), QStringLiteral("request_started: POST /chat/completions"));
    }

    void chunksAreAllInFlightAtOnceAndJoinedInOrder()
    {
        // Seven chunks: more than the six connections a network manager opens to one host.
        const int count = 7;
        EngineTest::AnswerGate gate(m_server, count, [](const RecordedRequest& request) {
            return CannedResponse::json(200, chatAnswer(userContent(request).left(3).toUpper()));
        });
        auto trace = std::make_shared<TraceCollector>();
        const QString text = paragraphs(count);

        const FixOutcome outcome = fix(text, trace);

        QVERIFY(gate.arrivedWhileNoneReleased());
        QVERIFY(outcome.hasValue());
        QCOMPARE(outcome.value().fixedText, QStringLiteral("AAA\n\nBBB\n\nCCC\n\nDDD\n\nEEE\n\nFFF\n\nGGG"));
        QCOMPARE(outcome.value().originalText, text);
        QCOMPARE(m_counted.size(), 1);
        QCOMPARE(m_counted.first().first, text);
        QCOMPARE(outcome.value().editCount, qint64(outcome.value().fixedText.size() - text.size() + 1000));

        QStringList sent;
        for (const RecordedRequest& request : m_server.requests())
            sent.append(userContent(request));
        std::sort(sent.begin(), sent.end());
        QCOMPARE(sent, text.split(QStringLiteral("\n\n")));

        const QStringList lines = traceLines(trace);
        QCOMPARE(lines.first(), QStringLiteral("chunking_started: 7 chunks"));
        for (int i = 1; i <= count; ++i)
            QVERIFY(lines.contains(QStringLiteral("request_started: POST /chat/completions (chunk %1)").arg(i)));
        QCOMPARE(lines.count(QStringLiteral("response_received: HTTP 200 (… ms)")), count);
    }

    void paragraphBreakAt12000SplitsInTwo()
    {
        m_server.setHandler([](const RecordedRequest& request) {
            return CannedResponse::json(200, chatAnswer(QString::number(userContent(request).size())));
        });
        const QString text = QString(11998, u'a') + QStringLiteral("\n\n") + QString(8000, u'b');
        QCOMPARE(text.size(), 20000);
        auto trace = std::make_shared<TraceCollector>();
        const FixOutcome outcome = fix(text, trace);
        QVERIFY(outcome.hasValue());
        QCOMPARE(outcome.value().fixedText, QStringLiteral("11998\n\n8000"));
        QCOMPARE(traceLines(trace).first(), QStringLiteral("chunking_started: 2 chunks"));
    }

    void longestTextIsAcceptedAndChunked()
    {
        const FixOutcome outcome = fix(QString(100000, u'x'));
        QVERIFY(outcome.hasValue());
        // Hard cuts at 16000: six full chunks and one of 4000.
        QCOMPARE(m_server.requestCount(), 7);
    }

    void firstFailureFailsTheFixAndStopsTheOthers()
    {
        // All four are in before the third chunk's refusal leaves; the others would answer late.
        EngineTest::AnswerGate gate(m_server, 4, [](const RecordedRequest& request) {
            if (userContent(request).startsWith(u'c'))
                return CannedResponse::text(401, "{}");
            return CannedResponse::json(200, chatAnswer(QStringLiteral("slow")), 20000);
        });
        auto trace = std::make_shared<TraceCollector>();

        const FixOutcome outcome = fix(paragraphs(4), trace, CancellationToken::none(), 30s);

        QVERIFY(!outcome.hasValue());
        QCOMPARE(outcome.error(), FixError(CustomEndpointError::authenticationFailed));
        const QStringList lines = traceLines(trace);
        QCOMPARE(lines.count(QStringLiteral("response_received: HTTP 401 (… ms)")), 1);
        // The others were aborted, not waited for: no other answer was ever recorded.
        QCOMPARE(lines.filter(QStringLiteral("response_received")).size(), 1);
        QCOMPARE(lines.filter(QStringLiteral("request_started")).size(), 4);
        QVERIFY(m_counted.isEmpty());
        QVERIFY(gate.arrivedWhileNoneReleased());
    }

    void timeoutIsAFailureWithATraceEvent()
    {
        m_server.setDefaultResponse(CannedResponse::json(200, chatAnswer(QStringLiteral("late")), 3000));
        auto trace = std::make_shared<TraceCollector>();
        const FixOutcome outcome = fix(QStringLiteral("text"), trace, CancellationToken::none(), 200ms);
        QVERIFY(!outcome.hasValue());
        QVERIFY(std::holds_alternative<OtherError>(outcome.error()));
        QCOMPARE(traceLines(trace).join(u'|'), QStringList({QStringLiteral("request_started: POST /chat/completions"),
                                                 QStringLiteral("request_failed: timeout")}).join(u'|'));
        QCOMPARE(m_server.requestCount(), 1);
    }

    void unresolvableHostFails()
    {
        m_config.url = QStringLiteral("http://tembrel-engine-test.invalid/v1");
        auto trace = std::make_shared<TraceCollector>();
        const FixOutcome outcome = fix(QStringLiteral("text"), trace);
        QVERIFY(!outcome.hasValue());
        QCOMPARE(traceLines(trace).last(), QStringLiteral("request_failed: cannot find host"));
    }

    void garbageAnswerIsALostConnection()
    {
        CannedResponse garbage;
        garbage.garbage = true;
        m_server.setDefaultResponse(garbage);
        auto trace = std::make_shared<TraceCollector>();
        const FixOutcome outcome = fix(QStringLiteral("text"), trace);
        QVERIFY(!outcome.hasValue());
        QVERIFY(std::holds_alternative<OtherError>(outcome.error()));
        QCOMPARE(traceLines(trace).last(), QStringLiteral("request_failed: connection lost"));
    }

    void cancellingStopsEveryChunk()
    {
        CancellationToken cancel;
        int seen = 0;
        m_server.setHandler([&](const RecordedRequest&) {
            if (++seen == 3)
                QTimer::singleShot(0, [cancel] { cancel.cancel(); });
            return CannedResponse::json(200, chatAnswer(QStringLiteral("slow")), 20000);
        });
        auto trace = std::make_shared<TraceCollector>();
        const FixOutcome outcome = fix(paragraphs(3), trace, cancel, 30s);
        QVERIFY(!outcome.hasValue());
        QVERIFY(traceLines(trace).filter(QStringLiteral("response_received")).isEmpty());
        QVERIFY(m_counted.isEmpty());
    }
};

QTEST_GUILESS_MAIN(CustomOpenAIEngineTest)
#include "tst_customopenaiengine.moc"
