#include "engines/TextChunker.h"

#include <QTextBoundaryFinder>
#include <algorithm>

namespace {

// A paragraph, line or sentence break is only worth cutting at past half a chunk, so that chunks
// never shrink below about half their size; a plain space is accepted from the last two thirds.
constexpr qsizetype breakMinimum = TextChunker::chunkSize / 2;
constexpr qsizetype spaceMinimum = 5334;

// Code-unit offsets of every character start, plus the end of the text.
QList<qsizetype> characterBoundaries(QStringView text)
{
    QList<qsizetype> boundaries;
    boundaries.reserve(text.size() + 1);
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text.data(), int(text.size()));
    boundaries.append(0);
    for (qsizetype next = finder.toNextBoundary(); next > 0; next = finder.toNextBoundary())
        boundaries.append(next);
    if (boundaries.last() != text.size())
        boundaries.append(text.size());
    return boundaries;
}

// Counts the characters that end at or before a code-unit offset, rounding a separator that ends
// inside a character (a space carrying a combining mark) up to that character's end.
qsizetype charactersUpTo(const QList<qsizetype>& boundaries, qsizetype offset)
{
    return std::lower_bound(boundaries.begin(), boundaries.end(), offset) - boundaries.begin();
}

} // namespace

qsizetype TextChunker::splitPoint(const QString& prefix)
{
    const QList<qsizetype> boundaries = characterBoundaries(prefix);
    const auto endOfLast = [&](QStringView separator) -> qsizetype {
        const qsizetype at = prefix.lastIndexOf(separator);
        return at < 0 ? -1 : at + separator.size();
    };
    const auto position = [&](qsizetype end) { return end < 0 ? -1 : charactersUpTo(boundaries, end); };
    const auto offsetOf = [&](qsizetype end) { return boundaries.at(charactersUpTo(boundaries, end)); };

    for (QStringView separator : {u"\n\n", u"\n"}) {
        const qsizetype end = endOfLast(separator);
        if (position(end) > breakMinimum)
            return offsetOf(end);
    }
    const qsizetype sentenceEnd = std::max({endOfLast(u". "), endOfLast(u"! "), endOfLast(u"? ")});
    if (position(sentenceEnd) > breakMinimum)
        return offsetOf(sentenceEnd);
    const qsizetype spaceEnd = endOfLast(u" ");
    if (spaceEnd < 0 || position(spaceEnd) < spaceMinimum)
        return boundaries.at(std::min<qsizetype>(chunkSize, boundaries.size() - 1));
    return offsetOf(spaceEnd);
}

QStringList TextChunker::split(const QString& text)
{
    QStringList chunks;
    QString rest = text;
    while (!rest.isEmpty()) {
        const QList<qsizetype> boundaries = characterBoundaries(rest);
        if (boundaries.size() - 1 <= chunkSize) {
            chunks.append(rest);
            break;
        }
        const qsizetype cut = splitPoint(rest.left(boundaries.at(chunkSize)));
        const QString piece = rest.left(cut).trimmed();
        rest = rest.mid(cut).trimmed();
        if (!piece.isEmpty())
            chunks.append(piece);
    }
    chunks.removeIf([](const QString& chunk) { return chunk.trimmed().isEmpty(); });
    return chunks;
}
