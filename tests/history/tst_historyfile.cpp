#include "history/HistoryFile.h"
#include "support/TestData.h"
#include "support/TestEnvironment.h"

#include <QJsonArray>
#include <QProcess>
#include <QRandomGenerator>
#include <QTest>
#include <QTimeZone>

namespace {
// Set in the environment of a child copy of this test that rewrites a history file until killed.
const char writerChildVariable[] = "TEMBREL_HISTORY_WRITER_PATH";

QList<FixHistoryEntry> decoded(const QByteArray& data)
{
    auto result = HistoryFile::decode(data);
    if (auto* error = std::get_if<HistoryDecodeError>(&result))
        qFatal("undecodable: %s", qPrintable(error->description()));
    return std::get<QList<FixHistoryEntry>>(result);
}

// A large list, so that writing it takes long enough to be interrupted part-way.
QList<FixHistoryEntry> bigHistory(const QString& marker)
{
    QList<FixHistoryEntry> entries;
    for (int i = 0; i < 500; ++i) {
        FixHistoryEntry entry;
        entry.id = QUuid::createUuid();
        entry.timestamp = QDateTime(QDate(2024, 1, 1), QTime(0, 0), QTimeZone::utc()).addSecs(i);
        entry.originalText = marker + QString(2000, QLatin1Char('x'));
        entry.fixedText = marker + QString(2000, QLatin1Char('y'));
        entry.trace = QList<TraceEvent>{{entry.timestamp, QStringLiteral("hotkey_pressed"), marker}};
        entries.append(entry);
    }
    return entries;
}

int runWriter(const QString& path)
{
    const QList<FixHistoryEntry> lists[] = {bigHistory(QStringLiteral("A")), bigHistory(QStringLiteral("B"))};
    for (quint64 round = 0;; ++round) {
        if (HistoryFile::write(path, lists[round % 2]))
            return 1;
    }
}
} // namespace

class TestHistoryFile : public QObject
{
    Q_OBJECT

    TestEnvironment m_env;

private Q_SLOTS:
    void handWrittenFileRoundTrips()
    {
        const QList<FixHistoryEntry> entries = decoded(testData("history/full.json"));
        QCOMPARE(entries.size(), 2);
        const FixHistoryEntry& rich = entries[0];
        QCOMPARE(rich.id, QUuid(QStringLiteral("7d444840-9dc0-11d1-b245-5ffdce74fad2")));
        QCOMPARE(rich.timestamp.toUTC(), QDateTime(QDate(2025, 11, 16), QTime(15, 33, 20, 125), QTimeZone::utc()));
        QCOMPARE(rich.editCount, std::optional<qint64>(4));
        QCOMPARE(rich.trace->size(), 2);
        QCOMPARE(rich.trace->at(0).detail, std::optional<QString>(QStringLiteral("mode: Tembrel")));
        QVERIFY(!rich.trace->at(1).detail);
        QCOMPARE(rich.originalHTML, std::optional<QString>(QStringLiteral("<p>i has a meting <b>tomorow</b></p>")));
        QCOMPARE(entries[1].originalText,
                 QString::fromUtf8("Tab\there, quote \" and backslash \\ and line\nbreak, é and 😀"));
        QCOMPARE(entries[1].timestamp.toUTC(), QDateTime(QDate(2000, 12, 31), QTime(23, 0), QTimeZone::utc()));

        // Written back byte for byte in the stored layout: field order, two-space indent, no nulls.
        QCOMPARE(HistoryFile::encode(entries), testData("history/written.json"));
        QCOMPARE(decoded(HistoryFile::encode(entries)), entries);
    }

    void optionalKeysStayOut()
    {
        const QList<FixHistoryEntry> entries = decoded(testData("history/minimal.json"));
        QCOMPARE(entries.size(), 2);
        for (const FixHistoryEntry& entry : entries) {
            QVERIFY(!entry.editCount && !entry.sourceApp && !entry.trace && !entry.traceId && !entry.originalHTML
                    && !entry.fixedHTML && !entry.sourceFormat && !entry.modeName);
        }
        const QByteArray written = HistoryFile::encode(entries);
        QVERIFY(!written.contains("null"));
        for (const char* key : {"editCount", "sourceApp", "trace", "HTML", "sourceFormat", "modeName"})
            QVERIFY2(!written.contains(key), key);
        QVERIFY(written.contains("\"id\" : \"3F2504E0-4F89-11D3-9A0C-0305E82C3302\""));
    }

