#include "engines/OfflineProofreader.h"

#include "engines/SpellDictionary.h"

#include <QList>
#include <QRegularExpression>
#include <QSet>

#include <algorithm>
#include <vector>

/// One piece of a text being proofread: a word, a run of spaces, punctuation, or something left alone.
struct ProofreadToken
{
    enum class Kind { space, word, punct, opaque };
    Kind kind;
    QString text;
    bool removed = false;
};

namespace {

using Kind = ProofreadToken::Kind;

enum class CasePattern { lower, title, upper, mixed };

CasePattern casePattern(const QString& word)
{
    qsizetype upper = 0;
    qsizetype letters = 0;
    for (const QChar c : word) {
        if (!c.isLetter())
            continue;
        ++letters;
        if (c.isUpper())
            ++upper;
    }
    if (upper == 0)
        return CasePattern::lower;
    if (upper == letters && letters > 1)
        return CasePattern::upper;
    if (upper == 1 && word.front().isUpper())
        return CasePattern::title;
    return CasePattern::mixed;
}

QString withCaseOf(const QString& word, const QString& model)
{
    if (!model.isEmpty() && model.front().isUpper() && !word.isEmpty())
        return word.front().toUpper() + word.mid(1);
    return word;
}

// Optimal string alignment distance: a swap of two neighbours ("teh") counts as one edit.
qsizetype editDistance(const QString& a, const QString& b)
{
    const qsizetype n = a.size();
    const qsizetype m = b.size();
    std::vector<std::vector<qsizetype>> d(size_t(n + 1), std::vector<qsizetype>(size_t(m + 1)));
    for (qsizetype i = 0; i <= n; ++i)
        d[size_t(i)][0] = i;
    for (qsizetype j = 0; j <= m; ++j)
        d[0][size_t(j)] = j;
    for (qsizetype i = 1; i <= n; ++i) {
        for (qsizetype j = 1; j <= m; ++j) {
            const qsizetype cost = a[i - 1] == b[j - 1] ? 0 : 1;
            qsizetype best = std::min({d[size_t(i - 1)][size_t(j)] + 1, d[size_t(i)][size_t(j - 1)] + 1,
                                       d[size_t(i - 1)][size_t(j - 1)] + cost});
            if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1])
                best = std::min(best, d[size_t(i - 2)][size_t(j - 2)] + 1);
            d[size_t(i)][size_t(j)] = best;
        }
    }
    return d[size_t(n)][size_t(m)];
}

bool isApostrophe(QChar c)
{
    return c == u'\'' || c == u'\u2019';
}

bool isWordChar(QChar c)
{
    return c.isLetter() || c.isMark() || isApostrophe(c) || c == u'-';
}

// A run of non-space characters that is code, a path, a number or an address rather than words.
bool isOpaqueRun(const QString& run)
{
    static const QString codeChars = QStringLiteral("/\\_@<>{}=#$%^*|~+&`[]");
    for (qsizetype k = 0; k < run.size(); ++k) {
        const QChar c = run[k];
        if (c.isDigit() || codeChars.contains(c))
            return true;
        // "file.txt", "e.g.", "std::move", "a.b": punctuation between letters is not prose.
        if ((c == u'.' || c == u':') && k > 0 && k + 1 < run.size() && run[k - 1].isLetterOrNumber()
            && (run[k + 1].isLetterOrNumber() || run[k + 1] == u':'))
            return true;
    }
    return false;
}

const QRegularExpression& protectedSpans()
{
    static const QRegularExpression pattern(
        QStringLiteral("`[^`\\n]*`"                                           // inline code
                       "|\\b(?:[a-z][a-z0-9+.-]*://|www\\.)\\S+"               // URLs
                       "|[\\w.+-]+@[\\w-]+(?:\\.[\\w-]+)+"                    // e-mail addresses
                       "|&(?:#[0-9]+|#x[0-9a-f]+|[a-z][a-z0-9]*);"),           // character references
        QRegularExpression::CaseInsensitiveOption | QRegularExpression::UseUnicodePropertiesOption);
    return pattern;
}

