#include "history/HistoryListModel.h"

#include "core/TextFormat.h"
#include "history/HistoryGrouping.h"
#include "history/HistoryManager.h"

#include <QPromise>
#include <QThreadPool>

namespace {

// Whether every id of `shorter` occurs in `longer`, in the same order (ids are unique).
bool isSubsequence(const QList<FixHistoryEntry>& shorter, const QList<FixHistoryEntry>& longer)
{
    if (shorter.size() > longer.size())
        return false;
    qsizetype i = 0;
    for (qsizetype j = 0; j < longer.size() && i < shorter.size(); ++j) {
        if (longer.at(j).id == shorter.at(i).id)
            ++i;
    }
    return i == shorter.size();
}

} // namespace

HistoryListModel::HistoryListModel(HistoryManager& store, QObject* parent)
    : QAbstractListModel(parent)
    , m_store(store)
    , m_now([] { return QDateTime::currentDateTime(); })
{
    connect(&m_store, &HistoryManager::entriesChanged, this, &HistoryListModel::refresh);
    refresh();
}

void HistoryListModel::setClock(std::function<QDateTime()> now)
{
    m_now = std::move(now);
    refresh();
}

void HistoryListModel::setLocale(const QLocale& locale)
{
    m_locale = locale;
    refresh();
}

int HistoryListModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : int(m_rows.size());
}

QVariant HistoryListModel::data(const QModelIndex& index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return {};
    const FixHistoryEntry& entry = m_rows.at(index.row());
    switch (role) {
    case IdRole: return entry.id.toString(QUuid::WithoutBraces);
    case HeadingRole: return m_rowHeadings.at(index.row());
    case PreviewRole: return preview(entry);
    case SubtitleRole: return entry.subtitle(m_now());
    default: return {};
    }
}

QHash<int, QByteArray> HistoryListModel::roleNames() const
{
    return {
        {IdRole, "entryId"},
        {HeadingRole, "heading"},
        {PreviewRole, "preview"},
        {SubtitleRole, "subtitle"},
    };
}

void HistoryListModel::setQuery(const QString& query)
{
    if (query == m_query)
        return;
    m_query = query;
    Q_EMIT queryChanged();
    update(true);
}

int HistoryListModel::totalCount() const
{
    return m_store.count();
}

qint64 HistoryListModel::totalEdits() const
{
    return m_store.totalEdits();
}

QString HistoryListModel::tembrelSummary() const
{
    return TextFormat::plural(totalCount(), QStringLiteral("tembrel"));
}

QString HistoryListModel::editSummary() const
{
    return TextFormat::plural(totalEdits(), QStringLiteral("edit"));
}

QStringList HistoryListModel::headings() const
{
    QStringList result;
    for (const QString& heading : m_rowHeadings) {
        if (result.isEmpty() || result.last() != heading)
            result.append(heading);
    }
    return result;
}

int HistoryListModel::rowOf(const QString& id) const
{
    const QUuid uuid(id);
    for (qsizetype row = 0; row < m_rows.size(); ++row) {
        if (m_rows.at(row).id == uuid)
            return int(row);
    }
    return -1;
}

QString HistoryListModel::preview(const FixHistoryEntry& entry)
{
    // Cut before simplifying so a long text costs no more than a short one.
    QString text = entry.fixedText.left(previewLength * 2).simplified();
    if (text.size() > previewLength)
        text = text.left(previewLength - 1) + QChar(0x2026);
    return text;
}

void HistoryListModel::refresh()
{
    update(false);
}

HistoryListModel::Rows HistoryListModel::computeRows(const QList<FixHistoryEntry>& entries, const QString& query,
                                                     const QDateTime& now, const QLocale& locale)
{
    QList<FixHistoryEntry> matching;
    if (query.isEmpty()) {
        matching = entries;
    } else {
        const QString lowered = query.toLower();
        for (const FixHistoryEntry& entry : entries) {
            if (entry.matches(lowered))
                matching.append(entry);
        }
    }
    Rows rows;
    rows.entries.reserve(matching.size());
    rows.headings.reserve(matching.size());
    for (const HistoryGrouping::Group& group : HistoryGrouping::group(matching, now, locale)) {
        for (const qsizetype index : group.indices) {
            rows.entries.append(matching.at(index));
            rows.headings.append(group.heading);
        }
    }
    return rows;
}

