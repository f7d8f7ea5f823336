#include "history/HistoryManager.h"

#include "core/Logging.h"
#include "history/HistoryFile.h"
#include "settings/UserDefaults.h"

#include <QFile>
#include <QSettings>
#include <QStandardPaths>
#include <cstdio>

namespace {
const QString historyEnabledKey = QStringLiteral("historyEnabled");

// Storage failures go to standard output, where the macOS build prints them too.
void printLine(const QString& line)
{
    std::fputs(qUtf8Printable(line + QLatin1Char('\n')), stdout);
    std::fflush(stdout);
}
} // namespace

HistoryManager::HistoryManager(QSettings& settings, QString storagePath, QObject* parent)
    : QObject(parent)
    , m_settings(settings)
    , m_isEnabled(UserDefaults::strictBool(settings, historyEnabledKey).value_or(true))
    , m_storagePath(std::move(storagePath))
{
    load();
}

QString HistoryManager::defaultStoragePath()
{
    const QString folder = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
    if (folder.isEmpty())
        qFatal("No data folder for the history file");
    return folder + QStringLiteral("/Tembrel/history.json");
}

void HistoryManager::setEnabled(bool enabled)
{
    m_isEnabled = enabled;
    m_settings.setValue(historyEnabledKey, enabled);
    m_settings.sync();
    Q_EMIT isEnabledChanged(enabled);
}

QList<FixHistoryEntry> HistoryManager::filtered(const QString& query) const
{
    if (query.isEmpty())
        return m_entries;
    const QString lowered = query.toLower();
    QList<FixHistoryEntry> matches;
    for (const FixHistoryEntry& entry : m_entries) {
        if (entry.matches(lowered))
            matches.append(entry);
    }
    return matches;
}

qint64 HistoryManager::totalEdits() const
{
    qint64 total = 0;
    for (const FixHistoryEntry& entry : m_entries)
        total += entry.editCount.value_or(0);
    return total;
}

std::optional<QUuid> HistoryManager::addEntry(FixHistoryEntry entry)
{
    if (!m_isEnabled)
        return std::nullopt;
    entry.id = QUuid::createUuid();
    entry.timestamp = QDateTime::currentDateTime();
    entry.editCount.reset();
    QList<FixHistoryEntry> entries = m_entries;
    entries.prepend(entry);
    // The cut happens only here: a file that holds more loads whole and shrinks on the next add.
    if (entries.size() > maxEntries)
        entries.resize(maxEntries);
    setEntries(std::move(entries));
    save();
    return entry.id;
}

void HistoryManager::updateEditCount(const QUuid& id, qint64 editCount)
{
    for (qsizetype i = 0; i < m_entries.size(); ++i) {
        if (m_entries.at(i).id != id)
            continue;
        QList<FixHistoryEntry> entries = m_entries;
        entries[i].editCount = editCount;
        setEntries(std::move(entries));
        save();
        return;
    }
}

void HistoryManager::deleteEntry(const QUuid& id)
{
    QList<FixHistoryEntry> entries = m_entries;
    entries.removeIf([&](const FixHistoryEntry& entry) { return entry.id == id; });
    setEntries(std::move(entries));
    save();
}

void HistoryManager::clearAll()
{
    setEntries({});
    save();
}

void HistoryManager::save()
{
    if (const auto error = HistoryFile::write(m_storagePath, m_entries))
        printLine(QStringLiteral("Failed to save history: ") + error->description());
}

void HistoryManager::load()
{
    if (!QFile::exists(m_storagePath))
        return;
    auto loaded = HistoryFile::read(m_storagePath);
    if (const auto* error = std::get_if<HistoryDecodeError>(&loaded)) {
        printLine(QStringLiteral("Failed to load history: ") + error->description());
        keepUnreadableFile();
        setEntries({});
        return;
    }
    setEntries(std::get<QList<FixHistoryEntry>>(std::move(loaded)));
}

void HistoryManager::setEntries(QList<FixHistoryEntry> entries)
{
    m_entries = std::move(entries);
    Q_EMIT entriesChanged();
}

void HistoryManager::keepUnreadableFile()
{
    // The next save replaces the file with whatever is in memory, which after a failed load is
    // nothing; a copy keeps the user's entries recoverable.
    const QString stamp = QDateTime::currentDateTimeUtc().toString(QStringLiteral("yyyyMMdd-HHmmss"));
    const QString backup = m_storagePath + QStringLiteral(".unreadable-") + stamp;
    if (QFile::exists(backup) || QFile::copy(m_storagePath, backup))
        qCWarning(lcHistory, "Kept the unreadable history file as %s", qUtf8Printable(backup));
    else
        qCCritical(lcHistory, "Could not keep a copy of the unreadable history file %s; the next save replaces it",
                   qUtf8Printable(m_storagePath));
}
