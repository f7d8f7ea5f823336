#include "history/HistoryWindowModel.h"

#include "core/TextFormat.h"
#include "core/TraceCollector.h"
#include "history/HistoryManager.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QLocale>
#include <QRegularExpression>

HistoryWindowModel::HistoryWindowModel(HistoryManager& store, std::function<QString()> clientId,
                                       std::function<QString()> shortcutText, QObject* parent)
    : QObject(parent)
    , m_store(store)
    , m_list(store)
    , m_clientId(std::move(clientId))
    , m_shortcutText(std::move(shortcutText))
{
    m_copiedTimer.setSingleShot(true);
    m_copiedTimer.setInterval(copiedMilliseconds);
    connect(&m_copiedTimer, &QTimer::timeout, this, [this] { setTraceCopied(false); });
    connect(&m_list, &HistoryListModel::summaryChanged, this, &HistoryWindowModel::listChanged);
    connect(&m_list, &HistoryListModel::queryChanged, this, &HistoryWindowModel::searchTextChanged);
    connect(&m_store, &HistoryManager::entriesChanged, this, &HistoryWindowModel::followStore);
    connect(&m_store, &HistoryManager::storageNoticeChanged, this, &HistoryWindowModel::storageNoticeChanged);
}

QString HistoryWindowModel::storageNotice() const
{
    return m_store.storageNotice();
}

void HistoryWindowModel::setSearchText(const QString& text)
{
    m_list.setQuery(text);
}

bool HistoryWindowModel::isHistoryEmpty() const
{
    return m_store.count() == 0;
}

bool HistoryWindowModel::hasNoMatches() const
{
    // Not while a search is still running: "No matches" would flash up before every result.
    return m_store.count() > 0 && m_list.rowCount() == 0 && !m_list.isSearching();
}

QString HistoryWindowModel::shortcutHint() const
{
    const QString shortcut = m_shortcutText ? m_shortcutText() : QString();
    if (shortcut.isEmpty())
        return {};
    return QStringLiteral("Press ") + shortcut + QStringLiteral(" to get started");
}

QString HistoryWindowModel::selectedId() const
{
    return m_selected ? m_selected->id.toString(QUuid::WithoutBraces) : QString();
}

void HistoryWindowModel::setSelectedId(const QString& id)
{
    std::optional<FixHistoryEntry> next;
    const QUuid uuid(id);
    if (!uuid.isNull()) {
        for (const FixHistoryEntry& entry : m_store.entries()) {
            if (entry.id == uuid) {
                next = entry;
                break;
            }
        }
    }
    if (next == m_selected)
        return;
    const bool sameEntry = next && m_selected && next->id == m_selected->id;
    m_selected = std::move(next);
    if (!sameEntry) {
        setTraceOpen(false);
        setTraceCopied(false);
    }
    Q_EMIT selectionChanged();
}

QStringList HistoryWindowModel::headerParts() const
{
    if (!m_selected)
        return {};
    QStringList parts;
    if (m_selected->editCount)
        parts.append(TextFormat::plural(*m_selected->editCount, QStringLiteral("edit")));
    if (m_selected->sourceApp && !m_selected->sourceApp->isEmpty())
        parts.append(*m_selected->sourceApp);
    const QLocale locale = TextFormat::displayLocale();
    const QDateTime when = m_selected->timestamp.toLocalTime();
    parts.append(locale.toString(when.date(), longDateWithoutWeekday(locale)) + QStringLiteral(", ")
                 + locale.toString(when.time(), QLocale::ShortFormat));
    return parts;
}

QString HistoryWindowModel::longDateWithoutWeekday(const QLocale& locale)
{
    // The locale's long date names the weekday too, which leaves no room beside the trace button.
    static const QRegularExpression weekday(QStringLiteral("[,\u060C\\s]*dddd[,\u060C\\s]*|[,\u060C\\s]*ddd(?!d)[,\u060C\\s]*"));
    QString pattern = locale.dateFormat(QLocale::LongFormat);
    const QRegularExpressionMatch found = weekday.match(pattern);
    if (!found.hasMatch())
        return pattern;
    // Removed from the start or the end, the separators around it go too; from the middle, one stays.
    const bool inside = found.capturedStart() > 0 && found.capturedEnd() < pattern.size();
    pattern.replace(found.capturedStart(), found.capturedLength(), inside ? QStringLiteral(" ") : QString());
    return pattern.trimmed();
}

