#include "diff/DiffUtils.h"

#include "diff/WordInterner.h"
#include "diff/WordLcs.h"
#include "diff/WordTokenizer.h"

#include <algorithm>
#include <vector>

namespace {

const QString kRemovedSpacing = QStringLiteral(" ");

Change unchanged(QStringView value, QStringView trailing)
{
    return {value.toString(), false, false, trailing.toString()};
}

Change addedChange(QStringView value, QStringView trailing)
{
    return {value.toString(), true, false, trailing.toString()};
}

Change removedChange(QStringView value, const QString &trailing)
{
    return {value.toString(), false, true, trailing};
}

} // namespace

QStringList DiffUtils::originalWords(QStringView text)
{
    QStringList words;
    for (const TextSpan &span : originalWordSpans(text))
        words.append(span.in(text).toString());
    return words;
}

QList<WordToken> DiffUtils::fixedTokens(QStringView text)
{
    QList<WordToken> tokens;
    for (const FixedTokenSpan &token : fixedTokenSpans(text))
        tokens.append({token.word.in(text).toString(), token.trailingWhitespace.in(text).toString()});
    return tokens;
}

DiffComputation DiffUtils::wordDiff(const QString &original, const QString &fixed)
{
    const QList<TextSpan> words = originalWordSpans(original);
    const QList<FixedTokenSpan> tokens = fixedTokenSpans(fixed);
    const qsizetype n = words.size();
    const qsizetype m = tokens.size();

    DiffComputation result;
    if (n == 0) {
        for (const FixedTokenSpan &token : tokens)
            result.changes.append(addedChange(token.word.in(fixed), token.trailingWhitespace.in(fixed)));
        result.editCount = m;
        return result;
    }
    if (m == 0) {
        for (qsizetype i = 0; i < n; ++i)
            result.changes.append(removedChange(words[i].in(original), i + 1 < n ? kRemovedSpacing : QString()));
        result.editCount = n;
        return result;
    }

    WordInterner interner;
    std::vector<int> a(std::size_t(n), 0);
    std::vector<int> b(std::size_t(m), 0);
    for (qsizetype i = 0; i < n; ++i)
        a[std::size_t(i)] = interner.insert(words[i].in(original));
    for (qsizetype j = 0; j < m; ++j)
        b[std::size_t(j)] = interner.find(tokens[j].word.in(fixed));

    // Same words (whitespace aside): the fixed text as it is, and no edit.
    if (a == b) {
        result.changes.reserve(m);
        for (const FixedTokenSpan &token : tokens)
            result.changes.append(unchanged(token.word.in(fixed), token.trailingWhitespace.in(fixed)));
        return result;
    }

    const std::vector<LcsStep> steps = lcsBacktrack(a, b);
    // A substitution makes two changes out of one step.
    result.changes.reserve(qsizetype(steps.size())
                           + qsizetype(std::count(steps.begin(), steps.end(), LcsStep::Substitute)));
    qsizetype i = 0;
    qsizetype j = 0;
    for (auto step = steps.rbegin(); step != steps.rend(); ++step) {
        switch (*step) {
        case LcsStep::Match:
            // An unchanged word shows as the original spelled it, with the fixed text's spacing.
            result.changes.append(unchanged(words[i].in(original), tokens[j].trailingWhitespace.in(fixed)));
            ++i;
            ++j;
            break;
        case LcsStep::Substitute:
            result.changes.append(removedChange(words[i].in(original), kRemovedSpacing));
            result.changes.append(addedChange(tokens[j].word.in(fixed), tokens[j].trailingWhitespace.in(fixed)));
            ++result.editCount;
            ++i;
            ++j;
            break;
        case LcsStep::Insert:
            result.changes.append(addedChange(tokens[j].word.in(fixed), tokens[j].trailingWhitespace.in(fixed)));
            ++result.editCount;
            ++j;
            break;
        case LcsStep::Delete:
            result.changes.append(removedChange(words[i].in(original), kRemovedSpacing));
            ++result.editCount;
            ++i;
            break;
        }
    }
    return result;
}
