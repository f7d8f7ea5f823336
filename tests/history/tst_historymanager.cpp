#include "history/HistoryFile.h"
#include "history/HistoryManager.h"
#include "history/StdoutCapture.h"
#include "support/SettingsFile.h"
#include "support/TestData.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTest>
#include <csignal>
#include <cstring>
#include <sys/resource.h>

namespace {
FixHistoryEntry draft(const QString& original)
{
    FixHistoryEntry entry;
    entry.originalText = original;
    entry.fixedText = QStringLiteral("fixed");
    entry.sourceApp = QStringLiteral("Editor");
    entry.traceId = QStringLiteral("T");
    entry.trace = QList<TraceEvent>{{QDateTime::currentDateTime(), QStringLiteral("hotkey_pressed"), std::nullopt}};
    entry.sourceFormat = FixHistoryEntry::sourceFormatName(SourceFormat::plainText);
    entry.modeName = QStringLiteral("Tembrel");
    return entry;
}

// Two entries: a rich one with every field and a plain one.
QList<FixHistoryEntry> fullHistory()
{
    return std::get<QList<FixHistoryEntry>>(HistoryFile::decode(testData("history/full.json")));
}

QByteArray fileBytes(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void writeFile(const QString& path, const QByteArray& data)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(data) != data.size())
        qFatal("cannot write %s", qPrintable(path));
}
} // namespace

class TestHistoryManager : public QObject
{
    Q_OBJECT

    TestEnvironment m_env;
    SettingsFile m_settings{m_env, "history"};
    QString m_path;

private Q_SLOTS:
    void init()
    {
        m_settings.fresh();
        m_path = m_env.dataHome() + QStringLiteral("/run-%1/Tembrel/history.json").arg(m_settings.run());
    }

    void defaultLocation()
    {
        QCOMPARE(HistoryManager::defaultStoragePath(), m_env.dataHome() + QStringLiteral("/Tembrel/history.json"));
    }

    void startsEmptyWithoutFileAndWritesNothing()
    {
        HistoryManager history(*m_settings, m_path);
        QVERIFY(history.entries().isEmpty());
        QVERIFY(history.isEnabled());
        QVERIFY(!QFile::exists(m_path));
    }

    void addPutsNewestFirstAndSaves()
    {
        HistoryManager history(*m_settings, m_path);
        QSignalSpy changed(&history, &HistoryManager::entriesChanged);
        const QDateTime before = QDateTime::currentDateTime();
        FixHistoryEntry first = draft(QStringLiteral("one"));
        first.id = QUuid(QStringLiteral("7d444840-9dc0-11d1-b245-5ffdce74fad2"));
        first.editCount = 99;
        const std::optional<QUuid> firstId = history.addEntry(first);
        const std::optional<QUuid> secondId = history.addEntry(draft(QStringLiteral("two")));
        QVERIFY(firstId && secondId && *firstId != *secondId);
        // The store gives every entry its own id and time; the count arrives later.
        QVERIFY(*firstId != first.id);
        QCOMPARE(changed.count(), 2);
        QCOMPARE(history.entries()[0].id, *secondId);
        QCOMPARE(history.entries()[1].originalText, QStringLiteral("one"));
        QVERIFY(!history.entries()[1].editCount);
        QVERIFY(history.entries()[1].timestamp >= before.addMSecs(-1));

        history.flush();
        HistoryManager reloaded(*m_settings, m_path);
        QCOMPARE(reloaded.entries(), history.entries());
    }

    void capAt500OnAddOnly_data()
    {
        QTest::addColumn<int>("stored");
        QTest::newRow("full") << 500;
        QTest::newRow("over the cap, from an older build") << 503;
    }

