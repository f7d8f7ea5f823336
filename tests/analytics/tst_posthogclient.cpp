#include "AnalyticsWire.h"
#include "analytics/PostHogClient.h"
#include "support/TestEnvironment.h"
#include "support/TestHttpServer.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QJsonArray>
#include <QTest>
#include <QThread>
#include <QUuid>
#include <memory>

using namespace std::chrono_literals;
using AnalyticsWire::decodeBatch;

// The client against a real HTTP server on 127.0.0.1: what goes over the wire, when, how often,
// and what is kept on disk in between.
class PostHogClientTest : public QObject
{
    Q_OBJECT

private:
    TestEnvironment m_env;
    int m_case = 0;

    QString freshFolder() { return m_env.dataHome() + QStringLiteral("/client-%1").arg(++m_case); }

    static QJsonObject numbered(int n) { return {{QStringLiteral("n"), n}}; }

    static QList<int> numbers(const QList<QJsonObject>& events)
    {
        QList<int> result;
        for (const QJsonObject& event : events)
            result.append(event.value(QStringLiteral("properties")).toObject().value(QStringLiteral("n")).toInt(-1));
        return result;
    }

    static QList<int> range(int from, int to)
    {
        QList<int> result;
        for (int i = from; i < to; ++i)
            result.append(i);
        return result;
    }

private Q_SLOTS:
    void batchMatchesTheWireFormat()
    {
        TestHttpServer server;
        QVERIFY(server.listen());
        PostHogConfig config = AnalyticsWire::testConfig(server, freshFolder());
        const QDateTime fixed = QDateTime::fromString(QStringLiteral("2024-05-01T09:30:00.250Z"), Qt::ISODateWithMs);
        config.clock = [fixed] { return fixed; };
        PostHogClient client(config);
        client.registerSuperProperties({{QStringLiteral("environment"), QStringLiteral("production")},
                                        {QStringLiteral("shadowed"), QStringLiteral("super")}});

        client.capture(QStringLiteral("probe_event"), {{QStringLiteral("count"), 3},
                                                       {QStringLiteral("flag"), true},
                                                       {QStringLiteral("shadowed"), QStringLiteral("own")}});
        client.flush();
        QVERIFY(server.waitForRequests(1));

        const RecordedRequest request = server.requests().first();
        QCOMPARE(request.method, QByteArray("POST"));
        QCOMPARE(request.path, QByteArray("/batch/"));
        QCOMPARE(request.header("content-type"), QByteArray("application/json"));
        QCOMPARE(request.header("content-encoding"), QByteArray("gzip"));
        QVERIFY(request.body.startsWith("\x1f\x8b")); // a gzip member, not plain JSON

        const QJsonObject body = decodeBatch(request);
        QCOMPARE(QStringList(body.keys()), (QStringList {"api_key", "batch", "sent_at"}));
        QCOMPARE(body.value("api_key").toString(), QString::fromLatin1(AnalyticsWire::testKey));
        QCOMPARE(body.value("sent_at").toString(), QStringLiteral("2024-05-01T09:30:00.250Z"));
        const QJsonArray batch = body.value("batch").toArray();
        QCOMPARE(batch.size(), 1);

        const QJsonObject event = batch.first().toObject();
        QCOMPARE(QStringList(event.keys()), (QStringList {"distinct_id", "event", "properties", "timestamp", "uuid"}));
        QCOMPARE(event.value("event").toString(), QStringLiteral("probe_event"));
        QCOMPARE(event.value("distinct_id").toString(), client.distinctId());
        QCOMPARE(event.value("timestamp").toString(), QStringLiteral("2024-05-01T09:30:00.250Z"));
        const QString uuid = event.value("uuid").toString();
        QVERIFY(!QUuid::fromString(uuid).isNull());
        QCOMPARE(uuid.at(14), QLatin1Char('7')); // time-ordered (version 7)

        const QJsonObject properties = event.value("properties").toObject();
        QCOMPARE(QStringList(properties.keys()),
                 (QStringList {"$lib", "$lib_version", "$session_id", "count", "environment", "flag", "shadowed"}));
        QCOMPARE(properties.value("$lib").toString(), QStringLiteral("tembrel-qt"));
        QCOMPARE(properties.value("$lib_version").toString(), QStringLiteral("9.8.7"));
        QVERIFY(!QUuid::fromString(properties.value("$session_id").toString()).isNull());
        QCOMPARE(properties.value("count").toInteger(-1), 3);
        QVERIFY(properties.value("flag").isBool() && properties.value("flag").toBool());
        QCOMPARE(properties.value("environment").toString(), QStringLiteral("production"));
        QCOMPARE(properties.value("shadowed").toString(), QStringLiteral("own"));
        QTRY_COMPARE(client.queuedCount(), 0);
    }

