#pragma once
#include <QStringList>

/// `tembrel-cli quill [FILE]`: prints the HTML of a Quill delta read from FILE or standard input.
/// `args` are the arguments after "quill". Returns the process exit status.
int runQuillCommand(const QStringList& args);