    void capAt500OnAddOnly()
    {
        QFETCH(int, stored);
        QList<FixHistoryEntry> entries;
        for (int i = 0; i < stored; ++i) {
            FixHistoryEntry entry = draft(QStringLiteral("entry %1").arg(i));
            entry.id = QUuid::createUuid();
            entry.timestamp = QDateTime::currentDateTime().addSecs(-i);
            entries.append(entry);
        }
        QVERIFY(!HistoryFile::write(m_path, entries));
        HistoryManager history(*m_settings, m_path);
        QCOMPARE(history.entries().size(), stored); // loading prunes nothing

        const QUuid added = *history.addEntry(draft(QStringLiteral("newest")));
        QCOMPARE(history.entries().size(), 500);
        QCOMPARE(history.entries().first().id, added);
        QCOMPARE(history.entries().last().originalText, QStringLiteral("entry 498"));
        history.flush();
        QCOMPARE(HistoryManager(*m_settings, m_path).entries().size(), 500);
    }

    void disabledRecordsNothing_data()
    {
        QTest::addColumn<QVariant>("stored");
        QTest::addColumn<bool>("enabled");
        QTest::newRow("absent") << QVariant() << true;
        QTest::newRow("false") << QVariant(false) << false;
        QTest::newRow("true") << QVariant(true) << true;
        QTest::newRow("not a boolean") << QVariant(QStringLiteral("no")) << true;
        QTest::newRow("zero") << QVariant(0) << true;
    }

    void disabledRecordsNothing()
    {
        QFETCH(QVariant, stored);
        QFETCH(bool, enabled);
        if (stored.isValid())
            m_settings->setValue(QStringLiteral("historyEnabled"), stored);
        HistoryManager history(m_settings.reopen(), m_path);
        QCOMPARE(history.isEnabled(), enabled);
        QCOMPARE(history.addEntry(draft(QStringLiteral("x"))).has_value(), enabled);
        history.flush();
        QCOMPARE(QFile::exists(m_path), enabled);
        QCOMPARE(history.entries().size(), enabled ? 1 : 0);
    }

    void togglingStoresFlagOnly()
    {
        HistoryManager history(*m_settings, m_path);
        history.addEntry(draft(QStringLiteral("kept")));
        history.flush();
        const QByteArray file = fileBytes(m_path);
        QSignalSpy toggled(&history, &HistoryManager::isEnabledChanged);
        history.setEnabled(false);
        QCOMPARE(toggled.count(), 1);
        QCOMPARE(m_settings->value(QStringLiteral("historyEnabled")).toBool(), false);
        QCOMPARE(history.entries().size(), 1);
        QCOMPARE(fileBytes(m_path), file);
        history.setEnabled(true);
        QCOMPARE(m_settings->value(QStringLiteral("historyEnabled")).toBool(), true);
    }

    void updateEditCount()
    {
        HistoryManager history(*m_settings, m_path);
        const QUuid older = *history.addEntry(draft(QStringLiteral("older")));
        const QUuid newer = *history.addEntry(draft(QStringLiteral("newer")));
        const FixHistoryEntry before = history.entries()[1];
        history.updateEditCount(older, 5);
        QCOMPARE(history.entries()[1].editCount, std::optional<qint64>(5));
        FixHistoryEntry expected = before;
        expected.editCount = 5;
        QCOMPARE(history.entries()[1], expected);
        QVERIFY(!history.entries()[0].editCount);
        QCOMPARE(history.totalEdits(), 5);
        history.updateEditCount(newer, 0);
        history.flush();
        QCOMPARE(HistoryManager(*m_settings, m_path).entries()[0].editCount, std::optional<qint64>(0));

        // A vanished id changes and saves nothing.
        const QByteArray file = fileBytes(m_path);
        QSignalSpy changed(&history, &HistoryManager::entriesChanged);
        history.updateEditCount(QUuid::createUuid(), 9);
        QCOMPARE(changed.count(), 0);
        QCOMPARE(fileBytes(m_path), file);
    }

