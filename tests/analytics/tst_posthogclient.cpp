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
using AnalyticsWire::events;

// The client against a real HTTP server on 127.0.0.1: what goes over the wire, when, how often,
// and what is kept on disk in between. Each case has its own server and folder.
class PostHogClientTest : public QObject
{
    Q_OBJECT

    TestEnvironment m_env;
    int m_case = 0;
    QString m_folder;
    std::unique_ptr<TestHttpServer> m_server;

    [[nodiscard]] PostHogConfig config() const { return AnalyticsWire::testConfig(*m_server, m_folder); }
    [[nodiscard]] QList<QJsonObject> sent() const { return events(m_server->requests()); }
    [[nodiscard]] QList<int> sentNumbers() const { return numbers(sent()); }

    static void capture(PostHogClient& client, int from, int to)
    {
        for (int i = from; i < to; ++i)
            client.capture("e", {{"n", i}});
    }

    static QList<int> numbers(const QList<QJsonObject>& events)
    {
        QList<int> result;
        for (const QJsonObject& event : events)
            result.append(event.value("properties").toObject().value("n").toInt(-1));
        return result;
    }

    static QList<int> range(int from, int to)
    {
        QList<int> result;
        for (int i = from; i < to; ++i)
            result.append(i);
        return result;
    }

    // Lines in the queue file; -1 when there is none.
    [[nodiscard]] qsizetype queuedOnDisk() const
    {
        QFile file(m_folder + "/queue.jsonl");
        return file.open(QIODevice::ReadOnly) ? file.readAll().count('\n') : -1;
    }

private Q_SLOTS:
    void init()
    {
        m_folder = m_env.dataHome() + QStringLiteral("/client-%1").arg(++m_case);
        m_server = std::make_unique<TestHttpServer>();
        QVERIFY(m_server->listen());
    }

    void batchMatchesTheWireFormat()
    {
        PostHogConfig configured = config();
        const QDateTime fixed = QDateTime::fromString("2024-05-01T09:30:00.250Z", Qt::ISODateWithMs);
        configured.clock = [fixed] { return fixed; };
        PostHogClient client(configured);
        client.registerSuperProperties({{"environment", "production"}, {"shadowed", "super"}});
        client.capture("probe_event", {{"count", 3}, {"flag", true}, {"shadowed", "own"}});
        client.flush();
        QVERIFY(m_server->waitForRequests(1));

        const RecordedRequest request = m_server->requests().first();
        QCOMPARE(request.method, "POST");
        QCOMPARE(request.path, "/batch/");
        QCOMPARE(request.header("content-type"), "application/json");
        QCOMPARE(request.header("content-encoding"), "gzip");
        QVERIFY(request.body.startsWith("\x1f\x8b")); // a gzip member, not plain JSON

        const QJsonObject body = AnalyticsWire::decodeBatch(request);
        QCOMPARE(body.keys(), (QStringList{"api_key", "batch", "sent_at"}));
        QCOMPARE(body.value("api_key").toString(), AnalyticsWire::testKey);
        QCOMPARE(body.value("sent_at").toString(), "2024-05-01T09:30:00.250Z");
        QCOMPARE(body.value("batch").toArray().size(), 1);

        QJsonObject event = body.value("batch").toArray().first().toObject();
        const QString uuid = event.take("uuid").toString();
        QVERIFY(!QUuid::fromString(uuid).isNull());
        QCOMPARE(uuid.at(14), QLatin1Char('7')); // time-ordered (version 7)
        QJsonObject properties = event.take("properties").toObject();
        QVERIFY(!QUuid::fromString(properties.take("$session_id").toString()).isNull());
        QCOMPARE(event, (QJsonObject{{"event", "probe_event"}, {"distinct_id", client.distinctId()},
                                     {"timestamp", "2024-05-01T09:30:00.250Z"}}));
        // The event's own properties win over the super properties; counts stay numbers, flags booleans.
        QCOMPARE(properties, (QJsonObject{{"$lib", "tembrel-qt"}, {"$lib_version", "9.8.7"}, {"count", 3},
                                          {"environment", "production"}, {"flag", true}, {"shadowed", "own"}}));
        QTRY_COMPARE(client.queuedCount(), 0);
    }

    void sendsOnItsOwnAtTwentyQueuedEvents()
    {
        PostHogConfig byCount = config();
        byCount.flushAt = PostHogConfig{}.flushAt;
        QCOMPARE(byCount.flushAt, 20);
        PostHogClient client(byCount);
        capture(client, 0, 19);
        QTest::qWait(200);
        QCOMPARE(m_server->requestCount(), 0);
        capture(client, 19, 20);
        QVERIFY(m_server->waitForRequests(1));
        QCOMPARE(sentNumbers(), range(0, 20));
    }

