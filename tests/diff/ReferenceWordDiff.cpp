#include "ReferenceWordDiff.h"

#include <QStringList>
#include <QTextBoundaryFinder>

#include <algorithm>
#include <vector>

namespace {

// The White_Space property, spelled out from the Unicode character database.
bool isWhiteSpace(char32_t c)
{
    static const char32_t list[] = {0x09, 0x0a, 0x0b, 0x0c, 0x0d, 0x20, 0x85, 0xa0, 0x1680,
                                    0x2000, 0x2001, 0x2002, 0x2003, 0x2004, 0x2005, 0x2006,
                                    0x2007, 0x2008, 0x2009, 0x200a, 0x2028, 0x2029, 0x202f,
                                    0x205f, 0x3000};
    return std::find(std::begin(list), std::end(list), c) != std::end(list);
}

struct Token
{
    QString word;
    QString trailing;
};

QStringList splitOriginal(const QString &text)
{
    QStringList words;
    QString piece;
    for (QChar c : text) {
        if (isWhiteSpace(c.unicode())) {
            words.append(piece);
            piece.clear();
        } else {
            piece.append(c);
        }
    }
    words.append(piece);
    words.removeAll(QString());
    return words;
}

QList<Token> tokeniseFixed(const QString &text)
{
    QList<Token> tokens;
    QString word;
    QString trailing;
    bool inside = false;
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
    qsizetype start = 0;
    for (qsizetype end = finder.toNextBoundary(); end > 0; start = end, end = finder.toNextBoundary()) {
        const QString character = text.mid(start, end - start);
        const bool space = isWhiteSpace(character.at(0).unicode());
        if (!space && inside) {
            word += character;
        } else if (!space) {
            if (!word.isEmpty())
                tokens.append({word, trailing});
            word = character;
            trailing.clear();
            inside = true;
        } else if (inside) {
            trailing = character;
            inside = false;
        } else {
            trailing += character;
        }
    }
    if (!word.isEmpty())
        tokens.append({word, trailing});
    return tokens;
}

} // namespace

DiffComputation ReferenceWordDiff::wordDiff(const QString &original, const QString &fixed)
{
    const QStringList a = splitOriginal(original);
    const QList<Token> tokens = tokeniseFixed(fixed);
    // Canonical equivalence: compare composed forms.
    QStringList na;
    for (const QString &w : a)
        na.append(w.normalized(QString::NormalizationForm_C));
    QStringList nb;
    for (const Token &t : tokens)
        nb.append(t.word.normalized(QString::NormalizationForm_C));
    const std::size_t n = std::size_t(a.size());
    const std::size_t m = std::size_t(tokens.size());

    DiffComputation result;
    if (na == nb) {
        for (const Token &t : tokens)
            result.changes.append({t.word, false, false, t.trailing});
        return result;
    }
    if (n == 0) {
        for (const Token &t : tokens)
            result.changes.append({t.word, true, false, t.trailing});
        result.editCount = qint64(m);
        return result;
    }
    if (m == 0) {
        for (std::size_t i = 0; i < n; ++i)
            result.changes.append({a[qsizetype(i)], false, true, i + 1 < n ? QStringLiteral(" ") : QString()});
        result.editCount = qint64(n);
        return result;
    }

    std::vector<qint64> table((n + 1) * (m + 1), 0);
    const auto L = [&](std::size_t i, std::size_t j) -> qint64 & { return table[i * (m + 1) + j]; };
    for (std::size_t i = 1; i <= n; ++i) {
        for (std::size_t j = 1; j <= m; ++j) {
            if (na[qsizetype(i - 1)] == nb[qsizetype(j - 1)])
                L(i, j) = L(i - 1, j - 1) + 1;
            else
                L(i, j) = std::max(L(i - 1, j), L(i, j - 1));
        }
    }

    QList<Change> out;
    std::size_t i = n;
    std::size_t j = m;
    while (i > 0 || j > 0) {
        if (i > 0 && j > 0 && na[qsizetype(i - 1)] == nb[qsizetype(j - 1)]) {
            out.append({a[qsizetype(i - 1)], false, false, tokens[qsizetype(j - 1)].trailing});
            --i;
            --j;
        } else if (i > 0 && j > 0 && L(i - 1, j - 1) >= L(i - 1, j) && L(i - 1, j - 1) >= L(i, j - 1)) {
            out.append({tokens[qsizetype(j - 1)].word, true, false, tokens[qsizetype(j - 1)].trailing});
            out.append({a[qsizetype(i - 1)], false, true, QStringLiteral(" ")});
            ++result.editCount;
            --i;
            --j;
        } else if (j > 0 && (i == 0 || L(i, j - 1) >= L(i - 1, j))) {
            out.append({tokens[qsizetype(j - 1)].word, true, false, tokens[qsizetype(j - 1)].trailing});
            ++result.editCount;
            --j;
        } else {
            out.append({a[qsizetype(i - 1)], false, true, QStringLiteral(" ")});
            ++result.editCount;
            --i;
        }
    }
    std::reverse(out.begin(), out.end());
    result.changes = out;
    return result;
}
