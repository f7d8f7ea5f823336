#include "core/TraceCollector.h"

#include "core/TextFormat.h"

#include <QJsonValue>
#include <QTimeZone>
#include <QUuid>

namespace {
const QDateTime referenceDate(QDate(2001, 1, 1), QTime(0, 0), QTimeZone::utc());
}

double StoredDate::toSeconds(const QDateTime& date)
{
    return double(referenceDate.msecsTo(date)) / 1000.0;
}

QDateTime StoredDate::fromSeconds(double seconds)
{
    return referenceDate.addMSecs(qint64(std::llround(seconds * 1000.0))).toLocalTime();
}

QJsonObject TraceEvent::toJson() const
{
    QJsonObject object{{QStringLiteral("timestamp"), StoredDate::toSeconds(timestamp)},
                       {QStringLiteral("event"), event}};
    if (detail)
        object.insert(QStringLiteral("detail"), *detail);
    return object;
}

std::optional<TraceEvent> TraceEvent::fromJson(const QJsonObject& object)
{
    const QJsonValue timestamp = object.value(QStringLiteral("timestamp"));
    const QJsonValue event = object.value(QStringLiteral("event"));
    if (!timestamp.isDouble() || !event.isString())
        return std::nullopt;
    TraceEvent result{StoredDate::fromSeconds(timestamp.toDouble()), event.toString(), std::nullopt};
    const QJsonValue detail = object.value(QStringLiteral("detail"));
    if (detail.isString())
        result.detail = detail.toString();
    else if (!detail.isUndefined() && !detail.isNull())
        return std::nullopt;
    return result;
}

TraceCollector::TraceCollector()
    : TraceCollector(QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper())
{
}

TraceCollector::TraceCollector(QString id)
    : m_id(std::move(id))
{
}

void TraceCollector::record(const QString& event, const std::optional<QString>& detail)
{
    // Stamp under the lock so that timestamps never run backwards in recording order.
    QMutexLocker locker(&m_lock);
    m_events.append(TraceEvent{QDateTime::currentDateTime(), event, detail});
}

QList<TraceEvent> TraceCollector::events() const
{
    QMutexLocker locker(&m_lock);
    return m_events;
}

QString TraceCollector::render(const std::optional<QString>& traceId, const std::optional<QString>& clientId,
                               const QList<TraceEvent>& events)
{
    QStringList lines;
    if (traceId)
        lines << QStringLiteral("Trace ID: ") + *traceId;
    if (clientId)
        lines << QStringLiteral("Client ID: ") + *clientId;
    if (traceId || clientId)
        lines << QString();
    for (const TraceEvent& e : events) {
        QString line = QLatin1Char('[') + e.timestamp.toLocalTime().toString(QStringLiteral("yyyy-MM-dd HH:mm:ss.zzz"))
            + QStringLiteral("] ") + e.event;
        if (e.detail)
            line += QStringLiteral(": ") + *e.detail;
        lines << line;
    }
    if (!events.isEmpty()) {
        const qint64 total = events.first().timestamp.msecsTo(events.last().timestamp);
        lines << QString() << QStringLiteral("Total: ") + TextFormat::groupedNumber(total) + QStringLiteral(" ms");
    }
    return lines.join(QLatin1Char('\n'));
}
