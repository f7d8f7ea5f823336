#pragma once
#include "history/FixHistoryEntry.h"

#include <QDateTime>
#include <QList>

/// A made-up history for the window's tests and screenshots: `count` entries, newest first,
/// spread from minutes before `now` back over several months; every seventh is rich text,
/// every fifth has no trace, every eleventh no edit count. The same seed gives the same history.
namespace HistoryWindowFixture {
[[nodiscard]] QList<FixHistoryEntry> generate(int count, const QDateTime& now, quint32 seed = 7);
/// One plain entry with a trace of three events, an edit count and a source application.
[[nodiscard]] FixHistoryEntry plainEntry(const QDateTime& when, const QString& original, const QString& fixed);
} // namespace HistoryWindowFixture
