#include "capture/SelectionManager.h"

#include "capture/ClipboardManager.h"
#include "core/Logging.h"
#include "platform/KeySender.h"

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

SelectionManager::SelectionManager(KeySender& keys, ClipboardManager& clipboard)
    : m_keys(keys)
    , m_clipboard(clipboard)
{
}

QCoro::Task<std::optional<ClipboardContent>> SelectionManager::captureSelection(CancellationToken cancel)
{
    const bool sent = co_await m_keys.sendCopy();
    if (!sent)
        qCWarning(lcSelection) << "The copy shortcut could not be sent; reading the clipboard as it is";
    co_await cancellableSleep(copyDelay, cancel);
    if (cancel.isCancelled())
        qCDebug(lcSelection) << "Cancelled while waiting for the copy; reading the clipboard anyway";
    co_return m_clipboard.readContent();
}

#include "SelectionManager.moc"
