#include "app/AppIcons.h"

namespace AppIcons {

QIcon application()
{
    const QString name = QLatin1String(applicationId);
    return QIcon::fromTheme(name, QIcon(QStringLiteral(":/icons/com.tembrel.Tembrel.svg")));
}

QIcon tray()
{
    const QString name = QLatin1String(applicationId) + QStringLiteral("-symbolic");
    // Only a theme icon keeps its name, which a StatusNotifierItem tray receives instead of pixels.
    if (QIcon::hasThemeIcon(name))
        return QIcon::fromTheme(name);
    return QIcon(QStringLiteral(":/Tembrel/app/MenuBarIcon.svg"));
}

} // namespace AppIcons
