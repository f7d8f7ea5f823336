#pragma once
#include <QDateTime>
#include <QString>
#include <chrono>

namespace Analytics {

/// A time-ordered UUID (version 7) whose first 48 bits are `time` in Unix milliseconds.
[[nodiscard]] QString createUuidV7(const QDateTime& time);

} // namespace Analytics

/// Hands out the "$session_id" of each event: one id while events keep coming, a new one after
/// the idle timeout has passed without any event. Not thread-safe; the client guards it.
class SessionTracker
{
public:
    explicit SessionTracker(std::chrono::milliseconds idleTimeout);

    /// The session id for an event happening at `now`; starts a new session when the last event
    /// is longer ago than the idle timeout.
    [[nodiscard]] QString sessionIdFor(const QDateTime& now);

private:
    std::chrono::milliseconds m_idleTimeout;
    QDateTime m_lastEvent;
    QString m_sessionId;
};
