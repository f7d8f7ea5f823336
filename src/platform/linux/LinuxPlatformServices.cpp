#include "platform/PlatformServices.h"

#include "core/Logging.h"
#include "platform/SessionInfo.h"
#include "platform/wayland/WaylandPlatformServices.h"
#include "platform/x11/X11PlatformServices.h"

#include <QGuiApplication>

// Linux desktops get the backend their session needs, decided when Tembrel starts.
std::unique_ptr<PlatformServices> createPlatformServices()
{
    const SessionInfo session = SessionInfo::detect();
    if (const QString note = session.limitation(); !note.isEmpty())
        qCWarning(lcPlatform).noquote() << note;
    const QString platform = QGuiApplication::platformName();
    if (session.kind != SessionInfo::Kind::none && (platform == QLatin1String("offscreen") || platform == QLatin1String("minimal")))
        qCWarning(lcPlatform).noquote() << "Could not reach the display; Tembrel runs without windows on Qt's" << platform
                                        << "platform";
    if (session.backend() == SessionInfo::Backend::wayland) {
        if (std::unique_ptr<PlatformServices> services = createWaylandPlatformServices(session)) {
            qCInfo(lcPlatform) << "Platform backend: Wayland";
            return services;
        }
        qCWarning(lcPlatform) << "The Wayland backend could not start; falling back to X11";
    }
    qCInfo(lcPlatform) << "Platform backend: X11";
    return createX11PlatformServices(session);
}
