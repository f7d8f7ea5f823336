#include "capture/SelectionManager.h"

#include "capture/ClipboardManager.h"
#include "capture/TerminalApps.h"
#include "core/Logging.h"
#include "platform/KeySender.h"
#include "platform/Workspace.h"

#include <QCoroSignal>
#include <QTimer>

namespace {

// Ends a wait either when its time is up or when the run is cancelled, whichever comes first.
class Wake : public QObject
{
    Q_OBJECT
public:
    Wake(std::chrono::milliseconds delay, const CancellationToken& cancel)
    {
        m_timer.setSingleShot(true);
        connect(&m_timer, &QTimer::timeout, this, &Wake::woke);
        connect(static_cast<CancellationNotifier*>(cancel.notifier()), &CancellationNotifier::cancelled, this,
                &Wake::woke);
        m_timer.start(delay);
    }

Q_SIGNALS:
    void woke();

private:
    QTimer m_timer;
};

QCoro::Task<> cancellableSleep(std::chrono::milliseconds delay, CancellationToken cancel)
{
    if (cancel.isCancelled())
        co_return;
    Wake wake(delay, cancel);
    co_await qCoro(&wake, &Wake::woke);
}

} // namespace

SelectionManager::SelectionManager(KeySender& keys, ClipboardManager& clipboard, const Workspace& workspace)
    : m_keys(keys)
    , m_clipboard(clipboard)
    , m_workspace(workspace)
{
}

QCoro::Task<std::optional<ClipboardContent>> SelectionManager::captureSelection(CancellationToken cancel)
{
    if (const std::optional<TerminalApp> terminal = TerminalApps::recognise(m_workspace.frontmostApplicationIds()))
        co_return co_await captureFromTerminal(*terminal, cancel);
    const bool sent = co_await m_keys.sendCopy();
    co_return co_await readAfterCopy(sent, cancel);
}

QCoro::Task<std::optional<ClipboardContent>> SelectionManager::captureFromTerminal(const TerminalApp& terminal,
                                                                                   CancellationToken cancel)
{
    // A terminal owns the primary selection while it shows text selected: reading that sends no
    // key at all. Only the terminal's own ownership counts; another application's selection is
    // not what the user selected here.
    if (m_workspace.frontmostApplicationOwnsPrimarySelection()) {
        if (std::optional<ClipboardContent> content = m_clipboard.readPrimarySelection())
            co_return content;
    }
    if (!terminal.copiesWithShortcut) {
        qCInfo(lcSelection) << "Nothing selected in" << terminal.name << "(it is not sent a copy shortcut)";
        co_return std::nullopt;
    }
    const bool sent = co_await m_keys.sendTerminalCopy();
    co_return co_await readAfterCopy(sent, cancel);
}

QCoro::Task<std::optional<ClipboardContent>> SelectionManager::readAfterCopy(bool sent, CancellationToken cancel)
{
    if (!sent)
        qCWarning(lcSelection) << "The copy shortcut could not be sent; reading the clipboard as it is";
    co_await cancellableSleep(copyDelay, cancel);
    if (cancel.isCancelled())
        qCDebug(lcSelection) << "Cancelled while waiting for the copy; reading the clipboard anyway";
    co_return m_clipboard.readContent();
}

#include "SelectionManager.moc"
