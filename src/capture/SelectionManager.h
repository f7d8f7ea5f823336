#pragma once
#include "capture/ClipboardContent.h"
#include "core/Cancellation.h"

#include <QCoro/QCoroTask>
#include <chrono>
#include <optional>

class ClipboardManager;
class KeySender;

/// Captures the selection of the focused application: makes it copy, waits for the copy to land
/// and reads the clipboard. Lives on the UI thread.
class SelectionManager
{
public:
    /// Time allowed for the other application to put its selection on the clipboard.
    static constexpr std::chrono::milliseconds copyDelay{100};

    SelectionManager(KeySender& keys, ClipboardManager& clipboard);

    /// Sends the copy shortcut, waits copyDelay (cut short by cancellation) and reads the
    /// clipboard either way. The clipboard is read even when nothing new was copied.
    QCoro::Task<std::optional<ClipboardContent>> captureSelection(CancellationToken cancel = CancellationToken::none());

private:
    KeySender& m_keys;
    ClipboardManager& m_clipboard;
};
