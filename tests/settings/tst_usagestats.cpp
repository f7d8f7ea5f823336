#include "settings/UsageStatsManager.h"
#include "support/SettingsFile.h"

#include <QSettings>
#include <QSignalSpy>
#include <QTest>
#include <QTimeZone>

class TestUsageStats : public QObject
{
    Q_OBJECT

    TestEnvironment m_env;
    SettingsFile m_settings{m_env, "stats"};

private Q_SLOTS:
    void init() { m_settings.fresh(); }

    void recordsFixesUnderTheirKeys()
    {
        UsageStatsManager stats(*m_settings);
        QSignalSpy changed(&stats, &UsageStatsManager::statsChanged);
        const QDateTime before = QDateTime::currentDateTimeUtc();
        stats.recordFix(0, 12);
        const QDateTime after = QDateTime::currentDateTimeUtc();
        stats.recordFix(7, 3'000'000'000);
        QCOMPARE(changed.count(), 2);
        QCOMPARE(stats.totalTembrels(), 2);
        QCOMPARE(stats.totalEdits(), 7);
        QCOMPARE(stats.totalCharactersProcessed(), 3'000'000'012);

        QSettings& file = m_settings.reopen();
        QCOMPARE(file.value(QStringLiteral("stats.totalTembrels")).toLongLong(), 2);
        QCOMPARE(file.value(QStringLiteral("stats.totalEdits")).toLongLong(), 7);
        // The field is "characters processed"; its key has always been the short name.
        QCOMPARE(file.value(QStringLiteral("stats.totalCharacters")).toLongLong(), 3'000'000'012);
        QVERIFY(!file.contains(QStringLiteral("stats.totalCharactersProcessed")));
        const double seconds = file.value(QStringLiteral("stats.firstTembrelDate")).toDouble();
        QVERIFY(seconds >= before.toMSecsSinceEpoch() / 1000.0 - 0.001);
        QVERIFY(seconds <= after.toMSecsSinceEpoch() / 1000.0 + 0.001);

        UsageStatsManager reloaded(file);
        QCOMPARE(reloaded.totalTembrels(), 2);
        QCOMPARE(reloaded.totalCharactersProcessed(), 3'000'000'012);
        QVERIFY(reloaded.firstTembrelDate());
        QCOMPARE(reloaded.firstTembrelDate()->toMSecsSinceEpoch(), qint64(std::llround(seconds * 1000)));
    }

    void firstDateIsNeverMoved()
    {
        // 2023-11-14 22:13:20 UTC, counted from 1970.
        m_settings->setValue(QStringLiteral("stats.firstTembrelDate"), 1700000000.5);
        UsageStatsManager stats(m_settings.reopen());
        QCOMPARE(stats.firstTembrelDate()->toUTC(),
                 QDateTime(QDate(2023, 11, 14), QTime(22, 13, 20, 500), QTimeZone::utc()));
        stats.recordFix(1, 1);
        stats.recordFix(1, 1);
        QCOMPARE(m_settings.reopen().value(QStringLiteral("stats.firstTembrelDate")).toDouble(), 1700000000.5);
    }

    void absentOrUnreadableValuesCountAsNothing_data()
    {
        QTest::addColumn<QVariant>("date");
        QTest::addColumn<QVariant>("count");
        QTest::newRow("absent") << QVariant() << QVariant();
        QTest::newRow("text") << QVariant(QStringLiteral("last tuesday")) << QVariant(QStringLiteral("many"));
        QTest::newRow("bool") << QVariant(true) << QVariant(QByteArray("12"));
    }

    void absentOrUnreadableValuesCountAsNothing()
    {
        QFETCH(QVariant, date);
        QFETCH(QVariant, count);
        if (date.isValid())
            m_settings->setValue(QStringLiteral("stats.firstTembrelDate"), date);
        for (const char* key : {"stats.totalTembrels", "stats.totalEdits", "stats.totalCharacters"}) {
            if (count.isValid())
                m_settings->setValue(QLatin1String(key), count);
        }
        UsageStatsManager stats(m_settings.reopen());
        QVERIFY(!stats.firstTembrelDate());
        QVERIFY(!stats.firstTembrelDateOrInvalid().isValid());
        QCOMPARE((QList<qint64>{stats.totalTembrels(), stats.totalEdits(), stats.totalCharactersProcessed()}),
                 (QList<qint64>{0, 0, 0}));
        stats.recordFix(2, 5);
        QVERIFY(stats.firstTembrelDate());
        QCOMPARE(UsageStatsManager(m_settings.reopen()).totalEdits(), 2);
    }

    void saveWithoutDateRemovesTheKey()
    {
        m_settings->setValue(QStringLiteral("stats.firstTembrelDate"), QStringLiteral("garbage"));
        UsageStatsManager stats(m_settings.reopen());
        stats.save();
        QVERIFY(!m_settings.reopen().contains(QStringLiteral("stats.firstTembrelDate")));
        QCOMPARE(m_settings->value(QStringLiteral("stats.totalTembrels")).toLongLong(), 0);
    }

    void aCounterAtItsLimitStaysThere_data()
    {
        QTest::addColumn<QString>("key");
        QTest::addColumn<QString>("counter");
        QTest::newRow("tembrels") << "stats.totalTembrels" << "totalTembrels";
        QTest::newRow("edits") << "stats.totalEdits" << "totalEdits";
        QTest::newRow("characters") << "stats.totalCharacters" << "totalCharactersProcessed";
    }

    void aCounterAtItsLimitStaysThere()
    {
        QFETCH(QString, key);
        QFETCH(QString, counter);
        constexpr qint64 largest = std::numeric_limits<qint64>::max();
        m_settings->setValue(key, largest - 1);
        UsageStatsManager stats(m_settings.reopen());
        QTest::ignoreMessage(QtWarningMsg, qPrintable("Usage counter " + counter + " reached its limit and stays there"));
        for (int i = 0; i < 3; ++i) // logged once, however often
            stats.recordFix(1, 1);
        QCOMPARE(m_settings.reopen().value(key).toLongLong(), largest);
        QCOMPARE(UsageStatsManager(*m_settings).totalTembrels(), key.endsWith("Tembrels") ? largest : 3);
    }

    void aFirstDateOutOfRangeIsSetAnew_data()
    {
        QTest::addColumn<QVariant>("stored");
        QTest::newRow("1e308") << QVariant(1e308);
        QTest::newRow("-1e308") << QVariant(-1e308);
        QTest::newRow("as text") << QVariant(QStringLiteral("1e308"));
    }

    void aFirstDateOutOfRangeIsSetAnew()
    {
        QFETCH(QVariant, stored);
        m_settings->setValue(QStringLiteral("stats.firstTembrelDate"), stored);
        QTest::ignoreMessage(QtWarningMsg, "The stored date of the first fix is out of range; the next fix sets it anew");
        UsageStatsManager stats(m_settings.reopen());
        QVERIFY(!stats.firstTembrelDate());
        const double before = QDateTime::currentSecsSinceEpoch() - 1;
        stats.recordFix(1, 1);
        const double written = m_settings.reopen().value(QStringLiteral("stats.firstTembrelDate")).toDouble();
        QVERIFY2(written >= before && written <= before + 60, qPrintable(QString::number(written)));
    }
};

QTEST_GUILESS_MAIN(TestUsageStats)
#include "tst_usagestats.moc"
