#pragma once
#include "history/FixHistoryEntry.h"

#include <QAbstractListModel>
#include <QDateTime>
#include <QFutureWatcher>
#include <QLocale>
#include <QtQml/qqmlregistration.h>
#include <functional>

class HistoryManager;

/// The history window's list: the store's entries matching the search, ordered by date group
/// ("Today", "Yesterday", ..., "March 2025"), each row with its group heading, a preview and the
/// subtitle. Follows the store as it changes. Lives on the UI thread; in a large history the
/// search runs on a worker and its rows replace the list in one reset when they are ready.
class HistoryListModel : public QAbstractListModel
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Made by the history window")
    Q_PROPERTY(QString query READ query WRITE setQuery NOTIFY queryChanged)
    Q_PROPERTY(int count READ rowCount NOTIFY countChanged)
    Q_PROPERTY(int totalCount READ totalCount NOTIFY summaryChanged)
    Q_PROPERTY(qint64 totalEdits READ totalEdits NOTIFY summaryChanged)
    Q_PROPERTY(QString tembrelSummary READ tembrelSummary NOTIFY summaryChanged)
    Q_PROPERTY(QString editSummary READ editSummary NOTIFY summaryChanged)

public:
    enum Role {
        IdRole = Qt::UserRole + 1,
        HeadingRole,
        PreviewRole,
        SubtitleRole,
    };

    /// Longest preview of a row, in characters; the view elides further to its width.
    static constexpr qsizetype previewLength = 160;
    /// From this many entries on, searching happens off the UI thread.
    static constexpr qsizetype backgroundSearchFrom = 2000;
    /// Up to this many rows coming or going are told one by one, so that the list keeps its place;
    /// any larger change is one reset.
    static constexpr qsizetype largestStepwiseChange = 16;

    /// `store` must outlive the model.
    explicit HistoryListModel(HistoryManager& store, QObject* parent = nullptr);

    /// Replaces the clock that headings and relative dates are measured against (tests).
    void setClock(std::function<QDateTime()> now);
    /// Replaces the locale that names months and starts weeks (tests).
    void setLocale(const QLocale& locale);

    [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override;
    [[nodiscard]] QHash<int, QByteArray> roleNames() const override;

    [[nodiscard]] QString query() const { return m_query; }
    void setQuery(const QString& query);
    [[nodiscard]] int totalCount() const;
    [[nodiscard]] qint64 totalEdits() const;
    /// "N tembrel" or "N tembrels", counting every entry of the store whatever the search.
    [[nodiscard]] QString tembrelSummary() const;
    /// "N edit" or "N edits", over every entry of the store.
    [[nodiscard]] QString editSummary() const;

    /// The entry shown in a row.
    [[nodiscard]] const FixHistoryEntry& entryAt(int row) const { return m_rows.at(row); }
    /// The headings of the rows, in row order, each once (what the list shows as sections).
    [[nodiscard]] Q_INVOKABLE QStringList headings() const;
    /// The row of the entry with this id, or -1.
    [[nodiscard]] Q_INVOKABLE int rowOf(const QString& id) const;

    /// A row's preview: the fixed text on one line, cut at `previewLength`.
    [[nodiscard]] static QString preview(const FixHistoryEntry& entry);

    /// Whether a search is still running on the worker.
    [[nodiscard]] bool isSearching() const { return m_pending != nullptr; }

public Q_SLOTS:
    /// Reads the store again and tells the view what changed.
    void refresh();

Q_SIGNALS:
    /// A search that ran on the worker has been applied.
    void searchFinished();
    void queryChanged();
    void countChanged();
    void summaryChanged();

private:
    struct Rows
    {
        QList<FixHistoryEntry> entries;
        QStringList headings;
    };
    /// The rows for a query; touches nothing shared, so it may run on any thread.
    static Rows computeRows(const QList<FixHistoryEntry>& entries, const QString& query, const QDateTime& now,
                            const QLocale& locale);
    void update(bool queryChanged);
    void applyRows(Rows rows, bool stepwise);

    HistoryManager& m_store;
    std::function<QDateTime()> m_now;
    QLocale m_locale;
    QString m_query;
    QList<FixHistoryEntry> m_rows;
    QStringList m_rowHeadings;
    std::unique_ptr<QFutureWatcher<Rows>> m_pending;
    bool m_pendingQueryChanged = false;
};
