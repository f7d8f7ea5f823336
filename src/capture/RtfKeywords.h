#pragma once
#include <QByteArray>
#include <QChar>
#include <QString>
#include <optional>

/// The RTF vocabulary the reader interprets beyond formatting: destinations it skips, symbols
/// named by control words, field instructions and list markers.
namespace RtfKeywords {
/// Whether a destination's content is never text (font and colour tables, pictures, headers…).
[[nodiscard]] bool isSkippedDestination(const QByteArray& word);
/// The character a symbol control word such as \emdash stands for.
[[nodiscard]] std::optional<QChar> namedCharacter(const QByteArray& word);
/// The target of a HYPERLINK field instruction; empty for any other field.
[[nodiscard]] QString hyperlinkTarget(const QString& instruction);
/// Whether a list marker's text ("1.", "a)") numbers its item rather than bulleting it.
[[nodiscard]] bool looksOrdered(const QString& marker);
} // namespace RtfKeywords