void appendRun(QList<ProofreadToken>& tokens, const QString& run)
{
    if (isOpaqueRun(run)) {
        tokens.append({Kind::opaque, run});
        return;
    }
    qsizetype begin = 0;
    while (begin < run.size() && !run[begin].isLetter())
        ++begin;
    qsizetype end = run.size();
    while (end > begin && !run[end - 1].isLetter())
        --end;
    const QString core = run.mid(begin, end - begin);
    if (!std::all_of(core.begin(), core.end(), isWordChar)) {
        tokens.append({Kind::opaque, run});
        return;
    }
    if (begin > 0)
        tokens.append({Kind::punct, run.left(begin)});
    if (!core.isEmpty())
        tokens.append({Kind::word, core});
    if (end < run.size())
        tokens.append({Kind::punct, run.mid(end)});
}

void appendProse(QList<ProofreadToken>& tokens, QStringView text)
{
    qsizetype k = 0;
    while (k < text.size()) {
        const bool space = text[k].isSpace();
        qsizetype end = k;
        while (end < text.size() && text[end].isSpace() == space)
            ++end;
        const QString run = text.mid(k, end - k).toString();
        if (space)
            tokens.append({Kind::space, run});
        else
            appendRun(tokens, run);
        k = end;
    }
}

QList<ProofreadToken> tokenize(const QString& text)
{
    QList<ProofreadToken> tokens;
    qsizetype done = 0;
    auto matches = protectedSpans().globalMatch(text);
    while (matches.hasNext()) {
        const QRegularExpressionMatch match = matches.next();
        // A protected span glued to letters ("foo`bar`") makes the whole run opaque.
        qsizetype begin = match.capturedStart();
        while (begin > done && !text[begin - 1].isSpace())
            --begin;
        qsizetype end = match.capturedEnd();
        while (end < text.size() && !text[end].isSpace())
            ++end;
        if (begin < done)
            begin = done;
        appendProse(tokens, QStringView(text).mid(done, begin - done));
        tokens.append({Kind::opaque, text.mid(begin, end - begin)});
        done = end;
        if (done >= text.size())
            break;
    }
    if (done < text.size())
        appendProse(tokens, QStringView(text).mid(done));
    return tokens;
}

const QSet<QString>& abbreviations()
{
    static const QSet<QString> words{
        QStringLiteral("mr"), QStringLiteral("mrs"), QStringLiteral("ms"), QStringLiteral("dr"),
        QStringLiteral("st"), QStringLiteral("vs"), QStringLiteral("etc"), QStringLiteral("prof"),
        QStringLiteral("jr"), QStringLiteral("sr"), QStringLiteral("no"), QStringLiteral("fig"),
        QStringLiteral("approx"), QStringLiteral("cf"), QStringLiteral("ca"), QStringLiteral("bzw"),
        QStringLiteral("usw"), QStringLiteral("z"), QStringLiteral("nr")};
    return words;
}

// Doubled words that English uses on purpose.
const QSet<QString>& deliberateRepeats()
{
    static const QSet<QString> words{QStringLiteral("had"), QStringLiteral("that"), QStringLiteral("bye"),
                                     QStringLiteral("no"), QStringLiteral("ha"), QStringLiteral("very"),
                                     QStringLiteral("so"), QStringLiteral("really"), QStringLiteral("yeah"),
                                     QStringLiteral("is"), QStringLiteral("die"), QStringLiteral("das"),
                                     QStringLiteral("sie")};
    return words;
}