    void batchesHoldAtMostFiftyEventsInOrder()
    {
        TestHttpServer server;
        QVERIFY(server.listen());
        PostHogClient client(AnalyticsWire::testConfig(server, freshFolder()));
        for (int i = 0; i < 120; ++i)
            client.capture(QStringLiteral("e"), numbered(i));
        client.flush();
        QVERIFY(server.waitForRequests(3));
        QTRY_COMPARE(client.queuedCount(), 0);
        QCOMPARE(server.requestCount(), 3);

        QList<qsizetype> sizes;
        for (const RecordedRequest& request : server.requests())
            sizes.append(decodeBatch(request).value("batch").toArray().size());
        QCOMPARE(sizes, (QList<qsizetype> {50, 50, 20}));
        QCOMPARE(numbers(AnalyticsWire::events(server.requests())), range(0, 120));
    }

    void sendsOnItsOwnAtTwentyQueuedEvents()
    {
        TestHttpServer server;
        QVERIFY(server.listen());
        PostHogConfig config = AnalyticsWire::testConfig(server, freshFolder());
        config.flushAt = PostHogConfig {}.flushAt;
        QCOMPARE(config.flushAt, 20);
        PostHogClient client(config);
        for (int i = 0; i < 19; ++i)
            client.capture(QStringLiteral("e"), numbered(i));
        QTest::qWait(200);
        QCOMPARE(server.requestCount(), 0);

        client.capture(QStringLiteral("e"), numbered(19));
        QVERIFY(server.waitForRequests(1));
        QCOMPARE(numbers(AnalyticsWire::events(server.requests())), range(0, 20));
    }

    void sendsOnItsOwnWhenTheIntervalPasses()
    {
        TestHttpServer server;
        QVERIFY(server.listen());
        PostHogConfig config = AnalyticsWire::testConfig(server, freshFolder());
        config.flushInterval = 150ms;
        PostHogClient client(config);
        client.capture(QStringLiteral("lonely"));
        QVERIFY(server.waitForRequests(1, 3000));
        QCOMPARE(AnalyticsWire::events(server.requests()).size(), 1);
    }

    void retriesTemporaryFailures_data()
    {
        QTest::addColumn<QList<CannedResponse>>("failures");
        QTest::addColumn<int>("requestsUntilDelivered");
        QTest::newRow("503") << QList {CannedResponse::text(503, "busy")} << 2;
        QTest::newRow("500") << QList {CannedResponse::text(500, "oops")} << 2;
        QTest::newRow("502 then 504") << QList {CannedResponse::text(502, ""), CannedResponse::text(504, "")} << 3;
        QTest::newRow("429") << QList {CannedResponse::text(429, "slow down")} << 2;
        QTest::newRow("408") << QList {CannedResponse::text(408, "timeout")} << 2;
        // Qt resends once on a connection closed without an answer: one failed attempt, two drops.
        QTest::newRow("connection dropped") << QList {CannedResponse::dropped(), CannedResponse::dropped()} << 3;
        QTest::newRow("not http") << QList {[] { CannedResponse r; r.garbage = true; return r; }()} << 2;
    }

