#pragma once
#include <QJsonObject>
#include <QList>
#include <QSet>
#include <QString>

/// The analytics events waiting to be sent, kept in a file with one JSON event per line so that
/// they survive a quit or a crash. Holds at most `capacity` events: the oldest give way. A line
/// that does not hold a well-formed event is skipped on load; the other lines are kept.
class EventQueue
{
public:
    EventQueue(QString filePath, int capacity);

    /// Replaces the contents with what the file holds; a missing file is an empty queue.
    void load();
    /// Writes the queue to its file (atomically); an empty queue removes the file.
    bool save();

    /// Adds an event at the back, dropping the oldest when the queue is full.
    void append(const QJsonObject& event);
    /// The first `count` events, oldest first.
    [[nodiscard]] QList<QJsonObject> front(int count) const;
    /// Removes the events with these "uuid" values, wherever they are.
    void remove(const QSet<QString>& uuids);
    /// Forgets every event and removes the file.
    void clear();

    [[nodiscard]] int size() const { return int(m_events.size()); }
    [[nodiscard]] bool isEmpty() const { return m_events.isEmpty(); }
    [[nodiscard]] bool isDirty() const { return m_dirty; }
    [[nodiscard]] QString filePath() const { return m_filePath; }

    /// Whether `event` has the shape the client writes: "event", "uuid", "timestamp",
    /// "distinct_id" as text and "properties" as an object.
    [[nodiscard]] static bool isWellFormed(const QJsonObject& event);

private:
    void trimToCapacity();

    QString m_filePath;
    int m_capacity;
    QList<QJsonObject> m_events;
    bool m_dirty = false;
};