    void orderedWriterSortsUnknownKeysLast()
    {
        const QJsonObject object{{QStringLiteral("z"), 1}, {QStringLiteral("b"), 2}, {QStringLiteral("a"), 3}};
        QCOMPARE(OrderedJson::pretty(object, {QStringLiteral("z")}),
                 QByteArray("{\n  \"z\" : 1,\n  \"a\" : 3,\n  \"b\" : 2\n}"));
        QCOMPARE(OrderedJson::pretty(QJsonArray{}, {}), QByteArray("[]"));
        QCOMPARE(OrderedJson::pretty(QJsonArray{1.5, true, QJsonValue::Null, QStringLiteral("\x01")}, {}),
                 QByteArray("[\n  1.5,\n  true,\n  null,\n  \"\\u0001\"\n]"));
    }

    void rejects_data()
    {
        // The description in full, or its start where the JSON parser's words follow.
        QTest::addColumn<QByteArray>("data");
        QTest::addColumn<QString>("error");
        const QString notJson = QStringLiteral("The file is not valid JSON (");
        QTest::newRow("entry without timestamp") << testData("history/missing-timestamp.json")
                                                 << "The entry 1 has no value for key \"timestamp\"";
        QTest::newRow("truncated") << testData("history/truncated.json") << notJson;
        QTest::newRow("empty file") << QByteArray() << notJson;
        QTest::newRow("binary") << QByteArray("\x00\x01\x02", 3) << notJson;
        QTest::newRow("object") << QByteArray("{\"entries\":[]}") << "The file does not hold a JSON array";
        QTest::newRow("string entry") << QByteArray("[\"x\"]") << "The entry 0 is not a JSON object";
    }

    void rejects()
    {
        QFETCH(QByteArray, data);
        QFETCH(QString, error);
        auto result = HistoryFile::decode(data);
        QVERIFY(std::holds_alternative<HistoryDecodeError>(result));
        const QString description = std::get<HistoryDecodeError>(result).description();
        if (error.endsWith(QLatin1Char('(')))
            QVERIFY2(description.startsWith(error) && description.endsWith(QLatin1Char(')')), qPrintable(description));
        else
            QCOMPARE(description, error);
    }

    void writeCreatesFoldersAndReportsFailures()
    {
        const QString path = m_env.dataHome() + QStringLiteral("/deep/er/history.json");
        QVERIFY(!HistoryFile::write(path, decoded(testData("history/minimal.json"))));
        QCOMPARE(std::get<QList<FixHistoryEntry>>(HistoryFile::read(path)).size(), 2);

        QFile blocker(m_env.dataHome() + QStringLiteral("/file-not-folder"));
        QVERIFY(blocker.open(QIODevice::WriteOnly));
        blocker.close();
        const auto error = HistoryFile::write(blocker.fileName() + QStringLiteral("/history.json"), {});
        QVERIFY(error);
        QCOMPARE(error->kind, HistorySaveError::Kind::createDirectory);

        const auto missing = HistoryFile::read(m_env.dataHome() + QStringLiteral("/absent.json"));
        QCOMPARE(std::get<HistoryDecodeError>(missing).kind, HistoryDecodeError::Kind::unreadable);
    }

    void interruptedWriteLeavesOldOrNewFile()
    {
        const QString path = m_env.dataHome() + QStringLiteral("/killed/history.json");
        const QByteArray a = HistoryFile::encode(bigHistory(QStringLiteral("A")));
        QVERIFY(a.size() > 1'000'000);
        int sawA = 0;
        int sawB = 0;
        for (int attempt = 0; attempt < 12; ++attempt) {
            QProcess writer;
            QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
            environment.insert(QString::fromLatin1(writerChildVariable), path);
            writer.setProcessEnvironment(environment);
            writer.start(QCoreApplication::applicationFilePath(), {});
            QVERIFY(writer.waitForStarted());
            // Long enough for the child to build its lists and finish a first write, then anywhere.
            QTest::qWait(700 + QRandomGenerator::global()->bounded(400));
            writer.kill();
            QVERIFY(writer.waitForFinished());
            if (!QFile::exists(path))
                continue; // killed before its first write finished
            const auto result = HistoryFile::read(path);
            if (const auto* error = std::get_if<HistoryDecodeError>(&result))
                QFAIL(qPrintable(error->description()));
            const QList<FixHistoryEntry> entries = std::get<QList<FixHistoryEntry>>(result);
            QCOMPARE(entries.size(), 500);
            const QString marker = entries.first().originalText.left(1);
            for (const FixHistoryEntry& entry : entries)
                QCOMPARE(entry.originalText.left(1), marker);
            (marker == QLatin1String("A") ? sawA : sawB)++;
        }
        QVERIFY(sawA + sawB > 0);
    }
};

int main(int argc, char* argv[])
{
    QCoreApplication app(argc, argv);
    if (qEnvironmentVariableIsSet(writerChildVariable))
        return runWriter(qEnvironmentVariable(writerChildVariable));
    TestHistoryFile test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_historyfile.moc"
