#pragma once
#include <QStringList>

/// `tembrel-cli clipboard`: prints what Tembrel reads from the clipboard — the types on offer, the
/// format taken, whether it came from Google Docs, the plain text and the HTML. Needs a
/// QGuiApplication. `args` are the arguments after "clipboard". Returns the exit status.
int runClipboardCommand(const QStringList& args);
