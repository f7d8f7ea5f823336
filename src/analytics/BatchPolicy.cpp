#include "analytics/BatchPolicy.h"

#include <QJsonArray>
#include <QJsonDocument>

namespace Analytics {

BatchOutcome classifyStatus(int status)
{
    if (status >= 200 && status < 300)
        return BatchOutcome::Delivered;
    if (status == 0 || status == 408 || status == 429 || (status >= 500 && status < 600))
        return BatchOutcome::Retry;
    if (status == 413)
        return BatchOutcome::Split;
    return BatchOutcome::Drop;
}

std::optional<std::chrono::milliseconds> parseRetryAfter(const QByteArray& value, const QDateTime& now)
{
    const QByteArray trimmed = value.trimmed();
    if (trimmed.isEmpty())
        return std::nullopt;
    bool isNumber = false;
    const qint64 seconds = trimmed.toLongLong(&isNumber);
    if (isNumber)
        return seconds >= 0 ? std::optional(std::chrono::milliseconds(seconds * 1000)) : std::nullopt;
    // HTTP dates end in "GMT", which Qt's RFC 2822 reader does not take for a zone.
    QString text = QString::fromLatin1(trimmed);
    if (text.endsWith(QLatin1String(" GMT")))
        text = text.chopped(4) + QStringLiteral(" +0000");
    const QDateTime date = QDateTime::fromString(text, Qt::RFC2822Date);
    if (!date.isValid())
        return std::nullopt;
    return std::chrono::milliseconds(qMax<qint64>(0, now.msecsTo(date)));
}

std::chrono::milliseconds backoffDelay(int attempt, std::chrono::milliseconds initial, std::chrono::milliseconds max)
{
    std::chrono::milliseconds delay = initial;
    for (int i = 1; i < attempt && delay < max; ++i)
        delay *= 2;
    return qMin(delay, max);
}

QByteArray batchBody(const QString& apiKey, const QList<QJsonObject>& events, const QDateTime& sentAt)
{
    QJsonArray batch;
    for (const QJsonObject& event : events)
        batch.append(event);
    const QJsonObject body {
        {QStringLiteral("api_key"), apiKey},
        {QStringLiteral("batch"), batch},
        {QStringLiteral("sent_at"), isoTimestamp(sentAt)},
    };
    return QJsonDocument(body).toJson(QJsonDocument::Compact);
}

QString isoTimestamp(const QDateTime& time)
{
    return time.toUTC().toString(Qt::ISODateWithMs);
}

} // namespace Analytics