QString HistoryWindowModel::originalText() const
{
    return m_selected ? m_selected->originalText : QString();
}

QString HistoryWindowModel::fixedText() const
{
    return m_selected ? m_selected->fixedText : QString();
}

QString HistoryWindowModel::originalHTML() const
{
    return m_selected ? m_selected->result().originalHTML.value_or(QString()) : QString();
}

QString HistoryWindowModel::fixedHTML() const
{
    return m_selected ? m_selected->result().fixedHTML.value_or(QString()) : QString();
}

bool HistoryWindowModel::isRich() const
{
    return !originalHTML().isEmpty() || !fixedHTML().isEmpty();
}

void HistoryWindowModel::setViewMode(int mode)
{
    if (mode == m_viewMode || mode < 0 || mode >= viewModeLabels().size())
        return;
    m_viewMode = mode;
    Q_EMIT viewModeChanged();
}

QStringList HistoryWindowModel::viewModeLabels()
{
    return {QStringLiteral("Original"), QStringLiteral("Tembreled"), QStringLiteral("Diff")};
}

void HistoryWindowModel::setTraceOpen(bool open)
{
    if (open == m_traceOpen)
        return;
    m_traceOpen = open;
    Q_EMIT traceOpenChanged();
}

bool HistoryWindowModel::hasTrace() const
{
    return m_selected && m_selected->trace && !m_selected->trace->isEmpty();
}

QString HistoryWindowModel::traceText() const
{
    if (!hasTrace())
        return {};
    const QString clientId = m_clientId ? m_clientId() : QString();
    return TraceCollector::render(m_selected->traceId,
                                  clientId.isEmpty() ? std::nullopt : std::optional<QString>(clientId),
                                  *m_selected->trace);
}

void HistoryWindowModel::copyTrace()
{
    if (!hasTrace())
        return;
    QClipboard* clipboard = QGuiApplication::clipboard();
    clipboard->clear();
    clipboard->setText(traceText());
    setTraceCopied(true);
    m_copiedTimer.start();
}

void HistoryWindowModel::setTraceCopied(bool copied)
{
    if (copied == m_traceCopied)
        return;
    m_traceCopied = copied;
    Q_EMIT traceCopiedChanged();
}

QString HistoryWindowModel::clearMessage() const
{
    return QStringLiteral("Delete all ") + TextFormat::plural(m_store.count(), QStringLiteral("tembrel"))
           + QStringLiteral(" from history? This can't be undone.");
}

void HistoryWindowModel::requestDelete(const QString& id)
{
    const QUuid uuid(id);
    if (uuid.isNull())
        return;
    m_pendingDeletion = uuid;
    Q_EMIT confirmationChanged();
}

void HistoryWindowModel::confirmDelete()
{
    if (!m_pendingDeletion)
        return;
    const QUuid id = *m_pendingDeletion;
    m_pendingDeletion.reset();
    Q_EMIT confirmationChanged();
    m_store.deleteEntry(id);
}

void HistoryWindowModel::cancelDelete()
{
    if (!m_pendingDeletion)
        return;
    m_pendingDeletion.reset();
    Q_EMIT confirmationChanged();
}

void HistoryWindowModel::requestClear()
{
    m_confirmingClear = true;
    Q_EMIT confirmationChanged();
}

void HistoryWindowModel::confirmClear()
{
    if (!m_confirmingClear)
        return;
    m_confirmingClear = false;
    Q_EMIT confirmationChanged();
    m_store.clearAll();
}

void HistoryWindowModel::cancelClear()
{
    if (!m_confirmingClear)
        return;
    m_confirmingClear = false;
    Q_EMIT confirmationChanged();
}

void HistoryWindowModel::setClock(std::function<QDateTime()> now)
{
    m_list.setClock(std::move(now));
}

void HistoryWindowModel::followStore()
{
    // The selection follows its entry: a new edit count shows, a deleted entry leaves the pane.
    setSelectedId(selectedId());
    Q_EMIT confirmationChanged();
}
