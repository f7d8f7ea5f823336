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
/// The example base address in the "API URL" help text and placeholder.
inline const QString exampleApiUrl = QStringLiteral("https://api.openai.com/v1");
} // namespace SettingsWindowTexts
