#include "AnalyticsWire.h"
#include "analytics/AnalyticsManager.h"
#include "analytics/AnalyticsVocabulary.h"
#include "analytics/PostHogClient.h"
#include "support/TestEnvironment.h"
#include "support/TestHttpServer.h"

#include <QFile>
#include <QTest>
#include <atomic>
#include <functional>

using Track = std::function<void(AnalyticsManager&)>;
Q_DECLARE_METATYPE(Track)

// The manager end to end: the four events with exactly their properties and the super properties
// as the service receives them, and the consent setting honoured at every call. That no text of
// the user goes into any of them is shown by whole fixes (tests/core/tst_fixprivacy).
class AnalyticsManagerTest : public QObject
{
    Q_OBJECT

    TestEnvironment m_env;
    int m_case = 0;
    QString m_folder;
    std::unique_ptr<TestHttpServer> m_server;
    std::shared_ptr<std::atomic<bool>> m_enabled;

    [[nodiscard]] std::unique_ptr<AnalyticsManager> manager()
    {
        return std::make_unique<AnalyticsManager>(AnalyticsWire::testConfig(*m_server, m_folder),
                                                  [enabled = m_enabled] { return enabled->load(); });
    }

    QList<QJsonObject> sentEvents(AnalyticsManager& manager)
    {
        manager.client().flush();
        return m_server->waitForRequests(1) ? AnalyticsWire::events(m_server->requests()) : QList<QJsonObject>{};
    }

private Q_SLOTS:
    void init()
    {
        m_folder = m_env.dataHome() + QStringLiteral("/manager-%1").arg(++m_case);
        m_server = std::make_unique<TestHttpServer>();
        QVERIFY(m_server->listen());
        m_enabled = std::make_shared<std::atomic<bool>>(true);
    }

    void textLengthBucket_data()
    {
        QTest::addColumn<qint64>("characters");
        QTest::addColumn<QString>("bucket");
        const QList<QPair<qint64, const char*>> rows{{0, "tiny"},      {50, "tiny"},   {51, "short"},
                                                     {200, "short"},   {201, "medium"}, {1000, "medium"},
                                                     {1001, "long"},   {5000, "long"}, {5001, "very_long"},
                                                     {5'000'000'000, "very_long"}};
        for (const auto& [characters, bucket] : rows)
            QTest::addRow("%lld", characters) << characters << QString(bucket);
    }

    void textLengthBucket()
    {
        QFETCH(qint64, characters);
        QFETCH(QString, bucket);
        QCOMPARE(Analytics::textLengthBucket(characters), bucket);
    }

    void eventsCarryExactlyTheirProperties_data()
    {
        QTest::addColumn<Track>("track");
        QTest::addColumn<QString>("event");
        QTest::addColumn<QJsonObject>("properties");
        const auto row = [](const char* name, Track track, const char* event, QJsonObject properties) {
            QTest::newRow(name) << track << QString(event) << properties;
        };
        row("app launched", [](AnalyticsManager& m) { m.trackAppLaunched(true, false, true); }, "app_launched",
            {{"custom_endpoint_enabled", true}, {"history_enabled", false}, {"launch_at_login", true}});
        row("onboarding, trusted", [](AnalyticsManager& m) { m.trackOnboardingCompleted(true); }, "onboarding_completed",
            {{"granted_accessibility", true}});
        row("onboarding, not trusted", [](AnalyticsManager& m) { m.trackOnboardingCompleted(false); },
            "onboarding_completed", {{"granted_accessibility", false}});
        row("failed, cloud, network", [](AnalyticsManager& m) { m.trackFixFailed(false, 0); }, "tembrel_failed",
            {{"endpoint_type", "cloud"}, {"error_type", "network"}});
        row("failed, custom, rate limit", [](AnalyticsManager& m) { m.trackFixFailed(true, 1); }, "tembrel_failed",
            {{"endpoint_type", "custom"}, {"error_type", "rate_limit"}});
        row("failed, code 5", [](AnalyticsManager& m) { m.trackFixFailed(false, 5); }, "tembrel_failed",
            {{"endpoint_type", "cloud"}, {"error_type", "other"}});
        row("failed, code 9", [](AnalyticsManager& m) { m.trackFixFailed(true, 9); }, "tembrel_failed",
            {{"endpoint_type", "custom"}, {"error_type", "other"}});
    }

    void eventsCarryExactlyTheirProperties()
    {
        QFETCH(Track, track);
        QFETCH(QString, event);
        QFETCH(QJsonObject, properties);
        auto analytics = manager();
        track(*analytics);

        const QList<QJsonObject> events = sentEvents(*analytics);
        QCOMPARE(events.size(), 1);
        QCOMPARE(events.first().value("event").toString(), event);
        QJsonObject sent = events.first().value("properties").toObject();
        QCOMPARE(sent.take("environment").toString(), "production");
        QCOMPARE(sent.take("platform").toString(), "linux");
        QCOMPARE(sent.take("$lib").toString(), "tembrel-qt");
        for (const char* key : {"$lib_version", "$session_id"})
            sent.remove(key);
        QCOMPARE(sent.keys(), properties.keys());
        for (auto it = properties.begin(); it != properties.end(); ++it) {
            // Booleans must stay booleans and counts numbers: "true" or "3" as text would be a fault.
            QCOMPARE(sent.value(it.key()).type(), it.value().type());
            QCOMPARE(sent.value(it.key()), it.value());
        }
    }

    void disabledAtLaunchCapturesNothingAndOptsOut()
    {
        *m_enabled = false;
        auto analytics = manager();
        QVERIFY(analytics->client().isOptedOut());
        analytics->trackAppLaunched(false, false, false);
        analytics->capture("tembrel_completed", {{"edit_count", 1}});
        QCOMPARE(analytics->client().queuedCount(), 0);
        analytics->client().flush();
        QTest::qWait(200);
        QCOMPARE(m_server->requestCount(), 0);
        QVERIFY(!QFile::exists(m_folder + "/queue.jsonl"));
    }

    void settingIsCheckedAtEveryCall()
    {
        auto analytics = manager();
        QVERIFY(!analytics->client().isOptedOut());
        *m_enabled = false; // written, but consent not applied yet
        analytics->trackFixFailed(false, 2);
        analytics->trackOnboardingCompleted(true);
        analytics->capture("tembrel_completed", {});
        QVERIFY(!analytics->client().isOptedOut());
        QCOMPARE(analytics->client().queuedCount(), 0);
        *m_enabled = true;
        analytics->trackFixFailed(false, 2);
        QCOMPARE(analytics->client().queuedCount(), 1);
    }

    void consentFollowsTheSettingAtOnce()
    {
        auto analytics = manager();
        analytics->trackFixFailed(false, 0); // queued before the user turns analytics off
        *m_enabled = false;
        analytics->applyConsent();
        QVERIFY(analytics->client().isOptedOut());
        QCOMPARE(analytics->client().queuedCount(), 0);
        analytics->trackFixFailed(false, 1);
        analytics->client().capture("tembrel_failed", {{"error_type", "too_long"}});

        *m_enabled = true;
        analytics->applyConsent();
        QVERIFY(!analytics->client().isOptedOut());
        analytics->trackFixFailed(false, 4);
        const QList<QJsonObject> events = sentEvents(*analytics);
        QTest::qWait(100);
        QCOMPARE(m_server->requestCount(), 1);
        QCOMPARE(events.size(), 1);
        QCOMPARE(events.first().value("properties").toObject().value("error_type").toString(), "processing");
    }
};

QTEST_GUILESS_MAIN(AnalyticsManagerTest)
#include "tst_analyticsmanager.moc"
