#include "analytics/EventQueue.h"

#include "core/Logging.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QSaveFile>

EventQueue::EventQueue(QString filePath, int capacity)
    : m_filePath(std::move(filePath))
    , m_capacity(qMax(1, capacity))
{
}

bool EventQueue::isWellFormed(const QJsonObject& event)
{
    const auto text = [&](const char* key) {
        const QJsonValue value = event.value(QLatin1String(key));
        return value.isString() && !value.toString().isEmpty();
    };
    return text("event") && text("uuid") && text("timestamp") && text("distinct_id")
        && event.value(QLatin1String("properties")).isObject();
}

void EventQueue::load()
{
    m_events.clear();
    m_dirty = false;
    QFile file(m_filePath);
    if (!file.exists())
        return;
    if (!file.open(QIODevice::ReadOnly)) {
        qCWarning(lcPostHog) << "Cannot read the analytics queue, starting empty:" << file.errorString();
        return;
    }
    int skipped = 0;
    while (!file.atEnd()) {
        const QByteArray line = file.readLine().trimmed();
        if (line.isEmpty())
            continue;
        QJsonParseError error;
        const QJsonDocument document = QJsonDocument::fromJson(line, &error);
        if (error.error != QJsonParseError::NoError || !document.isObject() || !isWellFormed(document.object())) {
            ++skipped;
            continue;
        }
        m_events.append(document.object());
    }
    if (skipped > 0) {
        // Only the count: the lines may hold anything, and nothing from an event is ever logged.
        qCWarning(lcPostHog) << "Skipped" << skipped << "damaged line(s) of the analytics queue";
        m_dirty = true;
    }
    trimToCapacity();
}

bool EventQueue::save()
{
    if (m_events.isEmpty()) {
        if (QFile::exists(m_filePath) && !QFile::remove(m_filePath)) {
            qCWarning(lcPostHog) << "Cannot remove the empty analytics queue file";
            return false;
        }
        m_dirty = false;
        return true;
    }
    QDir().mkpath(QFileInfo(m_filePath).absolutePath());
    QSaveFile file(m_filePath);
    if (!file.open(QIODevice::WriteOnly)) {
        qCWarning(lcPostHog) << "Cannot write the analytics queue:" << file.errorString();
        return false;
    }
    for (const QJsonObject& event : std::as_const(m_events)) {
        file.write(QJsonDocument(event).toJson(QJsonDocument::Compact));
        file.write("\n");
    }
    if (!file.commit()) {
        qCWarning(lcPostHog) << "Cannot write the analytics queue:" << file.errorString();
        return false;
    }
    m_dirty = false;
    return true;
}

void EventQueue::append(const QJsonObject& event)
{
    m_events.append(event);
    trimToCapacity();
    m_dirty = true;
}

QList<QJsonObject> EventQueue::front(int count) const
{
    return m_events.mid(0, qMax(0, count));
}

void EventQueue::remove(const QSet<QString>& uuids)
{
    const auto removed = m_events.removeIf([&](const QJsonObject& event) {
        return uuids.contains(event.value(QLatin1String("uuid")).toString());
    });
    if (removed > 0)
        m_dirty = true;
}

void EventQueue::clear()
{
    m_events.clear();
    m_dirty = false;
    if (QFile::exists(m_filePath) && !QFile::remove(m_filePath))
        qCWarning(lcPostHog) << "Cannot remove the analytics queue file";
}

void EventQueue::trimToCapacity()
{
    const qsizetype excess = m_events.size() - m_capacity;
    if (excess <= 0)
        return;
    m_events.remove(0, excess);
    m_dirty = true;
    qCInfo(lcPostHog) << "Analytics queue full, dropped the" << excess << "oldest event(s)";
}
