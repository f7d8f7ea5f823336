#include "AnalyticsWire.h"
#include "analytics/AnalyticsManager.h"
#include "analytics/PostHogClient.h"
#include "support/TestEnvironment.h"
#include "support/TestHttpServer.h"

#include <QFile>
#include <QTest>
#include <QUuid>
#include <atomic>
#include <functional>

using Track = std::function<void(AnalyticsManager&)>;
Q_DECLARE_METATYPE(Track)

// The manager end to end: the four events with exactly their properties as the service receives
// them, the super properties, and the consent setting honoured at every call.
class AnalyticsManagerTest : public QObject
{
    Q_OBJECT

private:
    TestEnvironment m_env;
    int m_case = 0;

    QString freshFolder() { return m_env.dataHome() + QStringLiteral("/manager-%1").arg(++m_case); }

    // The event's properties without the ones the client and the super properties add.
    static QJsonObject ownProperties(const QJsonObject& event)
    {
        QJsonObject properties = event.value("properties").toObject();
        for (const char* key : {"$lib", "$lib_version", "$session_id", "environment", "platform"})
            properties.remove(QLatin1String(key));
        return properties;
    }

    static QList<QJsonObject> sentEvents(AnalyticsManager& manager, TestHttpServer& server)
    {
        manager.client().flush();
        if (!server.waitForRequests(1))
            return {};
        return AnalyticsWire::events(server.requests());
    }

private Q_SLOTS:
    void everyEventCarriesTheSuperProperties()
    {
        TestHttpServer server;
        QVERIFY(server.listen());
        AnalyticsManager manager(AnalyticsWire::testConfig(server, freshFolder()), [] { return true; });
        QVERIFY(!manager.client().isOptedOut());
        manager.trackAppLaunched(false, true, false);

        const QList<QJsonObject> events = sentEvents(manager, server);
        QCOMPARE(events.size(), 1);
        const QJsonObject properties = events.first().value("properties").toObject();
        QCOMPARE(properties.value("environment").toString(), QStringLiteral("production"));
        QCOMPARE(properties.value("platform").toString(), QStringLiteral("linux"));
        QCOMPARE(properties.value("$lib").toString(), QStringLiteral("tembrel-qt"));
    }

    void eventsCarryExactlyTheirProperties_data()
    {
        QTest::addColumn<Track>("track");
        QTest::addColumn<QString>("event");
        QTest::addColumn<QJsonObject>("properties");

        QTest::newRow("app launched") << Track([](AnalyticsManager& m) { m.trackAppLaunched(true, false, true); })
                                      << "app_launched"
                                      << QJsonObject {{"custom_endpoint_enabled", true}, {"history_enabled", false},
                                                      {"launch_at_login", true}};
        QTest::newRow("onboarding, trusted") << Track([](AnalyticsManager& m) { m.trackOnboardingCompleted(true); })
                                             << "onboarding_completed" << QJsonObject {{"granted_accessibility", true}};
        QTest::newRow("onboarding, not trusted") << Track([](AnalyticsManager& m) { m.trackOnboardingCompleted(false); })
                                                 << "onboarding_completed" << QJsonObject {{"granted_accessibility", false}};
        QTest::newRow("failed, cloud, network") << Track([](AnalyticsManager& m) { m.trackFixFailed(false, 0); })
                                                << "tembrel_failed"
                                                << QJsonObject {{"endpoint_type", "cloud"}, {"error_type", "network"}};
        QTest::newRow("failed, custom, rate limit") << Track([](AnalyticsManager& m) { m.trackFixFailed(true, 1); })
                                                    << "tembrel_failed"
                                                    << QJsonObject {{"endpoint_type", "custom"}, {"error_type", "rate_limit"}};
        QTest::newRow("failed, code 5") << Track([](AnalyticsManager& m) { m.trackFixFailed(false, 5); })
                                        << "tembrel_failed"
                                        << QJsonObject {{"endpoint_type", "cloud"}, {"error_type", "other"}};
        QTest::newRow("failed, code 9") << Track([](AnalyticsManager& m) { m.trackFixFailed(true, 9); })
                                        << "tembrel_failed"
                                        << QJsonObject {{"endpoint_type", "custom"}, {"error_type", "other"}};
        QTest::newRow("completed, named mode")
            << Track([](AnalyticsManager& m) {
                   m.trackFixCompleted({false, 3, 50, true, 812, QStringLiteral("Casual")});
               })
            << "tembrel_completed"
            << QJsonObject {{"endpoint_type", "cloud"}, {"edit_count", 3}, {"text_length_bucket", "tiny"},
                            {"had_changes", true}, {"duration_ms", 812}, {"mode_name", "Casual"}};
        QTest::newRow("completed, no mode name")
            << Track([](AnalyticsManager& m) { m.trackFixCompleted({true, 0, 5001, false, 90, std::nullopt}); })
            << "tembrel_completed"
            << QJsonObject {{"endpoint_type", "custom"}, {"edit_count", 0}, {"text_length_bucket", "very_long"},
                            {"had_changes", false}, {"duration_ms", 90}};
    }

