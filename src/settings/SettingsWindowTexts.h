#pragma once
#include <QString>

// Texts of the settings window that name something only macOS has. The Linux build says what
// stands in for it; both forms stay side by side here.
namespace SettingsWindowTexts {
#ifdef Q_OS_MACOS
inline const QString hideDockIconLabel = QStringLiteral("Hide Dock icon");
inline const QString hideDockIconHelp = QStringLiteral("Run as a menu bar-only app. The app won't appear in the Dock or \u2318Tab.");
inline const QString apiKeyHelp = QStringLiteral("Stored securely in your Keychain.");
#else
inline const QString hideDockIconLabel = QStringLiteral("Hide from task bar");
inline const QString hideDockIconHelp =
    QStringLiteral("Run from the tray only. Tembrel's windows won't appear in the task bar or Alt+Tab.");
inline const QString apiKeyHelp = QStringLiteral("Stored securely in your keyring.");
#endif
/// Below "Send anonymous usage data": what is sent, or that this build sends nothing at all.
inline const QString analyticsHelp = QStringLiteral("Helps improve Tembrel. No text or personal data is ever sent.");
inline const QString analyticsNotBuiltIn =
    QStringLiteral("This build of Tembrel sends no usage data: it was built without an analytics key.");
/// Shown at the top of the window where the desktop has no tray to come back through.
inline const QString noTrayHint =
    QStringLiteral("This desktop has no tray. Tembrel keeps running in the background: to come back here, "
                   "open Tembrel again from the application menu.");
/// The example base address in the "API URL" help text and placeholder.
inline const QString exampleApiUrl = QStringLiteral("https://api.openai.com/v1");
} // namespace SettingsWindowTexts
