#include "engines/ConnectionTestState.h"
#include "engines/HttpExchange.h"

#include "EngineTestSupport.h"
#include "support/TestEnvironment.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QSignalSpy>
#include <QCoro/QCoroTask>

using namespace std::chrono_literals;

Q_DECLARE_METATYPE(NetworkFailure)

class ConnectionTesterTest : public QObject
{
    Q_OBJECT

    TestEnvironment m_environment;
    TestHttpServer m_server;

    std::optional<QString> run(const QString& url, const QString& key = QString(), const QString& model = QString(),
                               std::chrono::milliseconds timeout = 2s)
    {
        ConnectionTester tester;
        tester.setTimeout(timeout);
        return EngineTest::finish(tester.run(url, key, model, QStringLiteral("Default prompt.")));
    }

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(m_server.listen());
    }

    void init()
    {
        m_server.clearRequests();
        m_server.setDefaultResponse(CannedResponse::json(200, {}));
    }

    void sendsTheSampleRequest()
    {
        QCOMPARE(run(m_server.url(QStringLiteral("/v1/")).toString(), QStringLiteral("sk-made-up"), QStringLiteral(" m1 ")),
                 std::nullopt);
        const RecordedRequest request = m_server.requests().first();
        QCOMPARE(request.path, QByteArray("/v1/chat/completions"));
        QCOMPARE(request.header("authorization"), QByteArray("Bearer sk-made-up"));
        QCOMPARE(request.header("content-type"), QByteArray("application/json"));
        const QJsonObject body = request.json();
        QCOMPARE(body.value(QStringLiteral("model")).toString(), QStringLiteral("m1"));
        const QJsonArray messages = body.value(QStringLiteral("messages")).toArray();
        QCOMPARE(messages.at(0).toObject().value(QStringLiteral("content")).toString(), QStringLiteral("Default prompt."));
        QCOMPARE(messages.at(1).toObject().value(QStringLiteral("content")).toString(),
                 QStringLiteral("I has a meeting tomorow and their going to be late."));
    }

    void noKeyNoModelLeavesBothOut()
    {
        QCOMPARE(run(m_server.url(QStringLiteral("/v1")).toString()), std::nullopt);
        const RecordedRequest request = m_server.requests().first();
        QVERIFY(!request.headers.contains("authorization"));
        QVERIFY(!request.json().contains(QStringLiteral("model")));
    }

    void answersBecomeVerdicts_data()
    {
        QTest::addColumn<CannedResponse>("response");
        QTest::addColumn<QString>("message"); // empty: success

        QTest::newRow("200") << CannedResponse::text(200, "not even JSON") << QString();
        QTest::newRow("429 counts as reachable") << CannedResponse::text(429, "") << QString();
        QTest::newRow("401") << CannedResponse::text(401, "") << QStringLiteral("Authentication failed");
        QTest::newRow("403") << CannedResponse::text(403, "") << QStringLiteral("Authentication failed");
        QTest::newRow("404") << CannedResponse::text(404, "") << QStringLiteral("Endpoint not found");
        QTest::newRow("418") << CannedResponse::text(418, "") << QStringLiteral("Unexpected response (418)");
        QTest::newRow("400") << CannedResponse::text(400, "") << QStringLiteral("Unexpected response (400)");
        QTest::newRow("500") << CannedResponse::text(500, "") << QStringLiteral("Server error");
        QTest::newRow("503") << CannedResponse::text(503, "") << QStringLiteral("Server error");
        CannedResponse garbage;
        garbage.garbage = true;
        // Bytes that are not HTTP end, after the network stack's own resends, as a closed connection.
        QTest::newRow("not HTTP") << garbage << QStringLiteral("No internet connection");
        CannedResponse dropped = CannedResponse::dropped();
        QTest::newRow("dropped connection") << dropped << QStringLiteral("No internet connection");
    }

    void answersBecomeVerdicts()
    {
        QFETCH(CannedResponse, response);
        QFETCH(QString, message);
        m_server.setDefaultResponse(response); // a drop is resent once by the network stack
        const std::optional<QString> verdict = run(m_server.url(QStringLiteral("/v1")).toString());
        QCOMPARE(verdict.value_or(QString()), message);
        QCOMPARE(verdict.has_value(), !message.isEmpty());
    }

    void unreachableEndpoints_data()
    {
        QTest::addColumn<QString>("url");
        QTest::addColumn<QString>("message");
        QTest::newRow("unresolvable host") << QStringLiteral("http://tembrel-connection-test.invalid/v1")
                                           << QStringLiteral("Couldn't reach that URL");
        QTest::newRow("invalid URL") << QStringLiteral("not a url") << QStringLiteral("Invalid URL");
        QTest::newRow("blank URL") << QStringLiteral(" \n") << QStringLiteral("Invalid URL");
    }

    void unreachableEndpoints()
    {
        QFETCH(QString, url);
        QFETCH(QString, message);
        QCOMPARE(run(url), std::optional<QString>(message));
    }

    void refusedConnectionFails()
    {
        TestHttpServer closed;
        QVERIFY(closed.listen());
        const QString url = closed.url(QStringLiteral("/v1")).toString();
        closed.close();
        QCOMPARE(run(url), std::optional<QString>(QStringLiteral("Connection failed")));
    }

    void slowEndpointTimesOut()
    {
        m_server.setDefaultResponse(CannedResponse::json(200, {}, 3000));
        QCOMPARE(run(m_server.url(QStringLiteral("/v1")).toString(), {}, {}, 200ms),
                 std::optional<QString>(QStringLiteral("Connection timed out")));
    }

    void failuresMapToMessages_data()
    {
        QTest::addColumn<NetworkFailure>("failure");
        QTest::addColumn<QString>("message");
        const auto qt = [](QNetworkReply::NetworkError error) { return NetworkFailure::fromReplyError(error); };
        QTest::newRow("time-out") << qt(QNetworkReply::TimeoutError) << QStringLiteral("Connection timed out");
        QTest::newRow("transfer time-out") << qt(QNetworkReply::OperationCanceledError)
                                           << QStringLiteral("Connection timed out");
        QTest::newRow("ssl") << qt(QNetworkReply::SslHandshakeFailedError) << QStringLiteral("SSL/TLS error");
        QTest::newRow("no network") << qt(QNetworkReply::TemporaryNetworkFailureError)
                                    << QStringLiteral("No internet connection");
        QTest::newRow("closed") << qt(QNetworkReply::RemoteHostClosedError) << QStringLiteral("No internet connection");
        QTest::newRow("host") << qt(QNetworkReply::HostNotFoundError) << QStringLiteral("Couldn't reach that URL");
        QTest::newRow("dns lookup code") << NetworkFailure::fromCode(-1006) << QStringLiteral("Couldn't reach that URL");
        QTest::newRow("refused") << qt(QNetworkReply::ConnectionRefusedError) << QStringLiteral("Connection failed");
        QTest::newRow("unknown") << qt(QNetworkReply::UnknownNetworkError) << QStringLiteral("Connection failed");
        QTest::newRow("not from the network") << NetworkFailure::nonNetwork(QStringLiteral("x"))
                                              << QStringLiteral("Connection failed");
    }

    void failuresMapToMessages()
    {
        QFETCH(NetworkFailure, failure);
        QFETCH(QString, message);
        QCOMPARE(ConnectionTester::messageFor(failure), message);
    }

    void stateGoesFromTestingToAVerdict()
    {
        ConnectionTestState state([] { return QStringLiteral("Prompt of the default mode."); });
        QCOMPARE(state.status(), ConnectionTestState::Status::Idle);
        QSignalSpy changed(&state, &ConnectionTestState::changed);

        m_server.enqueue(CannedResponse::text(403, ""));
        state.test(m_server.url(QStringLiteral("/v1")).toString(), QStringLiteral("bad"), QString());
        QCOMPARE(state.status(), ConnectionTestState::Status::Testing);
        QVERIFY(state.isTesting());
        QTRY_COMPARE(state.status(), ConnectionTestState::Status::Failed);
        QCOMPARE(state.message(), QStringLiteral("Authentication failed"));
        QCOMPARE(changed.size(), 2);
        QCOMPARE(m_server.requests().first().json().value(QStringLiteral("messages")).toArray().at(0).toObject()
                     .value(QStringLiteral("content")).toString(),
                 QStringLiteral("Prompt of the default mode."));

        state.test(m_server.url(QStringLiteral("/v1")).toString(), QStringLiteral("good"), QString());
        QCOMPARE(state.message(), QString());
        QTRY_COMPARE(state.status(), ConnectionTestState::Status::Success);

        state.reset();
        QCOMPARE(state.status(), ConnectionTestState::Status::Idle);
    }

    void newTestAbandonsTheRunningOne()
    {
        ConnectionTestState state([] { return QStringLiteral("p"); });
        m_server.enqueue(CannedResponse::text(500, "", 1500));
        state.test(m_server.url(QStringLiteral("/slow")).toString(), {}, {});
        QVERIFY(m_server.waitForRequests(1));
        m_server.enqueue(CannedResponse::text(200, ""));
        state.test(m_server.url(QStringLiteral("/fast")).toString(), {}, {});
        QTRY_COMPARE(state.status(), ConnectionTestState::Status::Success);
        // The first test's late "Server error" must never replace the verdict of the second.
        QTest::qWait(1700);
        QCOMPARE(state.status(), ConnectionTestState::Status::Success);
    }

    void resetWhileTestingStaysIdle()
    {
        ConnectionTestState state([] { return QStringLiteral("p"); });
        m_server.enqueue(CannedResponse::text(401, "", 300));
        state.test(m_server.url(QStringLiteral("/v1")).toString(), {}, {});
        QVERIFY(m_server.waitForRequests(1));
        state.reset();
        QTest::qWait(500);
        QCOMPARE(state.status(), ConnectionTestState::Status::Idle);
        QCOMPARE(state.message(), QString());
    }
};

QTEST_GUILESS_MAIN(ConnectionTesterTest)
#include "tst_connectiontester.moc"
