#pragma once
#include "core/FixResult.h"

#include <QString>
#include <optional>

/// What the fix pipeline needs of a captured selection: its plain text, the HTML when the
/// selection was rich (a plain-text selection carries none: it is sent, answered and written back
/// as plain text), the format it was read in and whether it came from Google Docs. The clipboard
/// layer's richer content converts to this value.
struct CapturedContent
{
    QString plainText;
    std::optional<QString> html;
    SourceFormat sourceFormat = SourceFormat::plainText;
    bool isFromGoogleDocs = false;

    bool operator==(const CapturedContent&) const = default;
};

/// The word a trace detail uses for a format: "plain", "HTML" or "RTF".
[[nodiscard]] inline QString formatTraceWord(SourceFormat format)
{
    switch (format) {
    case SourceFormat::plainText: return QStringLiteral("plain");
    case SourceFormat::html: return QStringLiteral("HTML");
    case SourceFormat::rtf: return QStringLiteral("RTF");
    }
    return QStringLiteral("plain");
}

/// The word the history file stores for a format: "plainText", "html" or "rtf".
[[nodiscard]] inline QString formatStoredWord(SourceFormat format)
{
    switch (format) {
    case SourceFormat::plainText: return QStringLiteral("plainText");
    case SourceFormat::html: return QStringLiteral("html");
    case SourceFormat::rtf: return QStringLiteral("rtf");
    }
    return QStringLiteral("plainText");
}
