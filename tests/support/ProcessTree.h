#pragma once
#include <QList>
#include <QtGlobal>

/// What /proc tells about a process and the processes it started (Linux only): for tests that
/// count the web engine's helper processes and benchmarks that weigh them.
namespace ProcessTree {
/// Every process started by `pid`, and by those in turn.
[[nodiscard]] QList<qint64> descendants(qint64 pid);
/// The proportional set size of `pid` and all its descendants, in kB.
[[nodiscard]] qint64 pssKb(qint64 pid);
} // namespace ProcessTree
