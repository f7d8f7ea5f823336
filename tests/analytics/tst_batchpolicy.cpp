#include "AnalyticsWire.h"
#include "analytics/BatchPolicy.h"
#include "analytics/Gzip.h"
#include "analytics/SessionTracker.h"

#include <QRegularExpression>
#include <QTest>
#include <QTimeZone>
#include <QUuid>

using namespace std::chrono_literals;
using Analytics::BatchOutcome;

Q_DECLARE_METATYPE(BatchOutcome)

// The decisions behind sending: what each answer means, how long to wait, how a batch and its
// ids look on the wire.
class BatchPolicyTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void classifiesStatuses_data()
    {
        QTest::addColumn<int>("status");
        QTest::addColumn<BatchOutcome>("outcome");
        const QList<QPair<int, BatchOutcome>> rows{
            {200, BatchOutcome::Delivered}, {204, BatchOutcome::Delivered}, {0, BatchOutcome::Retry},
            {408, BatchOutcome::Retry},     {429, BatchOutcome::Retry},     {500, BatchOutcome::Retry},
            {503, BatchOutcome::Retry},     {599, BatchOutcome::Retry},     {413, BatchOutcome::Split},
            {400, BatchOutcome::Drop},      {401, BatchOutcome::Drop},      {404, BatchOutcome::Drop},
            {409, BatchOutcome::Drop},      {499, BatchOutcome::Drop},      {600, BatchOutcome::Drop}};
        for (const auto& [status, outcome] : rows)
            QTest::addRow(status ? "%d" : "no answer (%d)", status) << status << outcome;
    }

    void classifiesStatuses()
    {
        QFETCH(int, status);
        QFETCH(BatchOutcome, outcome);
        QCOMPARE(Analytics::classifyStatus(status), outcome);
    }

    void readsRetryAfter_data()
    {
        QTest::addColumn<QByteArray>("header");
        QTest::addColumn<qint64>("expectedMs"); // -1: not readable
        QTest::newRow("seconds") << QByteArray("120") << qint64(120000);
        QTest::newRow("zero") << QByteArray("0") << qint64(0);
        QTest::newRow("padded") << QByteArray(" 3 ") << qint64(3000);
        QTest::newRow("http date") << QByteArray("Wed, 01 May 2024 09:00:30 GMT") << qint64(30000);
        QTest::newRow("date in the past") << QByteArray("Wed, 01 May 2024 08:59:00 GMT") << qint64(0);
        QTest::newRow("negative") << QByteArray("-5") << qint64(-1);
        QTest::newRow("words") << QByteArray("soon") << qint64(-1);
        QTest::newRow("fraction") << QByteArray("1.5") << qint64(-1);
        QTest::newRow("absent") << QByteArray() << qint64(-1);
    }

    void readsRetryAfter()
    {
        QFETCH(QByteArray, header);
        QFETCH(qint64, expectedMs);
        const QDateTime now(QDate(2024, 5, 1), QTime(9, 0), Qt::UTC);
        const auto wait = Analytics::parseRetryAfter(header, now);
        if (expectedMs < 0) {
            QVERIFY(!wait.has_value());
        } else {
            QVERIFY(wait.has_value());
            QCOMPARE(wait->count(), expectedMs);
        }
    }

    void backoffDoublesUpToItsCeiling_data()
    {
        QTest::addColumn<int>("attempt");
        QTest::addColumn<qint64>("expectedMs");
        // The production schedule: 5 s, doubling, at most 5 minutes.
        for (const auto& [attempt, ms] : QList<QPair<int, qint64>>{{1, 5000}, {2, 10000}, {3, 20000}, {6, 160000},
                                                                   {7, 300000}, {100, 300000}})
            QTest::addRow("attempt %d", attempt) << attempt << ms;
    }

    void backoffDoublesUpToItsCeiling()
    {
        QFETCH(int, attempt);
        QFETCH(qint64, expectedMs);
        const PostHogConfig production;
        QCOMPARE(Analytics::backoffDelay(attempt, production.retryInitialDelay, production.retryMaxDelay).count(), expectedMs);
    }

    void timestampsAreUtcWithMilliseconds()
    {
        const QDateTime local(QDate(2024, 12, 31), QTime(23, 59, 59, 999), QTimeZone(3600));
        QCOMPARE(Analytics::isoTimestamp(local), "2024-12-31T22:59:59.999Z");
    }

    void gzipRoundTripsThroughAnIndependentInflater()
    {
        QByteArray text;
        for (int i = 0; i < 2000; ++i)
            text += "event number " + QByteArray::number(i) + " ";
        const auto compressed = Analytics::gzipCompress(text);
        QVERIFY(compressed.has_value());
        QVERIFY(compressed->startsWith("\x1f\x8b\x08"));
        QVERIFY(compressed->size() < text.size());
        QCOMPARE(AnalyticsWire::gunzip(*compressed), text);
        QCOMPARE(AnalyticsWire::gunzip(*Analytics::gzipCompress(QByteArray())), QByteArray());
    }

    void uuidV7CarriesTheTime()
    {
        const QDateTime time(QDate(2024, 5, 1), QTime(9, 30, 0, 250), Qt::UTC);
        const QString first = Analytics::createUuidV7(time);
        const QString second = Analytics::createUuidV7(time);
        QVERIFY(first != second);
        // Version 7, the standard variant; QUuid of Qt 6.4 knows versions up to 5 only.
        QVERIFY(QRegularExpression("^[0-9a-f]{8}-[0-9a-f]{4}-7[0-9a-f]{3}-[89ab][0-9a-f]{3}-[0-9a-f]{12}$").match(first).hasMatch());
        const QString hex = first.left(8) + first.mid(9, 4);
        QCOMPARE(hex.toLongLong(nullptr, 16), time.toMSecsSinceEpoch());
    }

    void sessionRotatesAfterThirtyIdleMinutes()
    {
        SessionTracker sessions(30min);
        const QDateTime start(QDate(2024, 5, 1), QTime(9, 0), Qt::UTC);
        const QString first = sessions.sessionIdFor(start);
        QVERIFY(!QUuid::fromString(first).isNull());
        QCOMPARE(sessions.sessionIdFor(start.addSecs(-3600)), first); // the clock stepped back: no idle time
        QCOMPARE(sessions.sessionIdFor(start.addSecs(29 * 60)), first);
        QCOMPARE(sessions.sessionIdFor(start.addSecs(59 * 60)), first); // exactly thirty minutes is not yet idle
        const QString second = sessions.sessionIdFor(start.addSecs(90 * 60));
        QVERIFY(second != first);
        QCOMPARE(sessions.sessionIdFor(start.addSecs(91 * 60)), second);
    }
};

QTEST_GUILESS_MAIN(BatchPolicyTest)
#include "tst_batchpolicy.moc"