    void retriesTemporaryFailures()
    {
        QFETCH(QList<CannedResponse>, failures);
        QFETCH(int, requestsUntilDelivered);
        TestHttpServer server;
        QVERIFY(server.listen());
        for (const CannedResponse& failure : failures)
            server.enqueue(failure);
        PostHogClient client(AnalyticsWire::testConfig(server, freshFolder()));
        for (int i = 0; i < 3; ++i)
            client.capture(QStringLiteral("e"), numbered(i));
        client.flush();

        QVERIFY(server.waitForRequests(requestsUntilDelivered));
        QTRY_COMPARE(client.queuedCount(), 0);
        QTest::qWait(100);
        QCOMPARE(server.requestCount(), requestsUntilDelivered);
        // Every attempt carries the same events; the last one was taken.
        for (const RecordedRequest& request : server.requests())
            QCOMPARE(numbers(AnalyticsWire::events({request})), range(0, 3));
    }

    void waitsLongerAfterEachFailure()
    {
        TestHttpServer server;
        QVERIFY(server.listen());
        for (int i = 0; i < 5; ++i)
            server.enqueue(CannedResponse::text(503, ""));
        QList<qint64> arrivals;
        QElapsedTimer clock;
        clock.start();
        connect(&server, &TestHttpServer::requestReceived, this, [&] { arrivals.append(clock.elapsed()); });

        PostHogClient client(AnalyticsWire::testConfig(server, freshFolder())); // 40 ms doubling, at most 400 ms
        client.capture(QStringLiteral("e"));
        client.flush();
        QVERIFY(server.waitForRequests(6, 10000));
        QTRY_COMPARE(client.queuedCount(), 0);

        const QList<qint64> expected {40, 80, 160, 320, 400};
        for (int i = 0; i < expected.size(); ++i) {
            const qint64 gap = arrivals[i + 1] - arrivals[i];
            QVERIFY2(gap >= expected[i] * 9 / 10,
                     qPrintable(QStringLiteral("wait %1 was %2 ms, expected %3").arg(i + 1).arg(gap).arg(expected[i])));
        }
    }

    void honoursRetryAfter()
    {
        TestHttpServer server;
        QVERIFY(server.listen());
        CannedResponse limited = CannedResponse::text(429, "slow down");
        limited.headers.append(qMakePair(QByteArray("Retry-After"), QByteArray("1")));
        server.enqueue(limited);
        QList<qint64> arrivals;
        QElapsedTimer clock;
        clock.start();
        connect(&server, &TestHttpServer::requestReceived, this, [&] { arrivals.append(clock.elapsed()); });

        PostHogClient client(AnalyticsWire::testConfig(server, freshFolder()));
        client.capture(QStringLiteral("e"));
        client.flush();
        QVERIFY(server.waitForRequests(2, 5000));
        QVERIFY2(arrivals[1] - arrivals[0] >= 900, "the retry came before the server's Retry-After");
    }

    void flushDoesNotCutARetryWaitShort()
    {
        TestHttpServer server;
        QVERIFY(server.listen());
        server.enqueue(CannedResponse::text(503, ""));
        PostHogConfig config = AnalyticsWire::testConfig(server, freshFolder());
        config.retryInitialDelay = 10s;
        PostHogClient client(config);
        client.capture(QStringLiteral("e"));
        client.flush();
        QVERIFY(server.waitForRequests(1));
        client.flush();
        client.capture(QStringLiteral("e"));
        client.flush();
        QTest::qWait(300);
        QCOMPARE(server.requestCount(), 1);
    }

    void splitsABatchTheServerFindsTooLarge()
    {
        TestHttpServer server;
        QVERIFY(server.listen());
        QList<int> accepted;
        server.setHandler([&](const RecordedRequest& request) {
            const QList<QJsonObject> events = AnalyticsWire::events({request});
            if (events.size() > 10)
                return CannedResponse::text(413, "too large");
            accepted += numbers(events);
            return CannedResponse::json(200, {{"status", 1}});
        });
        PostHogClient client(AnalyticsWire::testConfig(server, freshFolder()));
        for (int i = 0; i < 45; ++i)
            client.capture(QStringLiteral("e"), numbered(i));
        client.flush();
        QTRY_COMPARE(client.queuedCount(), 0);
        QCOMPARE(accepted, range(0, 45)); // each event once, in order
    }