    void deleteAndClear()
    {
        // A file edited by hand may hold an id twice: deleting removes every entry with it.
        QList<FixHistoryEntry> stored = fullHistory();
        stored.append(stored.first());
        QVERIFY(!HistoryFile::write(m_path, stored));
        HistoryManager history(*m_settings, m_path);
        QCOMPARE(history.entries().size(), 3);
        history.deleteEntry(stored.first().id);
        QCOMPARE(history.entries().size(), 1);
        history.flush();
        QCOMPARE(HistoryManager(*m_settings, m_path).entries().size(), 1);
        history.clearAll();
        QVERIFY(history.entries().isEmpty());
        history.flush();
        QCOMPARE(fileBytes(m_path), QByteArray("[]"));
    }

    void filterAndTotals()
    {
        QVERIFY(!HistoryFile::write(m_path, fullHistory()));
        HistoryManager history(*m_settings, m_path);
        QCOMPARE(history.filtered(QString()).size(), 2);
        QCOMPARE(history.filtered(QStringLiteral("MEETING")).size(), 1);
        QCOMPARE(history.filtered(QStringLiteral("meting")).size(), 1);
        QCOMPARE(history.filtered(QStringLiteral("chromium")).size(), 0);
        QCOMPARE(history.filtered(QStringLiteral("BACKSLASH \\")).size(), 1);
        QCOMPARE(history.filtered(QStringLiteral(" ")).size(), 2);
        QCOMPARE(history.totalEdits(), 4);
    }

    void unreadableFileIsReportedAndKept_data()
    {
        QTest::addColumn<QByteArray>("data");
        QTest::newRow("entry without timestamp") << testData("history/missing-timestamp.json");
        QTest::newRow("truncated") << testData("history/truncated.json");
        QTest::newRow("empty") << QByteArray();
    }

