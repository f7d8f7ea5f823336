#pragma once
#include <QString>
#include <optional>

/// The form in which a selection was captured.
enum class SourceFormat { plainText, html, rtf };

/// The outcome of one successful fix.
struct FixResult
{
    QString originalText;
    QString fixedText;
    std::optional<qint64> editCount;
    std::optional<QString> originalHTML;
    std::optional<QString> fixedHTML;
    std::optional<SourceFormat> sourceFormat;

    bool operator==(const FixResult&) const = default;
};
