#include "engines/ConnectionTestState.h"
#include "engines/HttpExchange.h"

#include "EngineTestSupport.h"
#include "support/TestEnvironment.h"

#include <QSignalSpy>

using namespace std::chrono_literals;
using namespace EngineTest;
using Status = ConnectionTestState::Status;

Q_DECLARE_METATYPE(NetworkFailure)
Q_DECLARE_METATYPE(Status)

// The settings window's "Test connection": one sample request, and a verdict in words.
class ConnectionTesterTest : public QObject
{
    Q_OBJECT

    TestEnvironment m_environment;
    TestHttpServer m_server;

    std::optional<QString> run(const QString& url, const QString& key = {}, const QString& model = {},
                               std::chrono::milliseconds timeout = 2s)
    {
        ConnectionTester tester;
        tester.setTimeout(timeout);
        return finish(tester.run(url, key, model, "Default prompt."));
    }

private Q_SLOTS:
    void initTestCase() { QVERIFY(m_server.listen()); }

    void init()
    {
        m_server.clearRequests();
        m_server.setDefaultResponse(CannedResponse::json(200, {}));
    }

    void sendsTheSampleRequest()
    {
        QCOMPARE(run(m_server.url("/v1/").toString(), "sk-made-up", " m1 "), std::nullopt);
        const RecordedRequest request = m_server.requests().first();
        QCOMPARE(request.path, "/v1/chat/completions");
        QCOMPARE(request.header("authorization"), "Bearer sk-made-up");
        QCOMPARE(request.header("content-type"), "application/json");
        QCOMPARE(request.json().value("model").toString(), "m1");
        QCOMPARE(request.json().value("messages").toArray().at(0).toObject().value("content").toString(),
                 "Default prompt.");
        QCOMPARE(userContent(request), "I has a meeting tomorow and their going to be late.");

        // Without a key and a model, both are left out.
        QCOMPARE(run(m_server.url("/v1").toString()), std::nullopt);
        QVERIFY(!m_server.requests().last().headers.contains("authorization"));
        QVERIFY(!m_server.requests().last().json().contains("model"));
    }

    void verdicts_data()
    {
        QTest::addColumn<QString>("url"); // empty: the test server
        QTest::addColumn<CannedResponse>("response");
        QTest::addColumn<QString>("message"); // empty: success
        const auto answer = [](int status) { return CannedResponse::text(status, ""); };
        QTest::newRow("200, whatever the body") << QString() << CannedResponse::text(200, "not even JSON") << QString();
        QTest::newRow("429 counts as reachable") << QString() << answer(429) << QString();
        QTest::newRow("401") << QString() << answer(401) << "Authentication failed";
        QTest::newRow("403") << QString() << answer(403) << "Authentication failed";
        QTest::newRow("404") << QString() << answer(404) << "Endpoint not found";
        QTest::newRow("418") << QString() << answer(418) << "Unexpected response (418)";
        QTest::newRow("400") << QString() << answer(400) << "Unexpected response (400)";
        QTest::newRow("500") << QString() << answer(500) << "Server error";
        QTest::newRow("503") << QString() << answer(503) << "Server error";
        // Bytes that are not HTTP end as a closed connection; nothing is sent a second time.
        QTest::newRow("not HTTP") << QString() << garbage() << "No internet connection";
        QTest::newRow("dropped connection") << QString() << CannedResponse::dropped() << "No internet connection";
        QTest::newRow("slow") << QString() << CannedResponse::json(200, {}, 3000) << "Connection timed out";
        QTest::newRow("refused") << refusedUrl("/v1") << answer(200) << "Connection failed";
        QTest::newRow("unresolvable host") << "http://tembrel-connection-test.invalid/v1" << answer(200)
                                           << "Couldn't reach that URL";
        QTest::newRow("invalid URL") << "not a url" << answer(200) << "Invalid URL";
        QTest::newRow("blank URL") << " \n" << answer(200) << "Invalid URL";
    }

