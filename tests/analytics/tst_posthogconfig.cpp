#include "analytics/PostHogConfig.h"
#include "app/BuildConfig.h"
#include "support/TestEnvironment.h"

#include <QTest>

// Where the client's key, host and folder come from, and the batch address made from the host.
class PostHogConfigTest : public QObject
{
    Q_OBJECT

private:
    TestEnvironment m_env;

private Q_SLOTS:
    void cleanup()
    {
        qunsetenv("TEMBREL_POSTHOG_KEY");
        qunsetenv("TEMBREL_POSTHOG_HOST");
    }

    void buildOptionsWithoutOverrides()
    {
        const PostHogConfig config = PostHogConfig::fromBuildOptions();
        QCOMPARE(config.apiKey, QString::fromUtf8(BuildConfig::posthogKey).trimmed());
        QCOMPARE(config.host, QString::fromUtf8(BuildConfig::posthogHost));
        QCOMPARE(config.libraryVersion, QString::fromUtf8(BuildConfig::version));
        QCOMPARE(config.storageDirectory, m_env.dataHome() + "/Tembrel/analytics");
        QVERIFY(!config.captureApplicationLifecycleEvents);
        QVERIFY(!config.captureScreenViews);
    }

    void environmentOverridesTheBuild()
    {
        qputenv("TEMBREL_POSTHOG_KEY", " phc_MadeUpKeyForThisTestOnly ");
        qputenv("TEMBREL_POSTHOG_HOST", "https://analytics.example.test");
        const PostHogConfig config = PostHogConfig::fromBuildOptions();
        QCOMPARE(config.apiKey, "phc_MadeUpKeyForThisTestOnly");
        QCOMPARE(config.batchUrl(), QUrl("https://analytics.example.test/batch/"));
    }

    void anEmptyKeyVariableSwitchesAnalyticsOff()
    {
        qputenv("TEMBREL_POSTHOG_KEY", "");
        qputenv("TEMBREL_POSTHOG_HOST", "");
        const PostHogConfig config = PostHogConfig::fromBuildOptions();
        QVERIFY(config.apiKey.isEmpty());
        QCOMPARE(config.host, QString::fromUtf8(BuildConfig::posthogHost)); // an empty host is no host
    }

    void batchUrl_data()
    {
        QTest::addColumn<QString>("host");
        QTest::addColumn<QString>("url"); // empty: not usable
        QTest::newRow("plain") << "https://us.i.posthog.com" << "https://us.i.posthog.com/batch/";
        QTest::newRow("trailing slash") << "https://us.i.posthog.com/" << "https://us.i.posthog.com/batch/";
        QTest::newRow("two slashes") << "https://h.example.test//" << "https://h.example.test/batch/";
        QTest::newRow("with a path") << "https://h.example.test/ingest" << "https://h.example.test/ingest/batch/";
        QTest::newRow("local test server") << "http://127.0.0.1:8000" << "http://127.0.0.1:8000/batch/";
        QTest::newRow("spaces around") << "  https://h.example.test  " << "https://h.example.test/batch/";
        QTest::newRow("no scheme") << "us.i.posthog.com" << "";
        QTest::newRow("other scheme") << "ftp://h.example.test" << "";
        QTest::newRow("empty") << "" << "";
        QTest::newRow("no host") << "https://" << "";
    }

    void batchUrl()
    {
        QFETCH(QString, host);
        QFETCH(QString, url);
        PostHogConfig config;
        config.host = host;
        QCOMPARE(config.batchUrl(), url.isEmpty() ? QUrl() : QUrl(url));
    }
};

QTEST_GUILESS_MAIN(PostHogConfigTest)
#include "tst_posthogconfig.moc"
