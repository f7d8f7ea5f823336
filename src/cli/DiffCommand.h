#pragma once
#include <QStringList>

/// `tembrel-cli diff [--json] ORIGINAL FIXED`: prints the word diff of two files ("-" reads
/// standard input). Returns the process exit status: 0 done, 1 unreadable input, 2 bad usage.
int runDiffCommand(const QStringList &arguments);

/// The usage text of the diff command.
[[nodiscard]] QString diffCommandUsage();
