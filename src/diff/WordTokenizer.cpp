#include "diff/WordTokenizer.h"

#include "diff/Graphemes.h"
#include "diff/WhiteSpace.h"

QList<TextSpan> originalWordSpans(QStringView text)
{
    QList<TextSpan> words;
    words.reserve(text.size() / 6);
    qsizetype start = -1;
    for (qsizetype i = 0; i < text.size(); ++i) {
        // Every White_Space code point is in the BMP, so code units are enough here.
        if (isUnicodeWhiteSpace(text[i].unicode())) {
            if (start >= 0)
                words.append({start, i - start});
            start = -1;
        } else if (start < 0) {
            start = i;
        }
    }
    if (start >= 0)
        words.append({start, text.size() - start});
    return words;
}

QList<FixedTokenSpan> fixedTokenSpans(QStringView text)
{
    QList<FixedTokenSpan> tokens;
    tokens.reserve(text.size() / 6);
    GraphemeCursor cursor(text);
    qsizetype begin = 0;
    bool insideWord = false;
    FixedTokenSpan current{{0, 0}, {0, 0}};
    bool haveWord = false;
    for (qsizetype end = cursor.next(); end >= 0; begin = end, end = cursor.next()) {
        // A character is whitespace when its first code point is; a combining mark on a space
        // therefore stays whitespace, unlike in the original's tokeniser.
        const bool space = isUnicodeWhiteSpace(text[begin].unicode());
        if (!space) {
            if (!insideWord) {
                if (haveWord)
                    tokens.append(current);
                current = {{begin, 0}, {end, 0}};
                haveWord = true;
                insideWord = true;
            }
            current.word.length = end - current.word.start;
            current.trailingWhitespace.start = end;
        } else {
            insideWord = false;
            current.trailingWhitespace.length = end - current.trailingWhitespace.start;
        }
    }
    if (haveWord)
        tokens.append(current);
    return tokens;
}
