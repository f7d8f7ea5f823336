#pragma once
#include <QString>

/// Clipboard type names Tembrel reads and writes on X11.
namespace ClipboardTypes {
inline const QString html = QStringLiteral("text/html");
inline const QString rtf = QStringLiteral("text/rtf");
/// Other names applications use for RTF; accepted when reading, never written.
inline const QString rtfAlternatives[] = {QStringLiteral("application/rtf"), QStringLiteral("text/richtext")};
/// Chromium's pickle of the custom types a page put on the clipboard (its "web custom data").
inline const QString chromiumCustomData = QStringLiteral("chromium/x-web-custom-data");
/// Google Docs recognises its own clips by this custom type and pastes its cached copy instead.
inline const QString googleDocsClipId = QStringLiteral("application/x-vnd.google-docs-internal-clip-id");
/// Key of Slack's Quill delta inside Chromium's custom data.
inline const QString slackTexty = QStringLiteral("slack/texty");
/// Substring of the id attribute Google Docs puts in the HTML it copies.
inline const QString googleDocsMarker = QStringLiteral("docs-internal-guid");
} // namespace ClipboardTypes
