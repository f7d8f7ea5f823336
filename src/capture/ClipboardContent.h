#pragma once
#include "core/CapturedContent.h"
#include "core/FixResult.h"

#include <QByteArray>
#include <QString>
#include <optional>

/// What was read from the clipboard: the plain text, its HTML rendering, the original RTF when the
/// selection came as RTF, the format it was taken from and whether Google Docs produced it.
struct ClipboardContent
{
    QString plainText;
    std::optional<QString> html;
    std::optional<QByteArray> originalRTF;
    SourceFormat sourceFormat = SourceFormat::plainText;
    bool isFromGoogleDocs = false;

    /// The captured selection as the fix pipeline carries it: the RTF bytes stay behind, and so does
    /// the HTML rendering of a plain-text selection, which is fixed as the plain text it is.
    [[nodiscard]] CapturedContent toCaptured() const
    {
        const bool rich = sourceFormat != SourceFormat::plainText;
        return {plainText, rich ? html : std::nullopt, sourceFormat, isFromGoogleDocs};
    }
    operator CapturedContent() const { return toCaptured(); }

    bool operator==(const ClipboardContent&) const = default;
};