    void sendsOnItsOwnWhenTheIntervalPasses()
    {
        PostHogConfig byTime = config();
        byTime.flushInterval = 150ms;
        PostHogClient client(byTime);
        client.capture("lonely");
        QVERIFY(m_server->waitForRequests(1, 3000));
        QCOMPARE(sent().size(), 1);
    }

    void retriesTemporaryFailures_data()
    {
        QTest::addColumn<QList<CannedResponse>>("failures");
        QTest::addColumn<QList<qint64>>("minimumWaits"); // test schedule: 40 ms, doubling, at most 400 ms
        const auto text = [](int status) { return CannedResponse::text(status, "no"); };
        QTest::newRow("503") << QList{text(503)} << QList<qint64>{40};
        QTest::newRow("500") << QList{text(500)} << QList<qint64>{40};
        QTest::newRow("429") << QList{text(429)} << QList<qint64>{40};
        QTest::newRow("408") << QList{text(408)} << QList<qint64>{40};
        QTest::newRow("502 then 504") << QList{text(502), text(504)} << QList<qint64>{40, 80};
        QTest::newRow("doubling up to the ceiling") << QList<CannedResponse>(5, text(503)) << QList<qint64>{40, 80, 160, 320, 400};
        CannedResponse limited = text(429);
        limited.headers.append(qMakePair(QByteArray("Retry-After"), QByteArray("1")));
        QTest::newRow("the server's Retry-After") << QList{limited} << QList<qint64>{1000};
        // Qt resends once on a connection closed without an answer: one failed attempt, two drops.
        QTest::newRow("connection dropped") << QList{CannedResponse::dropped(), CannedResponse::dropped()}
                                            << QList<qint64>{0, 40};
        CannedResponse garbage;
        garbage.garbage = true;
        QTest::newRow("not http") << QList{garbage} << QList<qint64>{40};
    }

    void retriesTemporaryFailures()
    {
        QFETCH(QList<CannedResponse>, failures);
        QFETCH(QList<qint64>, minimumWaits);
        for (const CannedResponse& failure : failures)
            m_server->enqueue(failure);
        QList<qint64> arrivals;
        QElapsedTimer clock;
        clock.start();
        connect(m_server.get(), &TestHttpServer::requestReceived, this, [&] { arrivals.append(clock.elapsed()); });
        PostHogClient client(config());
        capture(client, 0, 3);
        client.flush();
        const int attempts = int(failures.size()) + 1;
        QVERIFY(m_server->waitForRequests(attempts, 10000));
        QTRY_COMPARE(client.queuedCount(), 0);
        QTest::qWait(100);
        QCOMPARE(m_server->requestCount(), attempts);
        // Every attempt carries the same events; the last one was taken.
        for (const RecordedRequest& request : m_server->requests())
            QCOMPARE(numbers(events({request})), range(0, 3));
        for (int i = 0; i < minimumWaits.size(); ++i) {
            // Timers may fire a little early; a retry that does not wait at all is the fault.
            const qint64 wait = arrivals[i + 1] - arrivals[i];
            QVERIFY2(wait >= minimumWaits[i] * 9 / 10, qPrintable(QStringLiteral("wait %1: %2 ms").arg(i + 1).arg(wait)));
        }
    }

    void splitsABatchTheServerFindsTooLarge()
    {
        QList<int> accepted;
        m_server->setHandler([&](const RecordedRequest& request) {
            const QList<QJsonObject> batch = events({request});
            const bool huge = std::any_of(batch.begin(), batch.end(), [](const QJsonObject& e) {
                return e.value("event").toString() == u"huge";
            });
            if (batch.size() > 10 || huge)
                return CannedResponse::text(413, "too large");
            accepted += numbers(batch);
            return CannedResponse::json(200, {{"status", 1}});
        });
        PostHogClient client(config());
        capture(client, 0, 45);
        client.capture("huge", {{"n", 45}}); // too large even alone: dropped, the rest goes on
        capture(client, 46, 48);
        client.flush();
        QTRY_COMPARE(client.queuedCount(), 0);
        QCOMPARE(accepted, (range(0, 45) + QList<int>{46, 47})); // each event once, in order
    }

    void dropsABatchRefusedForGood_data()
    {
        QTest::addColumn<int>("status");
        for (int status : {400, 401, 403, 404})
            QTest::addRow("%d", status) << status;
    }