    void unreadableFileIsReportedAndKept()
    {
        QFETCH(QByteArray, data);
        writeFile(m_path, data);
        const QString folder = QFileInfo(m_path).absolutePath();
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("^Kept the unreadable history file as ")
                                                              + QRegularExpression::escape(folder)
                                                              + QStringLiteral("/history\\.json\\.unreadable-[^/]+$")));
        StdoutCapture out;
        HistoryManager history(*m_settings, m_path);
        const QByteArray printed = out.text();
        QVERIFY2(printed.startsWith("Failed to load history: "), printed.constData());
        QVERIFY(printed.endsWith('\n'));
        QCOMPARE(printed.count('\n'), 1);
        QVERIFY(history.entries().isEmpty());
        // Loading leaves the file alone ...
        QCOMPARE(fileBytes(m_path), data);
        // ... and keeps a copy that the next save cannot touch.
        const QStringList copies = QDir(folder).entryList({QStringLiteral("history.json.unreadable-*")}, QDir::Files);
        QCOMPARE(copies.size(), 1);
        const QString copy = folder + QLatin1Char('/') + copies.first();
        QCOMPARE(fileBytes(copy), data);

        history.addEntry(draft(QStringLiteral("after")));
        history.flush();
        QCOMPARE(HistoryManager(*m_settings, m_path).entries().size(), 1);
        QCOMPARE(fileBytes(copy), data);
    }

    void anOversizedFixIsStoredCut()
    {
        HistoryManager history(*m_settings, m_path);
        FixHistoryEntry entry = draft(QString(HistoryManager::maxStoredTextLength, u'o'));
        entry.fixedText = QString(4 * HistoryManager::maxStoredTextLength, u'f');
        entry.originalHTML = QStringLiteral("<p>o</p>");
        entry.fixedHTML = QStringLiteral("<p>") + entry.fixedText.repeated(2) + QStringLiteral("</p>");
        history.addEntry(entry);
        history.flush();
        const FixHistoryEntry stored = HistoryManager(*m_settings, m_path).entries().first();
        QCOMPARE(stored.originalText, entry.originalText); // at the limit: whole
        QCOMPARE(stored.fixedText.size(), HistoryManager::maxStoredTextLength);
        QVERIFY(stored.fixedText.endsWith(QChar(0x2026)));
        QVERIFY(!stored.originalHTML && !stored.fixedHTML); // shown as the plain texts instead
    }

    void aFullDiskLosesNothing()
    {
        // No file may grow past 64 KB, as on a disk that is nearly full: the unreadable history of
        // 200 KB cannot be copied aside, nor can a large save complete.
        const QByteArray unreadable = "[" + QByteArray(200 * 1024, 'x');
        writeFile(m_path, unreadable);
        std::signal(SIGXFSZ, SIG_IGN);
        rlimit saved{};
        ::getrlimit(RLIMIT_FSIZE, &saved);
        rlimit tight = saved;
        tight.rlim_cur = 64 * 1024;
        QCOMPARE(::setrlimit(RLIMIT_FSIZE, &tight), 0);
        const auto restore = qScopeGuard([&] { ::setrlimit(RLIMIT_FSIZE, &saved); });

        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("^Kept the unreadable history file as ")));
        StdoutCapture out;
        HistoryManager history(*m_settings, m_path);
        QVERIFY(history.storageNotice().contains(QStringLiteral("history.json.unreadable-")));
        history.addEntry(draft(QStringLiteral("after")));
        history.flush();
        const QString folder = QFileInfo(m_path).absolutePath();
        const QStringList kept = QDir(folder).entryList({QStringLiteral("history.json.unreadable-*")}, QDir::Files);
        QCOMPARE(kept.size(), 1);
        QCOMPARE(fileBytes(folder + QLatin1Char('/') + kept.first()), unreadable);
        QCOMPARE(HistoryManager(*m_settings, m_path).entries().size(), 1);

        // A save that does not fit names the system's reason, and keeps the entries in memory.
        const QString notice = history.storageNotice();
        for (int i = 0; i < 100; ++i) {
            history.addEntry(draft(QString(1000, u'a')));
            history.flush();
        }
        QCOMPARE(history.entries().size(), 101);
        const QByteArray printed = out.text();
        const QByteArray reason = std::strerror(EFBIG);
        QVERIFY2(printed.contains(QByteArray("Failed to save history: The file could not be written (" + reason + ")")), printed.constData());
        QVERIFY(!printed.contains("Unknown error"));
        QCOMPARE(history.storageNotice(), notice); // the first notice stands
        // On disk, the last save that fit, whole.
        const qsizetype onDisk = HistoryManager(*m_settings, m_path).entries().size();
        QVERIFY2(onDisk > 1 && onDisk < 101, qPrintable(QString::number(onDisk)));
        QCOMPARE(QDir(folder).entryList(QDir::Files).size(), 2); // no half-written file left behind
    }

    void saveFailureIsPrintedAndMemoryKept()
    {
        const QString blocked = m_env.dataHome() + QStringLiteral("/blocked-%1").arg(m_settings.run());
        writeFile(blocked, "not a folder");
        HistoryManager history(*m_settings, blocked + QStringLiteral("/Tembrel/history.json"));
        StdoutCapture out;
        const std::optional<QUuid> id = history.addEntry(draft(QStringLiteral("kept in memory")));
        QVERIFY(id);
        QCOMPARE(history.entries().size(), 1);
        history.updateEditCount(*id, 2);
        QCOMPARE(history.entries().first().editCount, std::optional<qint64>(2));
        history.flush();
        // The fix and its count are one write, which fails once.
        QCOMPARE(history.writeCount(), 1);
        const QList<QByteArray> lines = out.text().split('\n');
        QCOMPARE(lines.size(), 2);
        QVERIFY2(lines[0].startsWith("Failed to save history: "), lines[0].constData());
        QVERIFY(lines[1].isEmpty());
    }

    void loadReplacesTheList()
    {
        HistoryManager history(*m_settings, m_path);
        history.addEntry(draft(QStringLiteral("mine")));
        writeFile(m_path, testData("history/minimal.json"));
        history.load();
        QCOMPARE(history.entries().size(), 2);
        QCOMPARE(history.entries().first().originalText, QStringLiteral("teh cat"));
        // A missing file leaves the list as it is.
        QFile::remove(m_path);
        history.load();
        QCOMPARE(history.entries().size(), 2);
    }
};

QTEST_GUILESS_MAIN(TestHistoryManager)
#include "tst_historymanager.moc"
