#pragma once
#include <QList>
#include <QStringView>

/// Where a piece of text lies inside the text it was cut from.
struct TextSpan
{
    qsizetype start = 0;
    qsizetype length = 0;

    [[nodiscard]] QStringView in(QStringView text) const { return text.mid(start, length); }
};

/// A word of the fixed text and the whitespace run that follows it, as spans of that text.
struct FixedTokenSpan
{
    TextSpan word;
    TextSpan trailingWhitespace;
};

/// The original text's words: the pieces between whitespace code points, empty pieces dropped.
[[nodiscard]] QList<TextSpan> originalWordSpans(QStringView text);

/// The fixed text's words, each with the whitespace that follows it; decided per user-perceived
/// character, and whitespace before the first word belongs to no token.
[[nodiscard]] QList<FixedTokenSpan> fixedTokenSpans(QStringView text);