    void dropsABatchRefusedForGood()
    {
        QFETCH(int, status);
        m_server->enqueue(CannedResponse::text(status, "no"));
        PostHogClient client(config());
        capture(client, 0, 2);
        client.flush();
        QVERIFY(m_server->waitForRequests(1));
        QTRY_COMPARE(client.queuedCount(), 0);
        capture(client, 2, 3);
        client.flush();
        QVERIFY(m_server->waitForRequests(2));
        QCOMPARE(numbers(events({m_server->requests().last()})), QList<int>{2});
        QTest::qWait(100);
        QCOMPARE(m_server->requestCount(), 2);
    }

    void queueOutlivesTheApp()
    {
        m_server->setDefaultResponse(CannedResponse::text(503, "down"));
        QString firstId;
        {
            PostHogClient first(config());
            capture(first, 0, 3);
            // On disk after one turn of the event loop, before any quit: what a crash leaves behind.
            QTRY_COMPARE(queuedOnDisk(), 3);
            first.shutdown(); // the service is down: what could not be sent stays for the next run
            QCOMPARE(first.queuedCount(), 3);
            firstId = first.distinctId();
        }
        QCOMPARE(queuedOnDisk(), 3);

        m_server->setDefaultResponse(CannedResponse::json(200, {}));
        m_server->clearRequests();
        PostHogClient second(config());
        QCOMPARE(second.distinctId(), firstId);
        QCOMPARE(second.queuedCount(), 3);
        capture(second, 3, 4);
        second.shutdown(); // at quit everything goes, in one batch, under the same id
        QCOMPARE(m_server->requestCount(), 1);
        QCOMPARE(sentNumbers(), range(0, 4));
        for (const QJsonObject& event : sent())
            QCOMPARE(event.value("distinct_id").toString(), firstId);
        QCOMPARE(second.queuedCount(), 0);
        QCOMPARE(queuedOnDisk(), -1);
    }

    void dropsTheOldestBeyondCapacity()
    {
        PostHogConfig small = config();
        small.maxQueueSize = 5;
        PostHogClient client(small);
        client.setNetworkReachable(false);
        capture(client, 0, 8);
        QCOMPARE(client.queuedCount(), 5);
        client.setNetworkReachable(true);
        QVERIFY(m_server->waitForRequests(1));
        QCOMPARE(sentNumbers(), range(3, 8));
    }

