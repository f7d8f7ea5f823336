#include "analytics/AnalyticsManager.h"
#include "analytics/AnalyticsVocabulary.h"

#include <QTest>

// The fixed words that stand in for user data, and the exact shape of "tembrel_completed".
class AnalyticsVocabularyTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void textLengthBucket_data()
    {
        QTest::addColumn<qint64>("characters");
        QTest::addColumn<QString>("bucket");
        QTest::newRow("0") << qint64(0) << "tiny";
        QTest::newRow("1") << qint64(1) << "tiny";
        QTest::newRow("50") << qint64(50) << "tiny";
        QTest::newRow("51") << qint64(51) << "short";
        QTest::newRow("200") << qint64(200) << "short";
        QTest::newRow("201") << qint64(201) << "medium";
        QTest::newRow("1000") << qint64(1000) << "medium";
        QTest::newRow("1001") << qint64(1001) << "long";
        QTest::newRow("5000") << qint64(5000) << "long";
        QTest::newRow("5001") << qint64(5001) << "very_long";
        QTest::newRow("100000") << qint64(100000) << "very_long";
        QTest::newRow("beyond 32 bits") << qint64(5'000'000'000) << "very_long";
    }

    void textLengthBucket()
    {
        QFETCH(qint64, characters);
        QFETCH(QString, bucket);
        QCOMPARE(Analytics::textLengthBucket(characters), bucket);
    }

    void failureCategoryText_data()
    {
        QTest::addColumn<int>("code");
        QTest::addColumn<QString>("text");
        QTest::newRow("0") << 0 << "network";
        QTest::newRow("1") << 1 << "rate_limit";
        QTest::newRow("2") << 2 << "empty_input";
        QTest::newRow("3") << 3 << "too_long";
        QTest::newRow("4") << 4 << "processing";
        QTest::newRow("5") << 5 << "other";
        QTest::newRow("6") << 6 << "other";
        QTest::newRow("large") << 1000 << "other";
        QTest::newRow("negative") << -1 << "other";
    }

    void failureCategoryText()
    {
        QFETCH(int, code);
        QFETCH(QString, text);
        QCOMPARE(Analytics::failureCategoryText(code), text);
    }

    void superPropertyWords()
    {
        QCOMPARE(Analytics::environmentName(), QStringLiteral("production"));
#if defined(Q_OS_MACOS)
        QCOMPARE(Analytics::platformName(), QStringLiteral("macos"));
#else
        QCOMPARE(Analytics::platformName(), QStringLiteral("linux"));
#endif
        QCOMPARE(Analytics::endpointType(true), QStringLiteral("custom"));
        QCOMPARE(Analytics::endpointType(false), QStringLiteral("cloud"));
    }

    void completedFixProperties_data()
    {
        QTest::addColumn<std::optional<QString>>("modeName");
        QTest::addColumn<bool>("hasModeKey");
        QTest::newRow("named mode") << std::optional<QString>(QStringLiteral("Professional")) << true;
        QTest::newRow("no mode name") << std::optional<QString>() << false;
        QTest::newRow("empty mode name") << std::optional<QString>(QString()) << false;
    }

    void completedFixProperties()
    {
        QFETCH(std::optional<QString>, modeName);
        QFETCH(bool, hasModeKey);
        CompletedFix fix;
        fix.customEndpoint = true;
        fix.editCount = 7;
        fix.originalCharacters = 201;
        fix.hadChanges = true;
        fix.durationMs = 1234;
        fix.modeName = modeName;

        const QJsonObject properties = AnalyticsManager::fixCompletedProperties(fix);
        QStringList expectedKeys {"duration_ms", "edit_count", "endpoint_type", "had_changes", "text_length_bucket"};
        if (hasModeKey)
            expectedKeys.append("mode_name");
        expectedKeys.sort();
        QCOMPARE(QStringList(properties.keys()), expectedKeys);
        QCOMPARE(properties.value("endpoint_type").toString(), QStringLiteral("custom"));
        QVERIFY(properties.value("edit_count").isDouble());
        QCOMPARE(properties.value("edit_count").toInteger(), 7);
        QCOMPARE(properties.value("text_length_bucket").toString(), QStringLiteral("medium"));
        QVERIFY(properties.value("had_changes").isBool());
        QCOMPARE(properties.value("had_changes").toBool(), true);
        QCOMPARE(properties.value("duration_ms").toInteger(), 1234);
        if (hasModeKey)
            QCOMPARE(properties.value("mode_name").toString(), *modeName);
    }
};

QTEST_GUILESS_MAIN(AnalyticsVocabularyTest)
#include "tst_analyticsvocabulary.moc"
