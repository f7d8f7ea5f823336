#pragma once
#include <QIcon>
#include <QString>

/// Tembrel's icons, by the names the installed icon theme knows them, so that a theme may restyle
/// them; the copies built into the binary stand in where the theme has none.
namespace AppIcons {

/// The application id, which names the desktop entry, the metainfo and the icons.
inline constexpr auto applicationId = "com.tembrel.Tembrel";

/// The application's icon: every window carries it.
[[nodiscard]] QIcon application();
/// The one-colour tray mark ("com.tembrel.Tembrel-symbolic").
[[nodiscard]] QIcon tray();

} // namespace AppIcons