bool startsWithVowelSound(const QString& lowerWord)
{
    static const QStringList silentH{QStringLiteral("hour"), QStringLiteral("honest"), QStringLiteral("honor"),
                                     QStringLiteral("honour"), QStringLiteral("heir")};
    static const QStringList spokenY{QStringLiteral("uni"), QStringLiteral("use"), QStringLiteral("usu"),
                                     QStringLiteral("uti"), QStringLiteral("utop"), QStringLiteral("ura"),
                                     QStringLiteral("uro"), QStringLiteral("eu"), QStringLiteral("ewe"),
                                     QStringLiteral("one"), QStringLiteral("once"), QStringLiteral("ubiq")};
    for (const QString& prefix : silentH) {
        if (lowerWord.startsWith(prefix))
            return true;
    }
    for (const QString& prefix : spokenY) {
        if (lowerWord.startsWith(prefix))
            return false;
    }
    return !lowerWord.isEmpty() && QStringLiteral("aeiou").contains(lowerWord.front());
}

// Words after which "a" is more likely the letter than the article ("option a or b").
const QSet<QString>& notAfterArticle()
{
    static const QSet<QString> words{QStringLiteral("or"), QStringLiteral("and"), QStringLiteral("is"),
                                     QStringLiteral("in"), QStringLiteral("of"), QStringLiteral("on"),
                                     QStringLiteral("at"), QStringLiteral("as"), QStringLiteral("if"),
                                     QStringLiteral("it"), QStringLiteral("are"), QStringLiteral("was"),
                                     QStringLiteral("to"), QStringLiteral("up")};
    return words;
}

const QSet<QString>& modalsBeforeOf()
{
    static const QSet<QString> words{QStringLiteral("could"), QStringLiteral("would"), QStringLiteral("should"),
                                     QStringLiteral("must"), QStringLiteral("might")};
    return words;
}

const QSet<QString>& comparativesBeforeThen()
{
    static const QSet<QString> words{
        QStringLiteral("more"),    QStringLiteral("less"),   QStringLiteral("better"), QStringLiteral("worse"),
        QStringLiteral("rather"),  QStringLiteral("fewer"),  QStringLiteral("greater"), QStringLiteral("larger"),
        QStringLiteral("smaller"), QStringLiteral("bigger"), QStringLiteral("higher"), QStringLiteral("lower"),
        QStringLiteral("faster"),  QStringLiteral("slower"), QStringLiteral("older"),  QStringLiteral("younger")};
    return words;
}

bool endsSentence(const QString& punct)
{
    if (punct.contains(QStringLiteral("...")) || punct.contains(u'\u2026'))
        return false;
    return punct.contains(u'.') || punct.contains(u'!') || punct.contains(u'?');
}

// Whether only plain spaces (no line break) separate tokens `from` and `to`.
bool onlySpacesBetween(const QList<ProofreadToken>& tokens, qsizetype from, qsizetype to)
{
    for (qsizetype k = from + 1; k < to; ++k) {
        if (tokens[k].removed)
            continue;
        if (tokens[k].kind != Kind::space || tokens[k].text.contains(u'\n'))
            return false;
    }
    return true;
}

qsizetype previousToken(const QList<ProofreadToken>& tokens, qsizetype k)
{
    for (qsizetype j = k - 1; j >= 0; --j) {
        if (!tokens[j].removed && tokens[j].kind != Kind::space)
            return j;
    }
    return -1;
}

qsizetype nextToken(const QList<ProofreadToken>& tokens, qsizetype k)
{
    for (qsizetype j = k + 1; j < tokens.size(); ++j) {
        if (tokens[j].kind != Kind::space)
            return j;
    }
    return -1;
}

const QSet<QString>& codeElements()
{
    static const QSet<QString> names{QStringLiteral("code"), QStringLiteral("pre"),  QStringLiteral("script"),
                                     QStringLiteral("style"), QStringLiteral("kbd"), QStringLiteral("samp"),
                                     QStringLiteral("tt"),    QStringLiteral("var"), QStringLiteral("textarea")};
    return names;
}

