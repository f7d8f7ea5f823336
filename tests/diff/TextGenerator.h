#pragma once
#include <QRandomGenerator>
#include <QString>
#include <QStringList>

/// Random texts for the word diff: words from a small vocabulary (so words repeat), mixed
/// whitespace, combining marks, emoji, and pairs made by editing one text into another.
class TextGenerator
{
public:
    explicit TextGenerator(quint32 seed) : m_random(seed) {}

    /// Words drawn from `vocabulary`; the first `common` of them are drawn far more often.
    QStringList words(int count, const QStringList &vocabulary, int common = 0);

    /// Words joined with random whitespace runs, optionally with leading and trailing runs.
    QString join(const QStringList &words);

    /// A copy of `words` with about `rate` of them substituted, deleted or inserted, sometimes in runs.
    QStringList edit(const QStringList &words, double rate, const QStringList &vocabulary);

    /// A vocabulary of `size` plain words made of lower-case letters.
    QStringList plainVocabulary(int size);

    /// Words that stress the tokenisers: repeats, punctuation, equivalent spellings, emoji.
    static QStringList trickyVocabulary();

    /// Whether whitespace runs may carry a combining mark, which the two tokenisers read
    /// differently (so a whitespace-only change can still change words).
    void setMarkedSpaces(bool allowed) { m_markedSpaces = allowed; }

    QRandomGenerator &random() { return m_random; }

private:
    QString whitespace();
    QRandomGenerator m_random;
    bool m_markedSpaces = true;
};
