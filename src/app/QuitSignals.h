#pragma once
#include <functional>

/// Turns SIGTERM, SIGINT and SIGHUP (a session ending, Ctrl+C, a closed terminal) into an ordinary
/// quit on the UI thread, so that what is kept in memory (the history's last change) is written
/// before the process ends.
namespace QuitSignals {
/// Installs the handlers once; `quit` runs on the thread that called this, from its event loop.
void install(std::function<void()> quit);
} // namespace QuitSignals
