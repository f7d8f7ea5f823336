#pragma once
#include <QStringList>

/// `tembrel-cli diff [--json] [--text] ORIGINAL FIXED`: prints the word diff of two files ("-" reads
/// standard input), or with `--text` of the two texts given. Returns the process exit status: 0 done, 1 unreadable input, 2 bad usage.
int runDiffCommand(const QStringList &arguments);

/// The usage text of the diff command.
[[nodiscard]] QString diffCommandUsage();
