#pragma once
#include <QStringList>

/// `tembrel-cli fix [--mode NAME] [--engine offline|custom|cloud] [--json] [FILE|-]`: fixes a text
/// from a file or standard input with the app's engines, settings and keyring, and prints the
/// fixed text (--json: the fixed text, the edit count and the diff's changes). Starts its own
/// QCoreApplication under the app's names when none runs, so it reads the app's settings. Returns the exit status: 0 fixed, 1 the fix failed (the panel's message goes
/// to standard error), 2 bad usage or unreadable input.
int runFixCommand(const QStringList& arguments);

/// The usage line of the fix command.
[[nodiscard]] QString fixCommandUsage();
