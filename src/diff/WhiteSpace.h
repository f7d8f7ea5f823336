#pragma once

/// Whether a code point has the Unicode White_Space property. A fixed table rather than
/// QChar::isSpace so the word diff does not move when Qt's character data does.
[[nodiscard]] constexpr bool isUnicodeWhiteSpace(char32_t c) noexcept
{
    if (c < 0x80)
        return c == 0x20 || (c >= 0x09 && c <= 0x0d);
    if (c < 0x1680)
        return c == 0x85 || c == 0xa0;
    return c == 0x1680 || (c >= 0x2000 && c <= 0x200a) || c == 0x2028 || c == 0x2029 || c == 0x202f
        || c == 0x205f || c == 0x3000;
}
