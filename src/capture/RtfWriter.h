#pragma once
#include "capture/RichText.h"

#include <QByteArray>

/// Writes styled text as RTF that word processors and the RTF reader open: paragraphs, line
/// breaks, tabs, bold, italic, underline, strike-through, HYPERLINK fields and list items.
namespace RtfWriter {
/// The RTF document of the text; 7-bit ASCII, other characters as \u escapes.
[[nodiscard]] QByteArray write(const RichText& text);
} // namespace RtfWriter
