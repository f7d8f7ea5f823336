#pragma once
#include <QObject>
#include <QPointer>
#include <atomic>
#include <memory>

/// Cooperative cancellation of one fix run: the run checks it where its steps say it does, and
/// awaiting code (a network reply, a pause) can listen for it to stop early.
class CancellationToken
{
public:
    CancellationToken();

    /// Whether cancel() was called on this token or a copy of it.
    [[nodiscard]] bool isCancelled() const;
    /// Cancels every copy of this token; later calls do nothing.
    void cancel() const;

    /// A QObject that emits `cancelled()` on its thread when cancel() is called; connect awaiting
    /// work to it. Lives as long as the token's shared state.
    [[nodiscard]] QObject* notifier() const;

    /// A token that is never cancelled, for calls made outside a run.
    static CancellationToken none();

private:
    struct State;
    std::shared_ptr<State> m_state;
};

/// Carries a token's cancellation as a signal, for code that awaits signals rather than polls.
class CancellationNotifier : public QObject
{
    Q_OBJECT
Q_SIGNALS:
    void cancelled();
};
