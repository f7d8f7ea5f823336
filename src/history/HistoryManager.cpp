#include "history/HistoryManager.h"

#include "core/Logging.h"
#include "history/HistoryFile.h"
#include "settings/UserDefaults.h"

#include <QFile>
#include <QFileInfo>
#include <QSettings>
#include <QStandardPaths>
#include <cstdio>

// One write handed to the writer thread; its result is read on the UI thread once it is done.
struct HistoryWrite
{
    std::optional<HistorySaveError> error;
};

namespace {
const QString historyEnabledKey = QStringLiteral("historyEnabled");

// Storage failures go to standard output, where the macOS build prints them too.
void printLine(const QString& line)
{
    std::fputs(qUtf8Printable(line + QLatin1Char('\n')), stdout);
    std::fflush(stdout);
}

void capText(QString& text)
{
    if (text.size() <= HistoryManager::maxStoredTextLength)
        return;
    qsizetype cut = HistoryManager::maxStoredTextLength - 1;
    if (text.at(cut - 1).isHighSurrogate())
        --cut;
    text = text.left(cut) + QChar(0x2026);
}

void capHtml(std::optional<QString>& html)
{
    if (html && html->size() > HistoryManager::maxStoredHtmlLength)
        html.reset();
}
} // namespace

HistoryManager::HistoryManager(QSettings& settings, QString storagePath, QObject* parent)
    : QObject(parent)
    , m_settings(settings)
    , m_isEnabled(UserDefaults::strictBool(settings, historyEnabledKey).value_or(true))
    , m_storagePath(std::move(storagePath))
    , m_savePath(m_storagePath)
{
    m_saveTimer.setSingleShot(true);
    connect(&m_saveTimer, &QTimer::timeout, this, &HistoryManager::startWrite);
    m_writer.setMaxThreadCount(1);
    load();
}

HistoryManager::~HistoryManager()
{
    flush();
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
    // One oversized fix must not make every later save rewrite megabytes.
    capText(entry.originalText);
    capText(entry.fixedText);
    capHtml(entry.originalHTML);
    capHtml(entry.fixedHTML);
    if (!entry.originalHTML || !entry.fixedHTML) {
        entry.originalHTML.reset();
        entry.fixedHTML.reset();
    }
    QList<FixHistoryEntry> entries = m_entries;
    entries.prepend(entry);
    // The cut happens only here: a file that holds more loads whole and shrinks on the next add.
    if (entries.size() > maxEntries)
        entries.resize(maxEntries);
    setEntries(std::move(entries));
    m_awaitingCount = entry.id;
    scheduleSave(editCountWaitMs);
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
        if (m_awaitingCount == id)
            m_awaitingCount.reset();
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
    scheduleSave(0);
}

void HistoryManager::scheduleSave(int delayMs)
{
    m_dirty = true;
    if (!m_saveTimer.isActive() || m_saveTimer.remainingTime() > delayMs)
        m_saveTimer.start(delayMs);
}

void HistoryManager::startWrite()
{
    if (!m_dirty || m_inFlight)
        return; // a write under way starts the next one when it ends
    m_dirty = false;
    auto write = std::make_shared<HistoryWrite>();
    m_inFlight = write;
    ++m_writeCount;
    // The copy shares the entries' data; the list in memory may change while the copy is written.
    m_writer.start([this, write, path = m_savePath, entries = m_entries] {
        write->error = HistoryFile::write(path, entries);
        // The destructor waits for this task, so the manager is alive here; the call is dropped
        // when the manager goes before the event loop delivers it.
        QMetaObject::invokeMethod(this, [this, write] { writeFinished(write); }, Qt::QueuedConnection);
    });
}

void HistoryManager::writeFinished(const std::shared_ptr<HistoryWrite>& write)
{
    if (write != m_inFlight)
        return; // flush() took its result already
    m_inFlight.reset();
    report(write->error);
    if (m_dirty && !m_saveTimer.isActive())
        startWrite();
}

void HistoryManager::flush()
{
    m_saveTimer.stop();
    m_writer.waitForDone();
    if (const std::shared_ptr<HistoryWrite> write = std::exchange(m_inFlight, nullptr))
        report(write->error);
    m_awaitingCount.reset();
    if (!m_dirty)
        return;
    m_dirty = false;
    ++m_writeCount;
    report(HistoryFile::write(m_savePath, m_entries));
}

void HistoryManager::report(const std::optional<HistorySaveError>& error)
{
    if (!error) {
        if (m_saveFailing)
            setStorageNotice(QString());
        m_saveFailing = false;
        return;
    }
    printLine(QStringLiteral("Failed to save history: ") + error->description());
    // Said in the window once, and only while nothing more important is said there.
    if (m_storageNotice.isEmpty()) {
        m_saveFailing = true;
        setStorageNotice(QStringLiteral("Your history could not be saved: ") + error->description()
                         + QStringLiteral(". The tembrels of this session are kept until Tembrel quits."));
    }
}

void HistoryManager::load()
{
    // The list is replaced, so a change not yet written is dropped; a write under way ends first,
    // so that it cannot land after the read.
    m_saveTimer.stop();
    m_writer.waitForDone();
    if (const std::shared_ptr<HistoryWrite> write = std::exchange(m_inFlight, nullptr))
        report(write->error);
    m_dirty = false;
    m_awaitingCount.reset();
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

void HistoryManager::setStorageNotice(const QString& notice)
{
    if (notice == m_storageNotice)
        return;
    m_storageNotice = notice;
    Q_EMIT storageNoticeChanged();
}

void HistoryManager::setEntries(QList<FixHistoryEntry> entries)
{
    m_entries = std::move(entries);
    Q_EMIT entriesChanged();
}

void HistoryManager::keepUnreadableFile()
{
    // The next save replaces the file with whatever is in memory, which after a failed load is
    // nothing. A copy leaves the file where the user may look for it; on a full disk, where no
    // copy fits, a rename still works, as it needs no space.
    const QString stamp = QDateTime::currentDateTimeUtc().toString(QStringLiteral("yyyyMMdd-HHmmss"));
    QString backup = m_storagePath + QStringLiteral(".unreadable-") + stamp;
    for (int n = 2; QFileInfo::exists(backup); ++n)
        backup = m_storagePath + QStringLiteral(".unreadable-") + stamp + u'-' + QString::number(n);
    const QString name = QFileInfo(backup).fileName();
    if (QFile::copy(m_storagePath, backup) || QFile::rename(m_storagePath, backup)) {
        qCWarning(lcHistory, "Kept the unreadable history file as %s", qUtf8Printable(backup));
        setStorageNotice(QStringLiteral("Your earlier history could not be read. It was kept as \"%1\" beside the new one.")
                             .arg(name));
        return;
    }
    // Neither a rename nor a copy: the unreadable file stays as it is and nothing ever overwrites
    // it; this session's history is saved under a new name.
    m_savePath = QFileInfo(m_storagePath).absolutePath() + QStringLiteral("/history-") + stamp + QStringLiteral(".json");
    qCCritical(lcHistory, "Could not keep a copy of the unreadable history file %s; it is left untouched and "
                          "new entries are saved to %s",
               qUtf8Printable(m_storagePath), qUtf8Printable(m_savePath));
    setStorageNotice(QStringLiteral("Your earlier history could not be read and was left untouched in \"%1\". "
                                    "New tembrels are saved to \"%2\".")
                         .arg(QFileInfo(m_storagePath).fileName(), QFileInfo(m_savePath).fileName()));
}
