#pragma once
#include <QByteArray>
#include <QString>

/// Decoding of the 8-bit text RTF writes as \'hh escapes.
namespace RtfCodePage {
/// The Windows code page a font's \fcharset stands for; 0 when the charset is not a code page.
[[nodiscard]] int forCharset(int charset);
/// The bytes in the given code page (1252 when the code page is unknown or unavailable).
[[nodiscard]] QString decode(const QByteArray& bytes, int codePage);
} // namespace RtfCodePage
