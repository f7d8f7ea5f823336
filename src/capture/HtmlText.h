#pragma once
#include <QByteArray>
#include <QString>

/// Text-level HTML helpers of the clipboard: decoding what other applications send, cleaning what
/// Tembrel sends to the engine and writes back. All run in time linear in the input.
namespace HtmlText {
/// The HTML as text: a byte-order mark (UTF-8, UTF-16 either order), UTF-16 without one, or a
/// leading <meta charset=…> decides the encoding; UTF-8 otherwise. The mark itself is dropped.
[[nodiscard]] QString decode(const QByteArray& data);
/// Plain text as an HTML paragraph: escaped, each line feed a <br>.
[[nodiscard]] QString plainTextToHtml(const QString& text);
/// Every tag ("<" up to the next ">", at least one character between) removed, then trimmed.
[[nodiscard]] QString stripTags(const QString& html);
/// Drops inline styles and style elements from HTML heavy with Tailwind's "--tw-" variables
/// (50 or more occurrences); any other HTML comes back unchanged.
[[nodiscard]] QString cleanForFix(const QString& html);
/// Removes Google Docs' id="docs-internal-guid-…" attributes, which make Docs paste its cached clip.
[[nodiscard]] QString stripGoogleDocsIds(const QString& html);
/// Whether the HTML carries Google Docs' internal marker.
[[nodiscard]] bool isFromGoogleDocs(const QString& html);
/// Line breaks of every platform and Unicode separators as "\n", then trimmed.
[[nodiscard]] QString normaliseNewlines(const QString& text);
} // namespace HtmlText