const QSet<QString>& blockElements()
{
    static const QSet<QString> names{
        QStringLiteral("p"),  QStringLiteral("div"), QStringLiteral("li"), QStringLiteral("ul"),
        QStringLiteral("ol"), QStringLiteral("br"),  QStringLiteral("h1"), QStringLiteral("h2"),
        QStringLiteral("h3"), QStringLiteral("h4"),  QStringLiteral("h5"), QStringLiteral("h6"),
        QStringLiteral("td"), QStringLiteral("th"),  QStringLiteral("tr"), QStringLiteral("table"),
        QStringLiteral("blockquote"), QStringLiteral("section"), QStringLiteral("article"),
        QStringLiteral("header"), QStringLiteral("footer"), QStringLiteral("dd"), QStringLiteral("dt"),
        QStringLiteral("hr"), QStringLiteral("body"), QStringLiteral("html")};
    return names;
}

// The end of the tag starting at `k` (one past its ">"), or -1; quoted attribute values may hold ">".
qsizetype tagEnd(const QString& html, qsizetype k)
{
    QChar quote;
    for (qsizetype j = k + 1; j < html.size(); ++j) {
        const QChar c = html[j];
        if (!quote.isNull()) {
            if (c == quote)
                quote = QChar();
        } else if (c == u'"' || c == u'\'') {
            quote = c;
        } else if (c == u'>') {
            return j + 1;
        } else if (c == u'<') {
            return -1;
        }
    }
    return -1;
}

bool startsTag(const QString& html, qsizetype k)
{
    if (k + 1 >= html.size() || html[k] != u'<')
        return false;
    const QChar next = html[k + 1];
    return (next.isLetter() && next.unicode() < 128) || next == u'/' || next == u'!' || next == u'?';
}

QString tagName(const QString& tag, bool* closing)
{
    qsizetype k = 1;
    *closing = k < tag.size() && tag[k] == u'/';
    if (*closing)
        ++k;
    qsizetype end = k;
    while (end < tag.size() && (tag[end].isLetterOrNumber() || tag[end] == u'-'))
        ++end;
    return tag.mid(k, end - k).toLower();
}

} // namespace

OfflineProofreader::OfflineProofreader(SpellDictionary& dictionary, bool english)
    : m_dictionary(dictionary)
    , m_english(english)
{
}

bool OfflineProofreader::looksLikeHtml(const QString& text)
{
    // A tag with a known shape, not any "<" ("a < b > c" is plain text).
    static const QRegularExpression tag(QStringLiteral("<(?:[a-zA-Z][a-zA-Z0-9-]*(?:\\s[^<>]*)?/?|/[a-zA-Z][a-zA-Z0-9-]*\\s*)>"
                                                       "|<!--|<!DOCTYPE"),
                                        QRegularExpression::CaseInsensitiveOption);
    return tag.match(text).hasMatch();
}

QString OfflineProofreader::roughText(const QString& html)
{
    static const QRegularExpression tags(QStringLiteral("<[^>]*>"));
    return QString(html).replace(tags, QStringLiteral(" "));
}

QString OfflineProofreader::proofread(const QString& text, qint64* edits)
{
    m_edits = 0;
    const bool html = looksLikeHtml(text);
    // A selection that ends a sentence most likely starts one too; otherwise it may start mid-sentence.
    const QString prose = (html ? roughText(text) : text).trimmed();
    static const QRegularExpression sentenceEnd(QStringLiteral("[.!?][\"'\u201d\u2019)\\]]*$"));
    m_sentenceStart = sentenceEnd.match(prose).hasMatch();
    // List items and table cells of a fragment without full stops are not sentences either.
    m_blocksStartSentences = m_sentenceStart;
    const QString result = html ? proofreadHtml(text) : proofreadPlain(text);
    if (edits)
        *edits = m_edits;
    return result;
}

QString OfflineProofreader::proofreadPlain(const QString& text)
{
    return proofreadSegment(text, true);
}

