#include "history/HistoryFile.h"
#include "history/HistoryListModel.h"
#include "history/HistoryManager.h"
#include "support/SettingsFile.h"

#include <QSignalSpy>
#include <QTest>
#include <QTimeZone>

// Searching the history window's list: each query replaces the rows in one reset, and in a large
// history the search runs off the UI thread with only the newest query's rows applied.
class TestHistoryListModel : public QObject
{
    Q_OBJECT

    TestEnvironment m_env;
    SettingsFile m_settings {m_env, "historylist"};

    // A history file of `count` entries, one in ten containing "needle", loaded by a manager.
    std::unique_ptr<HistoryManager> store(int count)
    {
        QList<FixHistoryEntry> entries;
        const QDateTime start(QDate(2025, 1, 1), QTime(9, 0), QTimeZone::utc());
        for (int i = 0; i < count; ++i) {
            FixHistoryEntry entry;
            entry.id = QUuid::createUuid();
            entry.timestamp = start.addSecs(-i * 60);
            entry.originalText = QStringLiteral("entry %1 %2").arg(i).arg(i % 10 == 0 ? "Needle" : "hay");
            entry.fixedText = entry.originalText;
            entries.append(entry);
        }
        m_settings.fresh();
        const QString path = m_env.dataHome() + QStringLiteral("/list-%1/history.json").arg(m_settings.run());
        if (HistoryFile::write(path, entries))
            qFatal("cannot write the history file");
        return std::make_unique<HistoryManager>(*m_settings, path);
    }

private Q_SLOTS:
    void eachQueryIsOneReset_data()
    {
        QTest::addColumn<int>("entries");
        QTest::newRow("small history, searched at once") << 300;
        QTest::newRow("large history, searched on the worker")
            << int(HistoryListModel::backgroundSearchFrom) + 1000;
    }

    void eachQueryIsOneReset()
    {
        QFETCH(int, entries);
        const auto history = store(entries);
        HistoryListModel list(*history);
        const bool background = entries >= HistoryListModel::backgroundSearchFrom;
        QCOMPARE(list.isSearching(), background);
        QTRY_COMPARE(list.rowCount(), entries);

        QSignalSpy resets(&list, &QAbstractItemModel::modelReset);
        QSignalSpy removals(&list, &QAbstractItemModel::rowsRemoved);
        QSignalSpy insertions(&list, &QAbstractItemModel::rowsInserted);
        QSignalSpy finished(&list, &HistoryListModel::searchFinished);
        // Typed quickly: only the last query's rows ever reach the list.
        list.setQuery(QStringLiteral("n"));
        list.setQuery(QStringLiteral("ne"));
        list.setQuery(QStringLiteral("NEEDLE"));
        if (background) {
            QVERIFY(list.isSearching());
            QVERIFY(finished.wait(10000));
            QTest::qWait(50); // any stale search would arrive meanwhile
            QCOMPARE(finished.count(), 1);
        }
        QCOMPARE(list.rowCount(), (entries + 9) / 10);
        QCOMPARE(resets.count(), background ? 1 : 3);
        QCOMPARE(removals.count(), 0);
        QCOMPARE(insertions.count(), 0);
        for (int row = 0; row < list.rowCount(); ++row)
            QVERIFY(list.entryAt(row).originalText.endsWith(QStringLiteral("Needle")));
    }
};

QTEST_GUILESS_MAIN(TestHistoryListModel)
#include "tst_historylistmodel.moc"
