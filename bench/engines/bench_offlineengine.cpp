#include "engines/OfflineEngine.h"
#include "engines/SpellDictionary.h"
#include "modes/BuiltInPrompts.h"

#include <QRegularExpression>
#include <benchmark/benchmark.h>

namespace {

// Everyday prose with a typo every few sentences, a name, an address and a number now and then.
QString prose(qsizetype characters)
{
    static const QStringList sentences{
        QStringLiteral("The team will recieve the new package tomorrow morning."),
        QStringLiteral("Please send the report to anna@example.com before noon."),
        QStringLiteral("We met Siobhan in Reykjavik and talked about the plan for 2025."),
        QStringLiteral("it is a honest mistake, and the the fix is simple."),
        QStringLiteral("Read https://example.org/docs for the details of the release."),
        QStringLiteral("Their answer was definately better then the first draft."),
        QStringLiteral("The meeting moved to Thursday because the room was taken."),
        QStringLiteral("Run `make install` once the build has finished without errors."),
    };
    QString text;
    for (qsizetype k = 0; text.size() < characters; ++k)
        text += sentences[k % sentences.size()] + (k % 5 == 4 ? QStringLiteral("\n\n") : QStringLiteral(" "));
    text.truncate(characters);
    return text;
}

void offlineEngine(benchmark::State& state)
{
    const QString text = prose(state.range(0));
    OfflineEngine engine;
    for (auto _ : state) {
        const FixOutcome outcome = engine.fixNow(text, BuiltInPrompts::proofreadPrompt());
        if (!outcome)
            state.SkipWithError("the offline engine failed");
        benchmark::DoNotOptimize(outcome.value().fixedText.size());
    }
    state.SetBytesProcessed(state.iterations() * state.range(0));
}

// The first fix after start-up: the dictionary is loaded and no suggestion is cached yet.
void offlineEngineFirstFix(benchmark::State& state)
{
    const QString text = prose(state.range(0));
    for (auto _ : state) {
        OfflineEngine engine;
        const FixOutcome outcome = engine.fixNow(text, BuiltInPrompts::proofreadPrompt());
        if (!outcome)
            state.SkipWithError("the offline engine failed");
        benchmark::DoNotOptimize(outcome.value().fixedText.size());
    }
}

// The least any spell-checker does: split into words and look every word up once.
void spellCheckEveryWord(benchmark::State& state)
{
    const QString text = prose(state.range(0));
    const auto dictionary = SpellDictionary::open(OfflineEngine::defaultDictionaryDirectory(), QStringLiteral("en_US"));
    if (!dictionary) {
        state.SkipWithError("no en_US dictionary");
        return;
    }
    static const QRegularExpression separators(QStringLiteral("[^\\p{L}']+"));
    for (auto _ : state) {
        qsizetype wrong = 0;
        for (const QString& word : text.split(separators, Qt::SkipEmptyParts))
            wrong += dictionary->isCorrect(word) ? 0 : 1;
        benchmark::DoNotOptimize(wrong);
    }
    state.SetBytesProcessed(state.iterations() * state.range(0));
}

} // namespace

BENCHMARK(spellCheckEveryWord)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);
BENCHMARK(offlineEngine)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);
BENCHMARK(offlineEngineFirstFix)->Arg(100)->Arg(10000)->Unit(benchmark::kMillisecond);
BENCHMARK_MAIN();
