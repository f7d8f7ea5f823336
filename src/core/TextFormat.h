#pragma once
#include <QLocale>
#include <QString>

/// Text rules shared by several components.
namespace TextFormat {
/// Non-empty after trimming white space and line breaks; the text itself stays untrimmed.
[[nodiscard]] bool isBlank(const QString& text);
/// "&" first, then "<", ">", the double quote and the apostrophe.
[[nodiscard]] QString escapeHtml(const QString& text);
/// Count of user-perceived characters (grapheme clusters): what limits, chunk sizes and the usage
/// counters count, never UTF-16 code units.
[[nodiscard]] qsizetype characterCount(QStringView text);
/// The user's locale for numbers and dates shown, English when none is set.
[[nodiscard]] QLocale displayLocale();
/// 1234 → "1,234": grouped the way the user's locale groups numbers (English when none is set).
[[nodiscard]] QString groupedNumber(qint64 value);
/// "1 edit", "2 edits": adds "s" unless the count is 1.
[[nodiscard]] QString plural(qint64 count, const QString& singular);
} // namespace TextFormat