    void dropsASingleEventTooLargeToSendAndGoesOn()
    {
        TestHttpServer server;
        QVERIFY(server.listen());
        server.setHandler([](const RecordedRequest& request) {
            for (const QJsonObject& event : AnalyticsWire::events({request}))
                if (event.value("event").toString() == QLatin1String("huge"))
                    return CannedResponse::text(413, "too large");
            return CannedResponse::json(200, {});
        });
        PostHogClient client(AnalyticsWire::testConfig(server, freshFolder()));
        client.capture(QStringLiteral("e"), numbered(0));
        client.capture(QStringLiteral("huge"), numbered(1));
        client.capture(QStringLiteral("e"), numbered(2));
        client.flush();
        QTRY_COMPARE(client.queuedCount(), 0);

        QList<int> delivered;
        for (const RecordedRequest& request : server.requests()) {
            const QList<QJsonObject> events = AnalyticsWire::events({request});
            if (events.size() == 1 && events.first().value("event").toString() != QLatin1String("huge"))
                delivered += numbers(events);
        }
        QCOMPARE(delivered, (QList<int> {0, 2}));
    }

    void dropsABatchRefusedForGood_data()
    {
        QTest::addColumn<int>("status");
        QTest::newRow("400") << 400;
        QTest::newRow("401") << 401;
        QTest::newRow("403") << 403;
        QTest::newRow("404") << 404;
    }

    void dropsABatchRefusedForGood()
    {
        QFETCH(int, status);
        TestHttpServer server;
        QVERIFY(server.listen());
        server.enqueue(CannedResponse::text(status, "no"));
        PostHogClient client(AnalyticsWire::testConfig(server, freshFolder()));
        client.capture(QStringLiteral("e"), numbered(0));
        client.capture(QStringLiteral("e"), numbered(1));
        client.flush();
        QVERIFY(server.waitForRequests(1));
        QTRY_COMPARE(client.queuedCount(), 0);

        client.capture(QStringLiteral("e"), numbered(2));
        client.flush();
        QVERIFY(server.waitForRequests(2));
        QCOMPARE(numbers(AnalyticsWire::events({server.requests().last()})), QList<int> {2});
        QTest::qWait(100);
        QCOMPARE(server.requestCount(), 2);
    }

    void queueOnDiskBeforeTheAppQuits()
    {
        TestHttpServer server;
        QVERIFY(server.listen());
        const QString folder = freshFolder();
        PostHogClient client(AnalyticsWire::testConfig(server, folder));
        client.setNetworkReachable(false);
        for (int i = 0; i < 4; ++i)
            client.capture(QStringLiteral("e"), numbered(i));
        // No quit, no destructor: what a crash would leave behind after one turn of the event loop.
        QTRY_VERIFY(QFile::exists(folder + "/queue.jsonl"));
        QFile file(folder + "/queue.jsonl");
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(file.readAll().count('\n'), 4);
    }

    void queueSurvivesARestart()
    {
        TestHttpServer server;
        QVERIFY(server.listen());
        const QString folder = freshFolder();
        QString firstId;
        {
            PostHogClient first(AnalyticsWire::testConfig(server, folder));
            first.setNetworkReachable(false);
            for (int i = 0; i < 5; ++i)
                first.capture(QStringLiteral("e"), numbered(i));
            firstId = first.distinctId();
        }
        QCOMPARE(server.requestCount(), 0);

        PostHogClient second(AnalyticsWire::testConfig(server, folder));
        QCOMPARE(second.distinctId(), firstId);
        QCOMPARE(second.queuedCount(), 5);
        second.flush();
        QVERIFY(server.waitForRequests(1));
        const QList<QJsonObject> events = AnalyticsWire::events(server.requests());
        QCOMPARE(numbers(events), range(0, 5));
        for (const QJsonObject& event : events)
            QCOMPARE(event.value("distinct_id").toString(), firstId);
        QTRY_VERIFY(!QFile::exists(folder + "/queue.jsonl"));
    }