QString OfflineProofreader::proofreadHtml(const QString& html)
{
    QString out;
    out.reserve(html.size());
    int codeDepth = 0;
    qsizetype k = 0;
    while (k < html.size()) {
        if (html.mid(k, 4) == u"<!--") {
            const qsizetype close = html.indexOf(QStringLiteral("-->"), k + 4);
            const qsizetype end = close < 0 ? html.size() : close + 3;
            out += QStringView(html).mid(k, end - k);
            k = end;
            continue;
        }
        if (startsTag(html, k)) {
            const qsizetype end = tagEnd(html, k);
            if (end > 0) {
                const QString tag = html.mid(k, end - k);
                bool closing = false;
                const QString name = tagName(tag, &closing);
                if (codeElements().contains(name) && !tag.endsWith(QStringLiteral("/>")))
                    codeDepth = std::max(0, codeDepth + (closing ? -1 : 1));
                if (blockElements().contains(name))
                    m_sentenceStart = m_blocksStartSentences;
                out += tag;
                k = end;
                continue;
            }
        }
        qsizetype end = k + 1;
        while (end < html.size() && !(startsTag(html, end) && tagEnd(html, end) > 0) && html.mid(end, 4) != u"<!--")
            ++end;
        const QString text = html.mid(k, end - k);
        out += codeDepth > 0 ? text : proofreadSegment(text, false);
        k = end;
    }
    return out;
}

QString OfflineProofreader::proofreadSegment(const QString& segment, bool plain)
{
    QList<ProofreadToken> tokens = tokenize(segment);
    fixWords(tokens, plain);
    QString out;
    out.reserve(segment.size());
    for (const ProofreadToken& token : tokens) {
        if (!token.removed)
            out += token.text;
    }
    return out;
}

void OfflineProofreader::fixWords(QList<ProofreadToken>& tokens, bool plain)
{
    for (qsizetype k = 0; k < tokens.size(); ++k) {
        ProofreadToken& token = tokens[k];
        switch (token.kind) {
        case Kind::space:
            // HTML folds spaces itself; in plain text a run of spaces between two words becomes one.
            if (plain && token.text.size() > 1 && k > 0 && k + 1 < tokens.size()
                && std::all_of(token.text.begin(), token.text.end(), [](QChar c) { return c == u' '; })) {
                token.text = QStringLiteral(" ");
                ++m_edits;
            }
            continue;
        case Kind::opaque:
            m_sentenceStart = false;
            continue;
        case Kind::punct: {
            const qsizetype before = previousToken(tokens, k);
            const bool abbreviation = before >= 0 && tokens[before].kind == Kind::word && before == k - 1
                                      && token.text.startsWith(u'.')
                                      && (abbreviations().contains(tokens[before].text.toLower())
                                          || tokens[before].text.size() == 1);
            if (endsSentence(token.text) && !abbreviation)
                m_sentenceStart = true;
            continue;
        }
        case Kind::word:
            break;
        }

        const QString original = token.text;
        const QString lower = original.toLower();
        const qsizetype before = previousToken(tokens, k);
        const bool afterWord = before >= 0 && tokens[before].kind == Kind::word && onlySpacesBetween(tokens, before, k);
        const QString previous = afterWord ? tokens[before].text.toLower() : QString();

        if (afterWord && previous == lower && casePattern(original) != CasePattern::upper
            && !deliberateRepeats().contains(lower)) {
            token.removed = true;
            for (qsizetype j = before + 1; j < k; ++j)
                tokens[j].removed = true;
            ++m_edits;
            continue;
        }

        QString word = original;
        const CasePattern pattern = casePattern(original);
        if (m_english) {
            if (lower == u"i" || (lower.size() > 2 && lower.front() == u'i' && isApostrophe(lower[1])
                                  && casePattern(original) == CasePattern::lower)) {
                if (lower == u"i" || QStringList{QStringLiteral("m"), QStringLiteral("ve"), QStringLiteral("ll"),
                                                 QStringLiteral("d")}.contains(lower.mid(2)))
                    word = QStringLiteral("I") + original.mid(1);
            } else if (afterWord && lower == u"of" && modalsBeforeOf().contains(previous)) {
                word = withCaseOf(QStringLiteral("have"), original);
            } else if (afterWord && lower == u"then" && comparativesBeforeThen().contains(previous)) {
                word = withCaseOf(QStringLiteral("than"), original);
            } else if (afterWord && lower == u"has" && previous == u"i") {
                word = QStringLiteral("have");
            } else if (lower == u"their") {
                const qsizetype after = nextToken(tokens, k);
                if (after >= 0 && tokens[after].kind == Kind::word && onlySpacesBetween(tokens, k, after)
                    && (tokens[after].text == u"going" || tokens[after].text == u"not"))
                    word = withCaseOf(QStringLiteral("they're"), original);
            } else if (lower == u"alot") {
                word = withCaseOf(QStringLiteral("a lot"), original);
            } else if (lower == u"your") {
                const qsizetype after = nextToken(tokens, k);
                if (after >= 0 && tokens[after].kind == Kind::word && tokens[after].text == u"welcome"
                    && onlySpacesBetween(tokens, k, after))
                    word = withCaseOf(QStringLiteral("you're"), original);
            }
        }
        if (word == original && pattern == CasePattern::lower && !m_dictionary.isCorrect(original))
            word = spellingFix(original);

        if (m_english && (lower == u"a" || lower == u"an")) {
            const qsizetype after = nextToken(tokens, k);
            if (after >= 0 && tokens[after].kind == Kind::word && onlySpacesBetween(tokens, k, after)) {
                const QString next = tokens[after].text;
                const CasePattern nextPattern = casePattern(next);
                const QString nextLower = next.toLower();
                if ((nextPattern == CasePattern::lower || nextPattern == CasePattern::title)
                    && !notAfterArticle().contains(nextLower) && next.size() > 1) {
                    const bool vowel = startsWithVowelSound(nextLower);
                    if (vowel && lower == u"a")
                        word = withCaseOf(QStringLiteral("an"), original);
                    else if (!vowel && lower == u"an")
                        word = withCaseOf(QStringLiteral("a"), original);
                }
            }
        }

        if (m_sentenceStart && word.front().isLower() && casePattern(word) == CasePattern::lower
            && m_dictionary.isCorrect(word))
            word = word.front().toUpper() + word.mid(1);

        if (word != original) {
            token.text = word;
            ++m_edits;
        }
        m_sentenceStart = false;
    }
}

