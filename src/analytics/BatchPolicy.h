#pragma once
#include <QByteArray>
#include <QDateTime>
#include <QJsonObject>
#include <QList>
#include <QString>
#include <chrono>
#include <optional>

/// How the analytics client builds a batch and what it does with the answer.
namespace Analytics {

/// What to do with a batch after the server (or the transport) answered.
enum class BatchOutcome {
    Delivered, // 2xx: the events are gone from the queue
    Retry,     // 408, 429, 5xx or no answer at all: keep them and try again later
    Split,     // 413: the batch was too large; send it in halves
    Drop,      // any other status: the server will never take this batch
};

/// The outcome for an HTTP status; `status` 0 means the request failed before any answer.
[[nodiscard]] BatchOutcome classifyStatus(int status);

/// The wait a "Retry-After" header asks for (seconds or an HTTP date), if it is readable.
[[nodiscard]] std::optional<std::chrono::milliseconds> parseRetryAfter(const QByteArray& value, const QDateTime& now);

/// The wait before retry number `attempt` (1 for the first): doubling from `initial`, at most `max`.
[[nodiscard]] std::chrono::milliseconds backoffDelay(int attempt, std::chrono::milliseconds initial,
                                                     std::chrono::milliseconds max);

/// The JSON body of a batch request: {"api_key", "batch": [...], "sent_at"}.
[[nodiscard]] QByteArray batchBody(const QString& apiKey, const QList<QJsonObject>& events, const QDateTime& sentAt);

/// A time as the events carry it: ISO 8601 in UTC with milliseconds ("2024-05-01T09:30:00.250Z").
[[nodiscard]] QString isoTimestamp(const QDateTime& time);

} // namespace Analytics
