#pragma once
#include <QDateTime>
#include <QString>

/// Short relative dates for lists: "5 sec. ago", "3 min. ago", "2 hr. ago", "1 day ago",
/// "2 wk. ago", "4 mo. ago", "1 yr. ago", and "in 5 min." for a date still to come.
namespace RelativeDate {
/// `date` relative to `now`, in the largest unit that counts at least one, rounded down.
[[nodiscard]] QString abbreviated(const QDateTime& date, const QDateTime& now);
} // namespace RelativeDate
