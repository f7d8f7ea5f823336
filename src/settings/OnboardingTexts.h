#pragma once
#include <QString>
#include <QStringList>

// Texts of onboarding that name something only macOS has. On Linux with X11 there is no
// permission to grant, so the permission page says so instead of walking through System Settings;
// both forms stay side by side here.
namespace OnboardingTexts {
#ifdef Q_OS_MACOS
inline const QString permissionTitle = QStringLiteral("Accessibility permission");
inline const QString permissionIntro =
    QStringLiteral("Tembrel needs Accessibility permission to read your text selection.");
inline const QStringList howToEnable{QStringLiteral("Click \"Open Settings\" below"),
                                     QStringLiteral("Find Tembrel in the list"),
                                     QStringLiteral("Toggle the switch to enable")};
inline const QString grantedDetail;
inline const QString unavailableTitle;
inline const QString pastePlaceholder = QStringLiteral("\u2318V to paste...");
#else
inline const QString permissionTitle = QStringLiteral("Copying your selection");
inline const QString permissionIntro;
inline const QStringList howToEnable;
inline const QString grantedDetail =
    QStringLiteral("No permission is needed on this desktop: Tembrel can copy your selection right away.");
inline const QString unavailableTitle = QStringLiteral("Tembrel can't work on this desktop yet.");
inline const QString pastePlaceholder = QStringLiteral("Ctrl+V to paste...");
#endif
} // namespace OnboardingTexts
