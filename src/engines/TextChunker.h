#pragma once
#include <QList>
#include <QString>
#include <QStringList>
#include <QStringView>

/// Splits texts too long for one request into pieces that break at paragraphs, lines, sentences or
/// words, in that order of preference. Sizes count characters as TextFormat::characterCount does.
class TextChunker
{
public:
    static constexpr qsizetype chunkSize = 16000;

    /// The chunks of `text`, in order, each trimmed and none empty; a text of at most chunkSize
    /// characters is one chunk as it is.
    [[nodiscard]] static QStringList split(const QString& text);

    /// Where to cut a prefix of chunkSize characters, as a code-unit offset into `prefix`; the
    /// separator found stays with the first piece.
    [[nodiscard]] static qsizetype splitPoint(const QString& prefix);
};
