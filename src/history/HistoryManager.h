#pragma once
#include "history/FixHistoryEntry.h"
#include "history/HistoryFile.h"

#include <QObject>
#include <QThreadPool>
#include <QTimer>
#include <memory>

class QSettings;
struct HistoryWrite;

/// The record of past fixes, newest first, kept in one JSON file that is rewritten after every
/// change. Lives on the UI thread; the app creates one and hands it to whoever needs it. The file
/// is written on a thread of its own, never on the UI thread's way to the panel: changes made
/// close together share one write, a new fix waits for its edit count so that one write holds
/// both, and flush() (also run by the destructor) writes whatever is still pending before quitting.
class HistoryManager : public QObject
{
    Q_OBJECT
    Q_PROPERTY(bool isEnabled READ isEnabled WRITE setEnabled NOTIFY isEnabledChanged)
    Q_PROPERTY(int count READ count NOTIFY entriesChanged)
    Q_PROPERTY(qint64 totalEdits READ totalEdits NOTIFY entriesChanged)
    Q_PROPERTY(QString storageNotice READ storageNotice NOTIFY storageNoticeChanged)

public:
    static constexpr qsizetype maxEntries = 500;
    /// Longest original or fixed text an entry keeps, in characters; a longer one is cut.
    static constexpr qsizetype maxStoredTextLength = 250000;
    /// Longest HTML an entry keeps; the HTML of a larger fix is not kept (its text still is).
    static constexpr qsizetype maxStoredHtmlLength = 1000000;
    /// How long a new entry's write waits for its edit count; the count then costs a second write.
    static constexpr int editCountWaitMs = 3000;

    /// Reads "historyEnabled" from `settings` (which must outlive the manager) and loads the file
    /// at `storagePath`.
    HistoryManager(QSettings& settings, QString storagePath, QObject* parent = nullptr);
    /// Flushes.
    ~HistoryManager() override;

    /// The user's history file: the generic data folder, then "Tembrel/history.json". Ends the
    /// program when the system names no data folder.
    [[nodiscard]] static QString defaultStoragePath();

    [[nodiscard]] const QList<FixHistoryEntry>& entries() const { return m_entries; }
    [[nodiscard]] int count() const { return int(m_entries.size()); }
    [[nodiscard]] QString storagePath() const { return m_storagePath; }
    /// Where saves go: the storage path, unless an unreadable file there could not be set aside.
    [[nodiscard]] QString savePath() const { return m_savePath; }
    /// What the user should know about the history file (it could not be read, where its copy
    /// is); empty when all is well.
    [[nodiscard]] QString storageNotice() const { return m_storageNotice; }
    /// Whether new fixes are recorded ("historyEnabled", true unless a false is stored).
    [[nodiscard]] bool isEnabled() const { return m_isEnabled; }
    /// Stores the flag; neither saves the file nor deletes anything.
    void setEnabled(bool enabled);

    /// Entries whose original or fixed text contains the query, ignoring case; all for an empty query.
    [[nodiscard]] QList<FixHistoryEntry> filtered(const QString& query) const;
    /// Sum of the edit counts, an entry without one adding nothing.
    [[nodiscard]] qint64 totalEdits() const;

    /// Records a finished fix when recording is on: `entry` gets a fresh id and the current time,
    /// its texts are cut to the stored limits, it goes to the front and the list is cut to 500.
    /// The save waits for the entry's edit count (at most editCountWaitMs). Returns the new id, or
    /// nothing when recording is off (nothing is saved then).
    std::optional<QUuid> addEntry(FixHistoryEntry entry);
    /// Sets the edit count of the first entry with this id and saves; an unknown id is ignored.
    void updateEditCount(const QUuid& id, qint64 editCount);
    /// Removes every entry with this id and saves.
    void deleteEntry(const QUuid& id);
    /// Empties the history and saves.
    void clearAll();

    /// Writes the whole list soon, off the UI thread; a failure is printed and the list in memory
    /// is kept.
    void save();
    /// Waits for a write under way and writes any change not yet saved, on the calling thread.
    void flush();
    /// How many times the file has been written (or a write tried) since the manager was made.
    [[nodiscard]] int writeCount() const { return m_writeCount; }
    /// Replaces the list from the file; an unreadable file gives an empty list and is set aside
    /// under a new name so no save can lose it. When it cannot be set aside, it stays untouched
    /// and saves go to a file of a new name instead.
    void load();

Q_SIGNALS:
    void entriesChanged();
    void isEnabledChanged(bool enabled);
    void storageNoticeChanged();

private:
    void setEntries(QList<FixHistoryEntry> entries);
    void keepUnreadableFile();
    void setStorageNotice(const QString& notice);
    void scheduleSave(int delayMs);
    void startWrite();
    void writeFinished(const std::shared_ptr<HistoryWrite>& write);
    void report(const std::optional<HistorySaveError>& error);

    QSettings& m_settings;
    QList<FixHistoryEntry> m_entries;
    bool m_isEnabled = true;
    const QString m_storagePath;
    QString m_savePath;
    QString m_storageNotice;
    bool m_saveFailing = false;

    // Saving: a change marks the list dirty and arms the timer; the timer hands a copy of the list
    // to the single writer thread. One write is under way at a time; a change made meanwhile is
    // written after it.
    QTimer m_saveTimer;
    QThreadPool m_writer;
    std::shared_ptr<HistoryWrite> m_inFlight;
    std::optional<QUuid> m_awaitingCount;
    bool m_dirty = false;
    int m_writeCount = 0;
};
