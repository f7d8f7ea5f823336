#pragma once
#include <QDateTime>
#include <QJsonObject>
#include <QList>
#include <QMutex>
#include <QString>
#include <memory>
#include <optional>

/// One timestamped step of a fix ("hotkey_pressed", "request_started", ...).
struct TraceEvent
{
    QDateTime timestamp;
    QString event;
    std::optional<QString> detail;

    bool operator==(const TraceEvent&) const = default;

    /// Stored form: {"timestamp": seconds since 2001-01-01 UTC, "event", "detail" when present}.
    [[nodiscard]] QJsonObject toJson() const;
    [[nodiscard]] static std::optional<TraceEvent> fromJson(const QJsonObject& object);
};

/// Dates are stored as seconds (floating point) since 2001-01-01 00:00:00 UTC, the reference date
/// of the macOS build, so both builds read the same history file.
namespace StoredDate {
[[nodiscard]] double toSeconds(const QDateTime& date);
[[nodiscard]] QDateTime fromSeconds(double seconds);
} // namespace StoredDate

/// The events of one fix run. Engines record from their request tasks while the coordinator reads
/// on the UI thread, so every append and copy takes the lock.
class TraceCollector
{
public:
    TraceCollector();
    explicit TraceCollector(QString id);

    [[nodiscard]] QString id() const { return m_id; }
    void record(const QString& event, const std::optional<QString>& detail = std::nullopt);
    [[nodiscard]] QList<TraceEvent> events() const;

    /// The trace as text for the history window's copy action.
    [[nodiscard]] static QString render(const std::optional<QString>& traceId, const std::optional<QString>& clientId,
                                        const QList<TraceEvent>& events);

private:
    const QString m_id;
    mutable QMutex m_lock;
    QList<TraceEvent> m_events;
};

using TracePtr = std::shared_ptr<TraceCollector>;