    void dropsTheOldestBeyondCapacity()
    {
        TestHttpServer server;
        QVERIFY(server.listen());
        PostHogConfig config = AnalyticsWire::testConfig(server, freshFolder());
        config.maxQueueSize = 5;
        PostHogClient client(config);
        client.setNetworkReachable(false);
        for (int i = 0; i < 8; ++i)
            client.capture(QStringLiteral("e"), numbered(i));
        QCOMPARE(client.queuedCount(), 5);
        client.setNetworkReachable(true);
        QVERIFY(server.waitForRequests(1));
        QCOMPARE(numbers(AnalyticsWire::events(server.requests())), range(3, 8));
    }

    void salvagesADamagedQueueFile()
    {
        TestHttpServer server;
        QVERIFY(server.listen());
        const QString folder = freshFolder();
        QDir().mkpath(folder);
        QVERIFY(QFile::copy(TEMBREL_TEST_DATA_DIR "/analytics/queue-damaged.jsonl", folder + "/queue.jsonl"));
        QFile::setPermissions(folder + "/queue.jsonl", QFile::ReadOwner | QFile::WriteOwner);

        PostHogClient client(AnalyticsWire::testConfig(server, folder));
        QCOMPARE(client.queuedCount(), 3);
        client.flush();
        QVERIFY(server.waitForRequests(1));
        QCOMPARE(AnalyticsWire::uuids(AnalyticsWire::events(server.requests())),
                 (QStringList {"018f3a3c-0000-7000-8000-000000000001", "018f3a3c-0000-7000-8000-000000000003",
                               "018f3a3c-0000-7000-8000-000000000006"}));
    }

    void startsFreshFromAQueueFileThatIsNotText()
    {
        TestHttpServer server;
        QVERIFY(server.listen());
        const QString folder = freshFolder();
        QDir().mkpath(folder);
        QFile file(folder + "/queue.jsonl");
        QVERIFY(file.open(QIODevice::WriteOnly));
        QByteArray junk(4096, '\0');
        for (int i = 0; i < junk.size(); ++i)
            junk[i] = char((i * 131) % 256);
        file.write(junk);
        file.close();

        PostHogClient client(AnalyticsWire::testConfig(server, folder));
        QCOMPARE(client.queuedCount(), 0);
        client.capture(QStringLiteral("after"));
        client.flush();
        QVERIFY(server.waitForRequests(1));
        QCOMPARE(AnalyticsWire::events(server.requests()).size(), 1);
    }

    void optOutStopsEverythingAtOnce()
    {
        TestHttpServer server;
        QVERIFY(server.listen());
        server.enqueue(CannedResponse::json(200, {}, 600)); // the first batch is still in flight
        const QString folder = freshFolder();
        PostHogClient client(AnalyticsWire::testConfig(server, folder));
        client.capture(QStringLiteral("before"), numbered(0));
        client.flush();
        QVERIFY(server.waitForRequests(1));
        client.capture(QStringLiteral("before"), numbered(1));
        QTRY_VERIFY(QFile::exists(folder + "/queue.jsonl"));

        client.optOut();
        QVERIFY(client.isOptedOut());
        QCOMPARE(client.queuedCount(), 0);
        QVERIFY(!QFile::exists(folder + "/queue.jsonl"));
        for (int i = 0; i < 25; ++i)
            client.capture(QStringLiteral("while_out"), numbered(100 + i));
        QCOMPARE(client.queuedCount(), 0);
        client.flush();
        QTest::qWait(800);
        QCOMPARE(server.requestCount(), 1);

        // The choice holds for the next run, and opting in sends only what comes after.
        PostHogClient next(AnalyticsWire::testConfig(server, folder));
        QVERIFY(next.isOptedOut());
        next.capture(QStringLiteral("still_out"));
        QCOMPARE(next.queuedCount(), 0);
        next.optIn();
        QVERIFY(!next.isOptedOut());
        next.capture(QStringLiteral("after"), numbered(200));
        next.flush();
        QVERIFY(server.waitForRequests(2));
        QCOMPARE(numbers(AnalyticsWire::events({server.requests().last()})), QList<int> {200});
        QTest::qWait(100);
        QCOMPARE(server.requestCount(), 2);
    }

