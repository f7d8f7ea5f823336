#include "history/HistoryGrouping.h"

#include <QTest>

namespace {

QDateTime at(int year, int month, int day, int hour = 12, int minute = 0, int second = 0)
{
    return QDateTime(QDate(year, month, day), QTime(hour, minute, second));
}

// Weeks start on Monday in the United Kingdom and on Sunday in the United States.
const QLocale mondayFirst(QLocale::English, QLocale::UnitedKingdom);
const QLocale sundayFirst(QLocale::English, QLocale::UnitedStates);

FixHistoryEntry madeAt(const QDateTime& when, const QString& text)
{
    FixHistoryEntry entry;
    entry.id = QUuid::createUuid();
    entry.timestamp = when;
    entry.originalText = text;
    entry.fixedText = text;
    return entry;
}

} // namespace

class TestHistoryGrouping : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void heading_data()
    {
        QTest::addColumn<QDateTime>("now");
        QTest::addColumn<QDateTime>("date");
        QTest::addColumn<QLocale>("locale");
        QTest::addColumn<QString>("expected");

        // Wednesday 1 October 2025: its week began on Monday 29 September.
        const QDateTime firstOfMonth = at(2025, 10, 1);
        QTest::newRow("earlier today") << firstOfMonth << at(2025, 10, 1, 0, 0, 0) << mondayFirst << "Today";
        QTest::newRow("later today") << firstOfMonth << at(2025, 10, 1, 23, 59) << mondayFirst << "Today";
        QTest::newRow("last day of previous month is yesterday")
            << firstOfMonth << at(2025, 9, 30, 8) << mondayFirst << "Yesterday";
        QTest::newRow("two days old, previous month, same week")
            << firstOfMonth << at(2025, 9, 29, 8) << mondayFirst << "This Week";
        QTest::newRow("Sunday before a Monday-first week")
            << firstOfMonth << at(2025, 9, 28, 8) << mondayFirst << "September 2025";
        QTest::newRow("Sunday opens a Sunday-first week")
            << firstOfMonth << at(2025, 9, 28, 8) << sundayFirst << "This Week";

        // Wednesday 15 October 2025.
        const QDateTime midMonth = at(2025, 10, 15);
        QTest::newRow("yesterday inside the week") << midMonth << at(2025, 10, 14, 9) << mondayFirst << "Yesterday";
        QTest::newRow("Monday of this week") << midMonth << at(2025, 10, 13, 0, 0, 1) << mondayFirst << "This Week";
        QTest::newRow("Sunday of last week") << midMonth << at(2025, 10, 12, 23, 59) << mondayFirst << "This Month";
        QTest::newRow("first of this month") << midMonth << at(2025, 10, 1) << mondayFirst << "This Month";
        QTest::newRow("last of previous month") << midMonth << at(2025, 9, 30) << mondayFirst << "September 2025";
        QTest::newRow("same month a year ago") << midMonth << at(2024, 10, 15) << mondayFirst << "October 2024";

        // Just after midnight: one second back is already yesterday.
        const QDateTime afterMidnight = at(2025, 10, 15, 0, 0, 1);
        QTest::newRow("midnight itself") << afterMidnight << at(2025, 10, 15, 0, 0, 0) << mondayFirst << "Today";
        QTest::newRow("second before midnight")
            << afterMidnight << at(2025, 10, 14, 23, 59, 59) << mondayFirst << "Yesterday";

        // Thursday 1 January 2026: the week began on Monday 29 December 2025.
        const QDateTime newYear = at(2026, 1, 1);
        QTest::newRow("new year's eve") << newYear << at(2025, 12, 31) << mondayFirst << "Yesterday";
        QTest::newRow("week across the year") << newYear << at(2025, 12, 29) << mondayFirst << "This Week";
        QTest::newRow("week before, last year") << newYear << at(2025, 12, 28) << mondayFirst << "December 2025";
        QTest::newRow("January a year ago is not this month")
            << at(2026, 1, 20) << at(2025, 1, 20) << mondayFirst << "January 2025";
        QTest::newRow("same week number a year ago")
            << midMonth << at(2024, 10, 16) << mondayFirst << "October 2024";
        QTest::newRow("month named in the locale's language")
            << midMonth << at(2025, 3, 3) << QLocale(QLocale::German, QLocale::Germany) << "März 2025";
    }

    void heading()
    {
        QFETCH(QDateTime, now);
        QFETCH(QDateTime, date);
        QFETCH(QLocale, locale);
        QFETCH(QString, expected);
        QCOMPARE(HistoryGrouping::heading(date, now, locale), expected);
    }

    void headingReadsDatesOnTheLocalClock()
    {
        // Stored dates come back in UTC; the day is the user's day, not Greenwich's.
        const QDateTime now = at(2025, 10, 15, 0, 30);
        const QDateTime lateYesterday = at(2025, 10, 14, 23, 30);
        QCOMPARE(HistoryGrouping::heading(lateYesterday.toUTC(), now.toUTC(), mondayFirst), QStringLiteral("Yesterday"));
    }

    void groupsKeepFirstOccurrenceOrder()
    {
        const QDateTime now = at(2025, 10, 15);
        // Newest first, except an entry whose clock ran ahead: it repeats "Today" after "Yesterday".
        const QList<FixHistoryEntry> entries = {
            madeAt(at(2025, 10, 15, 11), QStringLiteral("a")),
            madeAt(at(2025, 10, 14, 18), QStringLiteral("b")),
            madeAt(at(2025, 10, 15, 9), QStringLiteral("c")),
            madeAt(at(2025, 8, 2), QStringLiteral("d")),
            madeAt(at(2025, 10, 13), QStringLiteral("e")),
            madeAt(at(2025, 8, 1), QStringLiteral("f")),
        };
        const QList<HistoryGrouping::Group> groups = HistoryGrouping::group(entries, now, mondayFirst);
        const QList<HistoryGrouping::Group> expected = {
            {QStringLiteral("Today"), {0, 2}},
            {QStringLiteral("Yesterday"), {1}},
            {QStringLiteral("August 2025"), {3, 5}},
            {QStringLiteral("This Week"), {4}},
        };
        QCOMPARE(groups, expected);
    }

    void noEntriesNoGroups()
    {
        QVERIFY(HistoryGrouping::group({}, at(2025, 10, 15), mondayFirst).isEmpty());
    }
};

QTEST_GUILESS_MAIN(TestHistoryGrouping)
#include "tst_historygrouping.moc"
