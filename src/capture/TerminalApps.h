#pragma once
#include <QString>
#include <QStringList>
#include <optional>

/// A terminal emulator, where the usual copy shortcut would interrupt the running program.
struct TerminalApp
{
    QString name;
    /// Whether Ctrl+Shift+C copies its selection; where it does not, only the primary selection
    /// gives it (xterm sends Ctrl+Shift+C to the program as Ctrl+C).
    bool copiesWithShortcut = false;
};

namespace TerminalApps {
/// The terminal emulator the window system's names of an application (X11 WM_CLASS instance and
/// class, Wayland app id) belong to; none for any other application.
[[nodiscard]] std::optional<TerminalApp> recognise(const QStringList& applicationIds);
} // namespace TerminalApps
