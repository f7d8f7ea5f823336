#pragma once
#include "capture/RichText.h"

#include <QByteArray>
#include <optional>

/// Reads RTF as other applications put it on the clipboard: paragraphs, line breaks, tabs, bold,
/// italic, underline, strike-through, Unicode and code-page escapes, HYPERLINK fields and list
/// items; tables come out as text (cells separated by tabs), everything else is skipped.
namespace RtfReader {
/// The styled text of an RTF document; none when the data is not RTF (no "{\rtf" at the start).
[[nodiscard]] std::optional<RichText> read(const QByteArray& rtf);
} // namespace RtfReader
