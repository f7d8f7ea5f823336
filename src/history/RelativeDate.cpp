#include "history/RelativeDate.h"

namespace {
struct Unit
{
    qint64 seconds;
    const char* singular;
    const char* plural;
};

constexpr qint64 minute = 60;
constexpr qint64 hour = 60 * minute;
constexpr qint64 day = 24 * hour;

// Largest first. Months and years are counted as 30 and 365 days: a list entry's age does not
// need the calendar's precision.
constexpr Unit units[] = {
    {365 * day, "yr.", "yr."}, {30 * day, "mo.", "mo."}, {7 * day, "wk.", "wk."},
    {day, "day", "days"},      {hour, "hr.", "hr."},     {minute, "min.", "min."},
};
} // namespace

QString RelativeDate::abbreviated(const QDateTime& date, const QDateTime& now)
{
    const qint64 difference = date.secsTo(now);
    const qint64 distance = difference < 0 ? -difference : difference;
    qint64 count = distance;
    QString unit = QStringLiteral("sec.");
    for (const Unit& u : units) {
        if (distance >= u.seconds) {
            count = distance / u.seconds;
            unit = QString::fromLatin1(count == 1 ? u.singular : u.plural);
            break;
        }
    }
    const QString amount = QString::number(count) + QLatin1Char(' ') + unit;
    return difference < 0 ? QStringLiteral("in ") + amount : amount + QStringLiteral(" ago");
}
