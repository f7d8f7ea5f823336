#include "history/HistoryFile.h"
#include "history/HistoryManager.h"

#include <QCoreApplication>
#include <QJsonArray>
#include <QJsonDocument>
#include <QSettings>
#include <QTemporaryDir>
#include <QTimeZone>
#include <benchmark/benchmark.h>

namespace {

// Entries shaped like real ones: a paragraph of text, HTML, and a dozen trace events.
QList<FixHistoryEntry> fullHistory()
{
    QList<FixHistoryEntry> entries;
    const QDateTime start(QDate(2025, 1, 1), QTime(9, 0), QTimeZone::utc());
    const QString paragraph = QStringLiteral("The quick brown fox jumps over the lazy dog, and then it naps. ").repeated(6);
    for (int i = 0; i < HistoryManager::maxEntries; ++i) {
        FixHistoryEntry entry;
        entry.id = QUuid::createUuid();
        entry.timestamp = start.addSecs(-i * 60);
        entry.originalText = paragraph;
        entry.fixedText = paragraph;
        entry.editCount = i % 7;
        entry.sourceApp = QStringLiteral("Chromium");
        QList<TraceEvent> trace;
        for (int e = 0; e < 12; ++e)
            trace.append({entry.timestamp.addMSecs(e * 40), QStringLiteral("request_started"), QStringLiteral("attempt 1")});
        entry.trace = trace;
        entry.traceId = QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper();
        entry.originalHTML = QStringLiteral("<p>") + paragraph + QStringLiteral("</p>");
        entry.fixedHTML = entry.originalHTML;
        entry.sourceFormat = QStringLiteral("html");
        entry.modeName = QStringLiteral("Tembrel");
        entries.append(entry);
    }
    return entries;
}

struct Fixture
{
    QTemporaryDir dir;
    QString path = dir.path() + QStringLiteral("/Tembrel/history.json");
    QSettings settings{dir.path() + QStringLiteral("/settings.conf"), QSettings::IniFormat};
    QList<FixHistoryEntry> entries = fullHistory();

    Fixture()
    {
        if (HistoryFile::write(path, entries))
            qFatal("cannot write the benchmark's history file");
    }
};

Fixture& fixture()
{
    static Fixture instance;
    return instance;
}

// What a fix costs the UI thread: adding the entry and, once the panel's diff is drawn, its edit
// count. The file is written by the writer thread; it is waited for outside the timing.
void addToFullHistory(benchmark::State& state)
{
    HistoryManager history(fixture().settings, fixture().path);
    FixHistoryEntry entry = fixture().entries.first();
    for (auto _ : state) {
        const std::optional<QUuid> id = history.addEntry(entry);
        history.updateEditCount(*id, 3);
        state.PauseTiming();
        history.flush();
        state.ResumeTiming();
    }
    state.counters["entries"] = double(history.entries().size());
}
BENCHMARK(addToFullHistory)->Unit(benchmark::kMillisecond);

// Baseline: the same fix written synchronously on the UI thread, as before the writer thread (once;
// before, the count was a second write).
void baselineSynchronousAddToFullHistory(benchmark::State& state)
{
    HistoryManager history(fixture().settings, fixture().path);
    FixHistoryEntry entry = fixture().entries.first();
    for (auto _ : state) {
        const std::optional<QUuid> id = history.addEntry(entry);
        history.updateEditCount(*id, 3);
        history.flush();
    }
    state.counters["entries"] = double(history.entries().size());
}
BENCHMARK(baselineSynchronousAddToFullHistory)->Unit(benchmark::kMillisecond);

// The file's text for a full history, by the history's own writer.
void encodeFullHistory(benchmark::State& state)
{
    for (auto _ : state)
        benchmark::DoNotOptimize(HistoryFile::encode(fixture().entries));
}
BENCHMARK(encodeFullHistory)->Unit(benchmark::kMillisecond);

void loadFullHistory(benchmark::State& state)
{
    HistoryManager history(fixture().settings, fixture().path);
    for (auto _ : state) {
        history.load();
        benchmark::DoNotOptimize(history.entries().size());
    }
}
BENCHMARK(loadFullHistory)->Unit(benchmark::kMillisecond);

// Baselines: Qt's writer and parser on the same entries, with sorted keys and no decoding.
void baselineQtWriteFullHistory(benchmark::State& state)
{
    for (auto _ : state) {
        QJsonArray array;
        for (const FixHistoryEntry& entry : fixture().entries)
            array.append(entry.toJson());
        benchmark::DoNotOptimize(QJsonDocument(array).toJson(QJsonDocument::Indented));
    }
}
BENCHMARK(baselineQtWriteFullHistory)->Unit(benchmark::kMillisecond);

void baselineQtParseFullHistory(benchmark::State& state)
{
    const QByteArray data = HistoryFile::encode(fixture().entries);
    for (auto _ : state)
        benchmark::DoNotOptimize(QJsonDocument::fromJson(data));
}
BENCHMARK(baselineQtParseFullHistory)->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