    void verdicts()
    {
        QFETCH(QString, url);
        QFETCH(CannedResponse, response);
        QFETCH(QString, message);
        m_server.setDefaultResponse(response); // a drop is resent once by the network stack
        const std::optional<QString> verdict = run(url.isEmpty() ? m_server.url("/v1").toString() : url, {}, {},
                                                   response.delayMs ? 200ms : 2s);
        QCOMPARE(verdict.value_or(QString()), message);
        QCOMPARE(verdict.has_value(), !message.isEmpty());
    }

    void failuresMapToMessages_data()
    {
        QTest::addColumn<NetworkFailure>("failure");
        QTest::addColumn<QString>("message");
        const auto qt = [](QNetworkReply::NetworkError error) { return NetworkFailure::fromReplyError(error); };
        QTest::newRow("time-out") << qt(QNetworkReply::TimeoutError) << "Connection timed out";
        QTest::newRow("transfer time-out") << qt(QNetworkReply::OperationCanceledError) << "Connection timed out";
        QTest::newRow("ssl") << qt(QNetworkReply::SslHandshakeFailedError) << "SSL/TLS error";
        QTest::newRow("no network") << qt(QNetworkReply::TemporaryNetworkFailureError) << "No internet connection";
        QTest::newRow("closed") << qt(QNetworkReply::RemoteHostClosedError) << "No internet connection";
        QTest::newRow("host") << qt(QNetworkReply::HostNotFoundError) << "Couldn't reach that URL";
        QTest::newRow("dns lookup code") << NetworkFailure::fromCode(-1006) << "Couldn't reach that URL";
        QTest::newRow("refused") << qt(QNetworkReply::ConnectionRefusedError) << "Connection failed";
        QTest::newRow("unknown") << qt(QNetworkReply::UnknownNetworkError) << "Connection failed";
        QTest::newRow("not from the network") << NetworkFailure::nonNetwork("x") << "Connection failed";
    }

    void failuresMapToMessages()
    {
        QFETCH(NetworkFailure, failure);
        QFETCH(QString, message);
        QCOMPARE(ConnectionTester::messageFor(failure), message);
    }

    void stateGoesFromTestingToAVerdict()
    {
        ConnectionTestState state([] { return "Prompt of the default mode."; });
        QCOMPARE(state.status(), Status::Idle);
        QSignalSpy changed(&state, &ConnectionTestState::changed);
        m_server.enqueue(CannedResponse::text(403, ""));
        state.test(m_server.url("/v1").toString(), "bad", QString());
        QCOMPARE(state.status(), Status::Testing);
        QVERIFY(state.isTesting());
        QTRY_COMPARE(state.status(), Status::Failed);
        QCOMPARE(state.message(), "Authentication failed");
        QCOMPARE(changed.size(), 2);
        QCOMPARE(m_server.requests().first().json().value("messages").toArray().at(0).toObject().value("content").toString(),
                 "Prompt of the default mode.");

        state.test(m_server.url("/v1").toString(), "good", QString());
        QCOMPARE(state.message(), QString());
        QTRY_COMPARE(state.status(), Status::Success);
        state.reset();
        QCOMPARE(state.status(), Status::Idle);
    }

    void lateVerdictOfAnAbandonedTestIsIgnored_data()
    {
        QTest::addColumn<bool>("testAgain"); // else reset
        QTest::addColumn<Status>("status");
        QTest::newRow("a new test") << true << Status::Success;
        QTest::newRow("reset") << false << Status::Idle;
    }

    void lateVerdictOfAnAbandonedTestIsIgnored()
    {
        QFETCH(bool, testAgain);
        QFETCH(Status, status);
        ConnectionTestState state([] { return "p"; });
        m_server.enqueue(CannedResponse::text(500, "", 600));
        state.test(m_server.url("/slow").toString(), {}, {});
        QVERIFY(m_server.waitForRequests(1));
        if (testAgain)
            state.test(m_server.url("/fast").toString(), {}, {});
        else
            state.reset();
        QTRY_COMPARE(state.status(), status);
        // The first test's "Server error" arrives later and must never replace what is shown.
        QTest::qWait(800);
        QCOMPARE(state.status(), status);
        QCOMPARE(state.message(), QString());
    }
};

QTEST_GUILESS_MAIN(ConnectionTesterTest)
#include "tst_connectiontester.moc"
