#pragma once
#include "capture/ClipboardContent.h"
#include "core/Cancellation.h"

#include <QCoro/QCoroTask>
#include <chrono>
#include <optional>

class ClipboardManager;
class KeySender;
class Workspace;
struct TerminalApp;

/// Captures the selection of the focused application: makes it copy, waits for the copy to land
/// and reads the clipboard. A terminal emulator never gets the usual copy shortcut (it would
/// interrupt the program running there): its selection is read from the primary selection, or
/// copied with the terminal's own shortcut. Lives on the UI thread.
class SelectionManager
{
public:
    /// Time allowed for the other application to put its selection on the clipboard.
    static constexpr std::chrono::milliseconds copyDelay{100};

    SelectionManager(KeySender& keys, ClipboardManager& clipboard, const Workspace& workspace);

    /// Sends the copy shortcut, waits copyDelay (cut short by cancellation) and reads the
    /// clipboard either way. The clipboard is read even when nothing new was copied. A terminal
    /// that has no selection of its own and no copy shortcut gives none.
    QCoro::Task<std::optional<ClipboardContent>> captureSelection(CancellationToken cancel = CancellationToken::none());

private:
    QCoro::Task<std::optional<ClipboardContent>> captureFromTerminal(const TerminalApp& terminal,
                                                                     CancellationToken cancel);
    QCoro::Task<std::optional<ClipboardContent>> readAfterCopy(bool sent, CancellationToken cancel);

    KeySender& m_keys;
    ClipboardManager& m_clipboard;
    const Workspace& m_workspace;
};
