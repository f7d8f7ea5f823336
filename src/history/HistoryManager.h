#pragma once
#include "history/FixHistoryEntry.h"

#include <QObject>

class QSettings;

/// The record of past fixes, newest first, kept in one JSON file that is rewritten after every
/// change. Lives on the UI thread; the app creates one and hands it to whoever needs it.
class HistoryManager : public QObject
{
    Q_OBJECT
    Q_PROPERTY(bool isEnabled READ isEnabled WRITE setEnabled NOTIFY isEnabledChanged)
    Q_PROPERTY(int count READ count NOTIFY entriesChanged)
    Q_PROPERTY(qint64 totalEdits READ totalEdits NOTIFY entriesChanged)

public:
    static constexpr qsizetype maxEntries = 500;

    /// Reads "historyEnabled" from `settings` (which must outlive the manager) and loads the file
    /// at `storagePath`.
    HistoryManager(QSettings& settings, QString storagePath, QObject* parent = nullptr);

    /// The user's history file: the generic data folder, then "Tembrel/history.json". Ends the
    /// program when the system names no data folder.
    [[nodiscard]] static QString defaultStoragePath();

    [[nodiscard]] const QList<FixHistoryEntry>& entries() const { return m_entries; }
    [[nodiscard]] int count() const { return int(m_entries.size()); }
    [[nodiscard]] QString storagePath() const { return m_storagePath; }
    /// Whether new fixes are recorded ("historyEnabled", true unless a false is stored).
    [[nodiscard]] bool isEnabled() const { return m_isEnabled; }
    /// Stores the flag; neither saves the file nor deletes anything.
    void setEnabled(bool enabled);

    /// Entries whose original or fixed text contains the query, ignoring case; all for an empty query.
    [[nodiscard]] QList<FixHistoryEntry> filtered(const QString& query) const;
    /// Sum of the edit counts, an entry without one adding nothing.
    [[nodiscard]] qint64 totalEdits() const;

    /// Records a finished fix when recording is on: `entry` gets a fresh id and the current time,
    /// goes to the front, the list is cut to 500 and saved. Returns the new id, or nothing when
    /// recording is off (nothing is saved then).
    std::optional<QUuid> addEntry(FixHistoryEntry entry);
    /// Sets the edit count of the first entry with this id and saves; an unknown id is ignored.
    void updateEditCount(const QUuid& id, qint64 editCount);
    /// Removes every entry with this id and saves.
    void deleteEntry(const QUuid& id);
    /// Empties the history and saves.
    void clearAll();

    /// Writes the whole list; a failure is printed and the list in memory is kept.
    void save();
    /// Replaces the list from the file; an unreadable file gives an empty list and is copied aside
    /// so the next save cannot lose it.
    void load();

Q_SIGNALS:
    void entriesChanged();
    void isEnabledChanged(bool enabled);

private:
    void setEntries(QList<FixHistoryEntry> entries);
    void keepUnreadableFile();

    QSettings& m_settings;
    QList<FixHistoryEntry> m_entries;
    bool m_isEnabled = true;
    const QString m_storagePath;
};
