#pragma once
#include "diff/Change.h"

#include <QList>
#include <QString>
#include <QStringList>

/// One word of the fixed text and the whitespace that directly follows it there.
struct WordToken
{
    QString word;
    QString trailingWhitespace;

    friend bool operator==(const WordToken &, const WordToken &) = default;
};

/// The word diff: compares an original text and its fixed version word by word. Pure and
/// stateless; safe to call from any thread.
class DiffUtils
{
public:
    /// The changes that turn `original` into `fixed`, in reading order, and their edit count.
    /// Equal to the backtrack through the full LCS table, tie-breaks included.
    [[nodiscard]] static DiffComputation wordDiff(const QString &original, const QString &fixed);

    /// The original text's words: split at every whitespace code point, empty pieces dropped.
    [[nodiscard]] static QStringList originalWords(QStringView text);

    /// The fixed text's words with their trailing whitespace, per user-perceived character.
    [[nodiscard]] static QList<WordToken> fixedTokens(QStringView text);
};