    void optOutDropsCapturesStillOnTheirWayFromAnotherThread()
    {
        TestHttpServer server;
        QVERIFY(server.listen());
        PostHogClient client(AnalyticsWire::testConfig(server, freshFolder()));
        std::unique_ptr<QThread> worker(QThread::create([&client] {
            for (int i = 0; i < 10; ++i)
                client.capture(QStringLiteral("on_the_way"), numbered(i));
        }));
        worker->start();
        // QThread::wait runs no events: the ten captures are still waiting to reach the client.
        QVERIFY(worker->wait(5000));
        client.optOut();
        client.optIn();
        client.capture(QStringLiteral("later"), numbered(10));
        QTest::qWait(50);
        QCOMPARE(client.queuedCount(), 1);
        client.flush();
        QVERIFY(server.waitForRequests(1));
        QCOMPARE(numbers(AnalyticsWire::events(server.requests())), QList<int> {10});
    }

    void noProjectKeyMeansNoTraffic_data()
    {
        QTest::addColumn<QString>("key");
        QTest::addColumn<QString>("host");
        QTest::newRow("empty key") << QString() << QString();
        QTest::newRow("blank key") << QStringLiteral("   ") << QString();
        QTest::newRow("host not http") << QString::fromLatin1(AnalyticsWire::testKey) << QStringLiteral("ftp://127.0.0.1");
        QTest::newRow("host not an address") << QString::fromLatin1(AnalyticsWire::testKey) << QStringLiteral("nowhere");
    }

    void noProjectKeyMeansNoTraffic()
    {
        QFETCH(QString, key);
        QFETCH(QString, host);
        TestHttpServer server;
        QVERIFY(server.listen());
        const QString folder = freshFolder();
        PostHogConfig config = AnalyticsWire::testConfig(server, folder);
        config.apiKey = key;
        if (!host.isEmpty())
            config.host = host;
        config.flushAt = 20;
        config.flushInterval = 50ms;
        {
            PostHogClient client(config);
            QVERIFY(!client.isConfigured());
            QVERIFY(!QUuid::fromString(client.distinctId()).isNull());
            for (int i = 0; i < 30; ++i)
                client.capture(QStringLiteral("e"), numbered(i));
            QCOMPARE(client.queuedCount(), 0);
            client.flush();
            QTest::qWait(300);
            client.shutdown();
        }
        QCOMPARE(server.requestCount(), 0);
        QVERIFY(!QFile::exists(folder + "/queue.jsonl"));
    }

    void pausesWhileTheNetworkIsUnreachable()
    {
        TestHttpServer server;
        QVERIFY(server.listen());
        PostHogClient client(AnalyticsWire::testConfig(server, freshFolder()));
        client.setNetworkReachable(false);
        QVERIFY(!client.isNetworkReachable());
        client.capture(QStringLiteral("e"), numbered(0));
        client.flush();
        QTest::qWait(300);
        QCOMPARE(server.requestCount(), 0);

        client.setNetworkReachable(true);
        QVERIFY(server.waitForRequests(1));
        QCOMPARE(numbers(AnalyticsWire::events(server.requests())), QList<int> {0});
    }

    void returningNetworkCutsARetryWaitShort()
    {
        TestHttpServer server;
        QVERIFY(server.listen());
        server.enqueue(CannedResponse::dropped());
        server.enqueue(CannedResponse::dropped());
        PostHogConfig config = AnalyticsWire::testConfig(server, freshFolder());
        config.retryInitialDelay = 60s;
        PostHogClient client(config);
        client.capture(QStringLiteral("e"));
        client.flush();
        QVERIFY(server.waitForRequests(2));
        QTest::qWait(100);
        client.setNetworkReachable(false);
        client.setNetworkReachable(true);
        QVERIFY(server.waitForRequests(3, 3000));
        QTRY_COMPARE(client.queuedCount(), 0);
    }

