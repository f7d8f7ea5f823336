// Times the word diff and measures its peak heap against the full-table reference, on the same
// inputs in the same run, and prints the ratios next to their targets.
//
//   bench_worddiff [case-name-filter]
//
// Exit status: 0 when every target is met, 1 when one is missed, 2 when the results differ.

#include "CountingAllocator.h"
#include "diff/DiffUtils.h"
#include "diff/ReferenceWordDiff.h"
#include "diff/TextGenerator.h"

#include <QCoreApplication>
#include <QElapsedTimer>

#include <algorithm>
#include <cstdio>
#include <functional>

namespace {

using Diff = std::function<DiffComputation(const QString &, const QString &)>;

struct Case
{
    const char *name;
    QString original;
    QString fixed;
    double minSpeedUp;    // product at least this many times faster; 1 = no slower
    double minMemoryGain; // product peak at least this many times smaller; 0 = no target
    int repetitions;      // diffs per timed batch
    int referenceBatches;
};

struct Measurement
{
    double seconds = 0; // per diff, best batch
    std::size_t peakBytes = 0;
    DiffComputation result;
};

Measurement measure(const Diff &diff, const Case &c, int batches)
{
    // The first batch's first diff also records the peak heap, so a diff that takes seconds
    // runs only once when one batch is asked for.
    Measurement m;
    m.seconds = 1e300;
    for (int b = 0; b < batches; ++b) {
        QElapsedTimer timer;
        timer.start();
        for (int r = 0; r < c.repetitions; ++r) {
            if (b == 0 && r == 0) {
                CountingAllocator::resetPeak();
                m.result = diff(c.original, c.fixed);
                m.peakBytes = CountingAllocator::peakSinceReset();
            } else {
                (void)diff(c.original, c.fixed);
            }
        }
        m.seconds = std::min(m.seconds, double(timer.nsecsElapsed()) / 1e9 / c.repetitions);
    }
    return m;
}

QString text(TextGenerator &gen, const QStringList &words, qsizetype length)
{
    return gen.join(words).left(length);
}

QList<Case> makeCases()
{
    TextGenerator gen(2024);
    gen.setMarkedSpaces(false);
    const QStringList vocabulary = gen.plainVocabulary(3000);
    const qsizetype large = 100000;
    // About 2.5 words change per edit on average (runs included), so 2 % edits is ~5 % of words.
    const QStringList base = gen.words(20000, vocabulary, 100);
    const QStringList edited = gen.edit(base, 0.02, vocabulary);
    const QStringList other = gen.words(20000, vocabulary, 100);
    const QStringList paragraph = gen.words(70, vocabulary, 30);
    const QStringList mediumWords = gen.words(2000, vocabulary, 60);

    return {
        {"100k chars, ~5% of words changed", text(gen, base, large), text(gen, edited, large), 50, 50, 1, 1},
        {"100k chars, unrelated texts", text(gen, base, large), text(gen, other, large), 20, 50, 1, 1},
        {"10k chars, ~5% changed (no target)", text(gen, mediumWords, 10000),
         text(gen, gen.edit(mediumWords, 0.02, vocabulary), 10000), 0, 0, 3, 3},
        {"one paragraph, a few edits", gen.join(paragraph), gen.join(gen.edit(paragraph, 0.05, vocabulary)), 1, 0, 2000,
         5},
        {"one paragraph, unchanged words", gen.join(paragraph), gen.join(paragraph), 1, 0, 2000, 5},
    };
}

QString megabytes(std::size_t bytes)
{
    return QString::number(double(bytes) / (1024.0 * 1024.0), 'f', bytes < 10 * 1024 * 1024 ? 3 : 1) + u" MB";
}

QString duration(double seconds)
{
    if (seconds >= 1)
        return QString::number(seconds, 'f', 2) + u" s";
    if (seconds >= 1e-3)
        return QString::number(seconds * 1e3, 'f', 2) + u" ms";
    return QString::number(seconds * 1e6, 'f', 1) + u" µs";
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    const QString filter = argc > 1 ? QString::fromLocal8Bit(argv[1]) : QString();
    int status = 0;
    for (const Case &c : makeCases()) {
        if (!filter.isEmpty() && !QString::fromLatin1(c.name).contains(filter, Qt::CaseInsensitive))
            continue;
        const Measurement product = measure(&DiffUtils::wordDiff, c, 5);
        const Measurement reference = measure(&ReferenceWordDiff::wordDiff, c, c.referenceBatches);
        const double speedUp = reference.seconds / product.seconds;
        const double memoryGain = double(reference.peakBytes) / double(std::max<std::size_t>(product.peakBytes, 1));
        const bool same = product.result == reference.result;
        const bool timeMet = speedUp >= c.minSpeedUp;
        const bool memoryMet = memoryGain >= c.minMemoryGain;

        std::printf("%s\n", c.name);
        std::printf("  input      %lld / %lld characters, %lld edits\n", qlonglong(c.original.size()),
                    qlonglong(c.fixed.size()), qlonglong(product.result.editCount));
        std::printf("  time       product %-12s reference %-12s ratio %8.1fx  (target >= %gx) %s\n",
                    qPrintable(duration(product.seconds)), qPrintable(duration(reference.seconds)), speedUp,
                    c.minSpeedUp, c.minSpeedUp == 0 ? "" : timeMet ? "met" : "MISSED");
        std::printf("  peak heap  product %-12s reference %-12s ratio %8.1fx  (target >= %gx) %s\n",
                    qPrintable(megabytes(product.peakBytes)), qPrintable(megabytes(reference.peakBytes)), memoryGain,
                    c.minMemoryGain, c.minMemoryGain == 0 ? "" : memoryMet ? "met" : "MISSED");
        std::printf("  results    %s\n\n", same ? "identical" : "DIFFER");
        std::fflush(stdout);
        if (!same)
            status = 2;
        else if ((!timeMet || !memoryMet) && status == 0)
            status = 1;
    }
    return status;
}