    void readsWhatIsLeftOfADamagedQueue_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<QStringList>("kept");
        QFile damaged(TEMBREL_TEST_DATA_DIR "/analytics/queue-damaged.jsonl");
        QVERIFY(damaged.open(QIODevice::ReadOnly));
        QTest::newRow("cut short, wrong shapes, no uuid")
            << damaged.readAll()
            << QStringList{"018f3a3c-0000-7000-8000-000000000001", "018f3a3c-0000-7000-8000-000000000003",
                           "018f3a3c-0000-7000-8000-000000000006"};
        QByteArray junk(4096, '\0');
        for (int i = 0; i < junk.size(); ++i)
            junk[i] = char((i * 131) % 256);
        QTest::newRow("not text at all") << junk << QStringList{};
    }

    void readsWhatIsLeftOfADamagedQueue()
    {
        QFETCH(QByteArray, content);
        QFETCH(QStringList, kept);
        QVERIFY(QDir().mkpath(m_folder));
        QFile file(m_folder + "/queue.jsonl");
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write(content) == content.size());
        file.close();

        PostHogClient client(config());
        QCOMPARE(client.queuedCount(), kept.size());
        client.capture("after");
        client.flush();
        QVERIFY(m_server->waitForRequests(1));
        QCOMPARE(AnalyticsWire::uuids(sent()).mid(0, kept.size()), kept);
        QCOMPARE(sent().size(), kept.size() + 1);
    }

    void optOutStopsEverythingAtOnce()
    {
        m_server->enqueue(CannedResponse::json(200, {}, 600)); // the first batch is still in flight
        PostHogClient client(config());
        capture(client, 0, 1);
        client.flush();
        QVERIFY(m_server->waitForRequests(1));
        capture(client, 1, 2);
        QTRY_COMPARE(queuedOnDisk(), 1);

        client.optOut();
        QVERIFY(client.isOptedOut());
        QCOMPARE(client.queuedCount(), 0);
        QCOMPARE(queuedOnDisk(), -1);
        capture(client, 100, 125);
        QCOMPARE(client.queuedCount(), 0);
        client.flush();
        QTest::qWait(800);
        QCOMPARE(m_server->requestCount(), 1);

        // The choice holds for the next run, and opting in sends only what comes after.
        PostHogClient next(config());
        QVERIFY(next.isOptedOut());
        next.capture("still_out");
        QCOMPARE(next.queuedCount(), 0);
        next.optIn();
        QVERIFY(!next.isOptedOut());
        capture(next, 200, 201);
        next.flush();
        QVERIFY(m_server->waitForRequests(2));
        QCOMPARE(numbers(events({m_server->requests().last()})), QList<int>{200});
        QTest::qWait(100);
        QCOMPARE(m_server->requestCount(), 2);
    }

    void optOutDropsCapturesStillOnTheirWayFromAnotherThread()
    {
        PostHogClient client(config());
        std::unique_ptr<QThread> worker(QThread::create([&client] { capture(client, 0, 10); }));
        worker->start();
        // QThread::wait runs no events: the ten captures are still waiting to reach the client.
        QVERIFY(worker->wait(5000));
        client.optOut();
        client.optIn();
        capture(client, 10, 11);
        QTest::qWait(50);
        QCOMPARE(client.queuedCount(), 1);
        client.flush();
        QVERIFY(m_server->waitForRequests(1));
        QCOMPARE(sentNumbers(), QList<int>{10});
    }

    void noProjectKeyMeansNoTraffic_data()
    {
        QTest::addColumn<QString>("key");
        QTest::addColumn<QString>("host");
        const QString key = AnalyticsWire::testKey;
        QTest::newRow("empty key") << QString() << QString();
        QTest::newRow("blank key") << "   " << QString();
        QTest::newRow("host not http") << key << "ftp://127.0.0.1";
        QTest::newRow("host not an address") << key << "nowhere";
    }

    void noProjectKeyMeansNoTraffic()
    {
        QFETCH(QString, key);
        QFETCH(QString, host);
        PostHogConfig unusable = config();
        unusable.apiKey = key;
        unusable.host = host.isEmpty() ? unusable.host : host;
        unusable.flushAt = 20;
        unusable.flushInterval = 50ms;
        {
            PostHogClient client(unusable);
            QVERIFY(!client.isConfigured());
            QVERIFY(!QUuid::fromString(client.distinctId()).isNull());
            capture(client, 0, 30);
            QCOMPARE(client.queuedCount(), 0);
            client.flush();
            QTest::qWait(300);
            client.shutdown();
        }
        QCOMPARE(m_server->requestCount(), 0);
        QCOMPARE(queuedOnDisk(), -1);
    }

    void retryWaitHoldsUntilTheNetworkComesBack()
    {
        m_server->enqueue(CannedResponse::dropped());
        m_server->enqueue(CannedResponse::dropped());
        PostHogConfig patient = config();
        patient.retryInitialDelay = 60s;
        PostHogClient client(patient);
        client.setNetworkReachable(false);
        QVERIFY(!client.isNetworkReachable());
        capture(client, 0, 1);
        client.flush();
        QTest::qWait(300);
        QCOMPARE(m_server->requestCount(), 0);

        // Back online it sends at once; the failed send then waits its minute, and a flush or a
        // new event does not cut that short...
        client.setNetworkReachable(true);
        QVERIFY(m_server->waitForRequests(2));
        capture(client, 1, 2);
        client.flush();
        QTest::qWait(300);
        QCOMPARE(m_server->requestCount(), 2);
        // ...but the network coming back again does.
        client.setNetworkReachable(false);
        client.setNetworkReachable(true);
        QVERIFY(m_server->waitForRequests(3, 3000));
        QTRY_COMPARE(client.queuedCount(), 0);
        QCOMPARE(sentNumbers().mid(2), (QList<int>{0, 1}));
    }

    void acceptsCapturesFromAnyThread()
    {
        PostHogClient client(config());
        std::vector<std::unique_ptr<QThread>> workers;
        QList<int> expected;
        for (int t = 0; t < 4; ++t) {
            workers.emplace_back(QThread::create([&client, t] { capture(client, t * 100, t * 100 + 25); }));
            workers.back()->start();
            expected += range(t * 100, t * 100 + 25);
        }
        for (auto& worker : workers)
            QVERIFY(worker->wait(5000));
        QTRY_COMPARE(client.queuedCount(), 100);
        client.flush();
        QTRY_COMPARE(client.queuedCount(), 0);
        QList<qsizetype> sizes; // a batch holds fifty events at most
        for (const RecordedRequest& request : m_server->requests())
            sizes.append(events({request}).size());
        QCOMPARE(sizes, (QList<qsizetype>{50, 50}));
        QList<int> received = sentNumbers();
        std::sort(received.begin(), received.end());
        QCOMPARE(received, expected);
        const QStringList ids = AnalyticsWire::uuids(sent());
        QCOMPARE(QSet<QString>(ids.begin(), ids.end()).size(), 100);
    }
};

QTEST_GUILESS_MAIN(PostHogClientTest)
#include "tst_posthogclient.moc"