    void eventsCarryExactlyTheirProperties()
    {
        QFETCH(Track, track);
        QFETCH(QString, event);
        QFETCH(QJsonObject, properties);
        TestHttpServer server;
        QVERIFY(server.listen());
        AnalyticsManager manager(AnalyticsWire::testConfig(server, freshFolder()), [] { return true; });
        track(manager);

        const QList<QJsonObject> events = sentEvents(manager, server);
        QCOMPARE(events.size(), 1);
        QCOMPARE(events.first().value("event").toString(), event);
        const QJsonObject sent = ownProperties(events.first());
        QCOMPARE(QStringList(sent.keys()), QStringList(properties.keys()));
        for (auto it = properties.begin(); it != properties.end(); ++it) {
            // Booleans must stay booleans and counts numbers: "true" or "3" as text would be a fault.
            QCOMPARE(sent.value(it.key()).type(), it.value().type());
            QCOMPARE(sent.value(it.key()), it.value());
        }
    }

    void disabledAtLaunchCapturesNothingAndOptsOut()
    {
        TestHttpServer server;
        QVERIFY(server.listen());
        const QString folder = freshFolder();
        AnalyticsManager manager(AnalyticsWire::testConfig(server, folder), [] { return false; });
        QVERIFY(manager.client().isOptedOut());
        manager.trackAppLaunched(false, false, false);
        manager.capture(QStringLiteral("tembrel_completed"), {{"edit_count", 1}});
        QCOMPARE(manager.client().queuedCount(), 0);
        manager.client().flush();
        QTest::qWait(200);
        QCOMPARE(server.requestCount(), 0);
        QVERIFY(!QFile::exists(folder + "/queue.jsonl"));
    }

    void settingIsCheckedAtEveryCall()
    {
        TestHttpServer server;
        QVERIFY(server.listen());
        auto enabled = std::make_shared<std::atomic<bool>>(true);
        AnalyticsManager manager(AnalyticsWire::testConfig(server, freshFolder()), [enabled] { return enabled->load(); });
        QVERIFY(!manager.client().isOptedOut());

        *enabled = false; // written, but consent not applied yet
        manager.trackFixFailed(false, 2);
        manager.trackOnboardingCompleted(true);
        manager.trackFixCompleted({});
        QVERIFY(!manager.client().isOptedOut());
        QCOMPARE(manager.client().queuedCount(), 0);

        *enabled = true;
        manager.trackFixFailed(false, 2);
        QCOMPARE(manager.client().queuedCount(), 1);
    }

    void consentFollowsTheSettingAtOnce()
    {
        TestHttpServer server;
        QVERIFY(server.listen());
        auto enabled = std::make_shared<std::atomic<bool>>(true);
        AnalyticsManager manager(AnalyticsWire::testConfig(server, freshFolder()), [enabled] { return enabled->load(); });
        manager.trackFixFailed(false, 0); // queued before the user turns analytics off

        *enabled = false;
        manager.applyConsent();
        QVERIFY(manager.client().isOptedOut());
        QCOMPARE(manager.client().queuedCount(), 0);
        manager.trackFixFailed(false, 1);
        manager.client().capture(QStringLiteral("tembrel_failed"), {{"error_type", "too_long"}});

        *enabled = true;
        manager.applyConsent();
        QVERIFY(!manager.client().isOptedOut());
        manager.trackFixFailed(false, 4);

        const QList<QJsonObject> events = sentEvents(manager, server);
        QTest::qWait(100);
        QCOMPARE(server.requestCount(), 1);
        QCOMPARE(events.size(), 1);
        QCOMPARE(ownProperties(events.first()).value("error_type").toString(), QStringLiteral("processing"));
    }

    void distinctIdIsStableAcrossRuns()
    {
        TestHttpServer server;
        QVERIFY(server.listen());
        const QString folder = freshFolder();
        QString first;
        {
            AnalyticsManager manager(AnalyticsWire::testConfig(server, folder), [] { return true; });
            first = manager.distinctId();
        }
        QVERIFY(!QUuid::fromString(first).isNull());
        AnalyticsManager again(AnalyticsWire::testConfig(server, folder), [] { return false; });
        QCOMPARE(again.distinctId(), first);
        AnalyticsManager elsewhere(AnalyticsWire::testConfig(server, freshFolder()), [] { return true; });
        QVERIFY(elsewhere.distinctId() != first);
    }

    void noUserTextLeavesInTheTypedEvents()
    {
        TestHttpServer server;
        QVERIFY(server.listen());
        AnalyticsManager manager(AnalyticsWire::testConfig(server, freshFolder()), [] { return true; });
        const QString selection = QStringLiteral("Zyxquorbel fenwhistle 8237 ünïcødé");

        // The search itself must be able to find text, escaped or compressed, or it proves nothing.
        manager.capture(QStringLiteral("probe"), {{"leak", selection}});
        const QList<QJsonObject> probe = sentEvents(manager, server);
        QCOMPARE(probe.size(), 1);
        QVERIFY(AnalyticsWire::anyBytesContain(server.requests(), selection));
        QVERIFY(AnalyticsWire::anyBytesContain(server.requests(), QStringLiteral("ünïcødé")));
        server.clearRequests();

        manager.trackFixCompleted({false, 4, selection.size(), true, 640, std::nullopt});
        manager.trackFixFailed(true, 3);
        const QList<QJsonObject> events = sentEvents(manager, server);
        QCOMPARE(events.size(), 2);
        QVERIFY(!AnalyticsWire::anyBytesContain(server.requests(), selection));
        QVERIFY(!AnalyticsWire::anyBytesContain(server.requests(), QStringLiteral("Zyxquorbel")));
    }
};

QTEST_GUILESS_MAIN(AnalyticsManagerTest)
#include "tst_analyticsmanager.moc"
