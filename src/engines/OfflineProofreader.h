#pragma once
#include <QString>

class SpellDictionary;
struct ProofreadToken;

/// Proofreads prose with a spell-checking dictionary and a few rules that are sure to be right:
/// misspellings with one clear correction, repeated words, a lower-case "i", a missing capital at
/// the start of a sentence, doubled spaces, "a"/"an" and a handful of common confusions. Leaves
/// alone what is not prose (names, URLs, e-mail addresses, paths, code, numbers, ALL-CAPS,
/// camelCase). In HTML only the text between tags changes.
class OfflineProofreader
{
public:
    /// `english` switches on the rules that only hold for English.
    OfflineProofreader(SpellDictionary& dictionary, bool english);

    /// The proofread text; `edits` receives the number of changes made.
    [[nodiscard]] QString proofread(const QString& text, qint64* edits = nullptr);

    /// Whether `text` is HTML markup rather than plain text.
    [[nodiscard]] static bool looksLikeHtml(const QString& text);
    /// The text between the tags of `html`, roughly; enough to tell its language.
    [[nodiscard]] static QString roughText(const QString& html);

private:
    QString proofreadPlain(const QString& text);
    QString proofreadHtml(const QString& html);
    QString proofreadSegment(const QString& segment, bool plain);
    void fixWords(QList<ProofreadToken>& tokens, bool plain);
    [[nodiscard]] QString spellingFix(const QString& word);

    SpellDictionary& m_dictionary;
    bool m_english;
    bool m_sentenceStart = true;
    bool m_blocksStartSentences = true;
    qint64 m_edits = 0;
};
