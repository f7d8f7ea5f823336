#pragma once
#include "history/FixHistoryEntry.h"

#include <QDateTime>
#include <QList>
#include <QLocale>
#include <QString>

/// Date headings of the history list: "Today", "Yesterday", "This Week", "This Month", then the
/// month and year ("March 2025"), judged in local time with the locale's first day of the week.
namespace HistoryGrouping {

/// One heading and the positions, in list order, of the entries under it.
struct Group
{
    QString heading;
    QList<qsizetype> indices;

    bool operator==(const Group&) const = default;
};

/// The heading of an entry made at `date`, seen at `now`.
[[nodiscard]] QString heading(const QDateTime& date, const QDateTime& now, const QLocale& locale = QLocale());

/// The groups of a newest-first list, in the order their headings first occur; an entry whose
/// heading came up before, under another heading in between, joins that earlier group.
[[nodiscard]] QList<Group> group(const QList<FixHistoryEntry>& entries, const QDateTime& now,
                                 const QLocale& locale = QLocale());

} // namespace HistoryGrouping