    void sessionRotatesAfterThirtyIdleMinutes()
    {
        TestHttpServer server;
        QVERIFY(server.listen());
        auto now = std::make_shared<QDateTime>(QDateTime(QDate(2024, 5, 1), QTime(9, 0), Qt::UTC));
        PostHogConfig config = AnalyticsWire::testConfig(server, freshFolder());
        config.sessionIdleTimeout = PostHogConfig {}.sessionIdleTimeout;
        config.clock = [now] { return *now; };
        PostHogClient client(config);

        const QList<qint64> minutesSinceLast {0, 29, 29, 30, 31, 1};
        for (int i = 0; i < minutesSinceLast.size(); ++i) {
            *now = now->addSecs(minutesSinceLast[i] * 60);
            client.capture(QStringLiteral("e"), numbered(i));
        }
        client.flush();
        QVERIFY(server.waitForRequests(1));
        QStringList sessions;
        for (const QJsonObject& event : AnalyticsWire::events(server.requests()))
            sessions.append(event.value("properties").toObject().value("$session_id").toString());
        QCOMPARE(sessions.size(), 6);
        QCOMPARE(sessions[1], sessions[0]);
        QCOMPARE(sessions[2], sessions[1]);
        QCOMPARE(sessions[3], sessions[2]); // exactly thirty minutes is not yet idle
        QVERIFY(sessions[4] != sessions[3]);
        QCOMPARE(sessions[5], sessions[4]);
    }

    void acceptsCapturesFromAnyThread()
    {
        TestHttpServer server;
        QVERIFY(server.listen());
        PostHogClient client(AnalyticsWire::testConfig(server, freshFolder()));
        std::vector<std::unique_ptr<QThread>> workers;
        for (int t = 0; t < 4; ++t) {
            workers.emplace_back(QThread::create([&client, t] {
                for (int i = 0; i < 25; ++i)
                    client.capture(QStringLiteral("threaded"), numbered(t * 100 + i));
            }));
            workers.back()->start();
        }
        for (auto& worker : workers)
            QVERIFY(worker->wait(5000));
        QTRY_COMPARE(client.queuedCount(), 100);
        client.flush();
        QTRY_COMPARE(client.queuedCount(), 0);

        QList<int> received = numbers(AnalyticsWire::events(server.requests()));
        std::sort(received.begin(), received.end());
        QList<int> expected;
        for (int t = 0; t < 4; ++t)
            expected += range(t * 100, t * 100 + 25);
        QCOMPARE(received, expected);
        const QStringList ids = AnalyticsWire::uuids(AnalyticsWire::events(server.requests()));
        QCOMPARE(QSet<QString>(ids.begin(), ids.end()).size(), 100);
    }

    void shutdownSendsWhatIsQueued()
    {
        TestHttpServer server;
        QVERIFY(server.listen());
        const QString folder = freshFolder();
        PostHogClient client(AnalyticsWire::testConfig(server, folder));
        for (int i = 0; i < 3; ++i)
            client.capture(QStringLiteral("e"), numbered(i));
        client.shutdown();
        QCOMPARE(server.requestCount(), 1);
        QCOMPARE(client.queuedCount(), 0);
        QVERIFY(!QFile::exists(folder + "/queue.jsonl"));
    }

    void shutdownKeepsWhatCouldNotBeSent()
    {
        TestHttpServer server;
        QVERIFY(server.listen());
        server.setDefaultResponse(CannedResponse::text(503, ""));
        const QString folder = freshFolder();
        PostHogClient client(AnalyticsWire::testConfig(server, folder));
        for (int i = 0; i < 3; ++i)
            client.capture(QStringLiteral("e"), numbered(i));
        client.shutdown();
        QCOMPARE(client.queuedCount(), 3);
        QFile file(folder + "/queue.jsonl");
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(file.readAll().count('\n'), 3);
    }
};

QTEST_GUILESS_MAIN(PostHogClientTest)
#include "tst_posthogclient.moc"
