#include "settings/UsageStatsManager.h"
#include "support/SettingsFile.h"

#include <QProcess>
#include <QSettings>
#include <QSignalSpy>
#include <QTest>
#include <QTimeZone>

namespace {
// Set in the environment of a child copy of this test that must overflow a counter.
const char overflowChildVariable[] = "TEMBREL_USAGESTATS_OVERFLOW_SETTINGS";
} // namespace

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

    void overflowEndsTheProgram()
    {
        m_settings->setValue(QStringLiteral("stats.totalEdits"), std::numeric_limits<qint64>::max() - 1);
        m_settings->sync();
        QProcess child;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QString::fromLatin1(overflowChildVariable), m_settings.path());
        child.setProcessEnvironment(environment);
        child.start(QCoreApplication::applicationFilePath(), {});
        QVERIFY(child.waitForFinished(30000));
        QVERIFY(child.exitStatus() == QProcess::CrashExit || child.exitCode() != 0);
        QVERIFY(child.readAllStandardError().contains("Usage counter totalEdits overflowed"));
        // The fix that overflowed saved nothing: the first one's values stand.
        QCOMPARE(m_settings.reopen().value(QStringLiteral("stats.totalEdits")).toLongLong(), std::numeric_limits<qint64>::max());
        QCOMPARE(m_settings->value(QStringLiteral("stats.totalTembrels")).toLongLong(), 1);
    }
};

int main(int argc, char* argv[])
{
    QCoreApplication app(argc, argv);
    if (qEnvironmentVariableIsSet(overflowChildVariable)) {
        QSettings settings(qEnvironmentVariable(overflowChildVariable), QSettings::IniFormat);
        UsageStatsManager stats(settings);
        stats.recordFix(1, 1); // reaches the largest value
        stats.recordFix(1, 1); // one more is fatal
        return 0;
    }
    TestUsageStats test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_usagestats.moc"
