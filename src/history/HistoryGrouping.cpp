#include "history/HistoryGrouping.h"

#include <QHash>

namespace HistoryGrouping {
namespace {

QDate startOfWeek(QDate day, Qt::DayOfWeek firstDay)
{
    const int back = (day.dayOfWeek() - int(firstDay) + 7) % 7;
    return day.addDays(-back);
}

} // namespace

QString heading(const QDateTime& date, const QDateTime& now, const QLocale& locale)
{
    // Days are the user's days: both moments are read on the local wall clock.
    const QDate day = date.toLocalTime().date();
    const QDate today = now.toLocalTime().date();
    if (day == today)
        return QStringLiteral("Today");
    if (day == today.addDays(-1))
        return QStringLiteral("Yesterday");
    const Qt::DayOfWeek firstDay = locale.firstDayOfWeek();
    // A week is the same week when it starts on the same day; a week that runs across a month's
    // end therefore still counts as this week.
    if (startOfWeek(day, firstDay) == startOfWeek(today, firstDay))
        return QStringLiteral("This Week");
    if (day.year() == today.year() && day.month() == today.month())
        return QStringLiteral("This Month");
    return locale.toString(day, QStringLiteral("MMMM yyyy"));
}

QList<Group> group(const QList<FixHistoryEntry>& entries, const QDateTime& now, const QLocale& locale)
{
    QList<Group> groups;
    QHash<QString, qsizetype> groupOfHeading;
    for (qsizetype i = 0; i < entries.size(); ++i) {
        const QString title = heading(entries.at(i).timestamp, now, locale);
        auto found = groupOfHeading.constFind(title);
        if (found == groupOfHeading.constEnd()) {
            found = groupOfHeading.insert(title, groups.size());
            groups.append(Group{title, {}});
        }
        groups[*found].indices.append(i);
    }
    return groups;
}

} // namespace HistoryGrouping