QString OfflineProofreader::spellingFix(const QString& word)
{
    // Only the dictionary's first suggestion, and only when it is clearly the word meant: close to
    // what was typed, in the same case, one word.
    if (word.size() < 3 || word.contains(u'-'))
        return word;
    const bool curly = word.contains(u'\u2019');
    QString asTyped = word;
    if (curly)
        asTyped.replace(u'\u2019', u'\'');
    const QStringList suggestions = m_dictionary.suggestions(asTyped);
    if (suggestions.isEmpty())
        return word;
    QString best = suggestions.front();
    if (best.contains(u' ') || best.contains(u'-') || casePattern(best) != CasePattern::lower)
        return word;
    const qsizetype distance = editDistance(asTyped, best);
    // Two edits only on long words, where two slips still leave the word unmistakable.
    if (distance > 2 || (distance == 2 && asTyped.size() < 7))
        return word;
    // One letter too many is a typo only when it doubles its neighbour ("weeek"); otherwise the
    // word is more likely one the dictionary does not know ("backend" is not "backed").
    if (distance == 1 && best.size() + 1 == asTyped.size()) {
        bool doubled = false;
        for (qsizetype k = 0; k < asTyped.size() && !doubled; ++k) {
            if (QString(asTyped).remove(k, 1) == best)
                doubled = (k > 0 && asTyped[k - 1] == asTyped[k]) || (k + 1 < asTyped.size() && asTyped[k + 1] == asTyped[k]);
        }
        if (!doubled)
            return word;
    }
    if (curly)
        best.replace(u'\'', u'\u2019');
    return best;
}