void HistoryListModel::update(bool queryChanged)
{
    // A search still running is overtaken: its rows would be stale when they arrive.
    m_pendingQueryChanged = m_pendingQueryChanged || queryChanged;
    if (m_pending)
        m_pending->future().cancel();
    m_pending.reset();
    const QList<FixHistoryEntry> entries = m_store.entries();
    if (entries.size() < backgroundSearchFrom) {
        applyRows(computeRows(entries, m_query, m_now(), m_locale), !std::exchange(m_pendingQueryChanged, false));
        Q_EMIT summaryChanged();
        return;
    }

    // The entries are shared read-only with the worker; the list and its strings are copied on
    // write, so the store may change meanwhile.
    auto promise = std::make_shared<QPromise<Rows>>();
    m_pending = std::make_unique<QFutureWatcher<Rows>>();
    QFutureWatcher<Rows>* watcher = m_pending.get();
    connect(watcher, &QFutureWatcherBase::finished, this, [this, watcher] {
        if (m_pending.get() != watcher || watcher->future().resultCount() == 0)
            return;
        Rows rows = watcher->future().takeResult();
        m_pending.release()->deleteLater();
        applyRows(std::move(rows), !std::exchange(m_pendingQueryChanged, false));
        Q_EMIT summaryChanged();
        Q_EMIT searchFinished();
    });
    watcher->setFuture(promise->future());
    QThreadPool::globalInstance()->start([promise, entries, query = m_query, now = m_now(), locale = m_locale] {
        promise->start();
        if (!promise->isCanceled())
            promise->addResult(computeRows(entries, query, now, locale));
        promise->finish();
    });
}

void HistoryListModel::applyRows(Rows next, bool stepwise)
{
    QList<FixHistoryEntry> rows = std::move(next.entries);
    QStringList headings = std::move(next.headings);
    const int before = int(m_rows.size());
    // A fix arriving or an entry deleted while the window is open is told row by row, so the list
    // keeps its scroll position and selection. A new query, or any larger change, is one reset:
    // telling tens of thousands of rows one at a time would stall the window.
    stepwise = stepwise && qAbs(rows.size() - m_rows.size()) <= largestStepwiseChange;
    if (stepwise && rows.size() >= m_rows.size() && isSubsequence(m_rows, rows)) {
        for (qsizetype j = 0; j < rows.size(); ++j) {
            if (j < m_rows.size() && m_rows.at(j).id == rows.at(j).id)
                continue;
            beginInsertRows({}, int(j), int(j));
            m_rows.insert(j, rows.at(j));
            m_rowHeadings.insert(j, headings.at(j));
            endInsertRows();
        }
    } else if (stepwise && isSubsequence(rows, m_rows)) {
        for (qsizetype j = 0; j < m_rows.size();) {
            if (j < rows.size() && m_rows.at(j).id == rows.at(j).id) {
                ++j;
                continue;
            }
            beginRemoveRows({}, int(j), int(j));
            m_rows.removeAt(j);
            m_rowHeadings.removeAt(j);
            endRemoveRows();
        }
    } else {
        beginResetModel();
        m_rows = rows;
        m_rowHeadings = headings;
        endResetModel();
    }
    // Edit counts, headings and relative dates can change without the order changing.
    m_rows = std::move(rows);
    m_rowHeadings = std::move(headings);
    if (!m_rows.isEmpty())
        Q_EMIT dataChanged(index(0), index(int(m_rows.size()) - 1));
    if (before != m_rows.size())
        Q_EMIT countChanged();
}
