#include "core/Cancellation.h"

struct CancellationToken::State
{
    std::atomic<bool> cancelled{false};
    CancellationNotifier notifier;
};

CancellationToken::CancellationToken()
    : m_state(std::make_shared<State>())
{
}

void CancellationToken::cancel() const
{
    if (m_state->cancelled.exchange(true))
        return;
    Q_EMIT m_state->notifier.cancelled();
}

QObject* CancellationToken::notifier() const
{
    return &m_state->notifier;
}

CancellationToken CancellationToken::none()
{
    return CancellationToken();
}

bool CancellationToken::isCancelled() const
{
    return m_state->cancelled.load();
}
