#pragma once
#include "capture/RichText.h"

#include <QString>

class QTextDocument;

/// Conversions that need a laid-out HTML document (QTextDocument, so a QGuiApplication).
namespace HtmlDocument {
/// The text of an HTML fragment, line breaks as "\n", trimmed; tags stripped when it cannot be
/// opened as a document (empty, or too large to lay out on the UI thread).
[[nodiscard]] QString toPlainText(const QString& html);
/// The styled text of an HTML fragment, for the RTF writer.
[[nodiscard]] RichText toRichText(const QString& html);
/// The inner HTML of a document's body, trimmed; the escaped text as a paragraph when the
/// export has no body or an empty one.
[[nodiscard]] QString bodyHtml(const QTextDocument& document);
/// The HTML of styled text; the escaped text as a paragraph when that comes out blank.
[[nodiscard]] QString bodyHtml(const RichText& text);
/// Largest HTML, in characters, laid out as a document; larger HTML is only stripped of tags.
inline constexpr qsizetype maxDocumentSize = 4 * 1024 * 1024;
/// Deepest nesting of elements laid out as written; deeper elements lose their tags, not their text.
inline constexpr int maxNestingDepth = 128;
/// The HTML with every element nested deeper than `maxDepth` unwrapped: its tags go, its text and
/// everything at or above the limit stay. Laying out a document costs time with the square of its
/// depth, and HTML from the clipboard can be nested tens of thousands deep.
[[nodiscard]] QString boundedNesting(const QString& html, int maxDepth = maxNestingDepth);
} // namespace HtmlDocument
