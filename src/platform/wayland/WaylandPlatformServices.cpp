#include "platform/wayland/WaylandPlatformServices.h"

#include "core/Logging.h"
#include "platform/PlatformServices.h"
#include "platform/wayland/SwayWorkspace.h"
#include "platform/wayland/WaylandClipboard.h"
#include "platform/wayland/WaylandConnection.h"
#include "platform/wayland/WaylandDesktop.h"
#include "platform/wayland/WaylandKeySender.h"
#include "platform/x11/XdgLoginItem.h"

bool WaylandAccessibilityTrust::isTrusted() const
{
    return m_keySender->isAvailable() && m_clipboard;
}

QString WaylandAccessibilityTrust::untrustedReason() const
{
    if (isTrusted())
        return {};
    const QString name = m_session.desktopName.isEmpty() ? QStringLiteral("This compositor") : m_session.desktopName;
    if (!m_clipboard)
        return QStringLiteral("%1 doesn't offer the data-control protocol, so Tembrel can't read your selection.").arg(name);
    return QStringLiteral("%1 doesn't offer the virtual-keyboard protocol, so Tembrel can't copy your selection.").arg(name);
}

QString WaylandAccessibilityTrust::sessionNote() const
{
    return isTrusted() ? m_session.limitation() : QString();
}

GlobalShortcuts::RegistrationError WaylandGlobalShortcuts::registerShortcut(quint32, quint16, quint64)
{
    if (!m_told) {
        m_told = true;
        qCInfo(lcHotkey).noquote() << "Wayland compositors keep shortcuts to themselves; bind each mode in the "
                                      "compositor's configuration, e.g."
                                   << m_session.compositorBinding(QStringLiteral("Ctrl+Shift+S"), QStringLiteral("proofread"));
    }
    return RegistrationError::unavailable;
}

std::unique_ptr<PlatformServices> createWaylandPlatformServices(const SessionInfo& session)
{
    std::unique_ptr<WaylandConnection> connection = WaylandConnection::connect();
    if (!connection)
        return nullptr;
    auto services = std::make_unique<PlatformServices>();
    if (connection->dataControl())
        services->clipboard = std::make_unique<WaylandClipboard>(*connection);
    services->keySender = std::make_unique<WaylandKeySender>(*connection);
    services->trust = std::make_unique<WaylandAccessibilityTrust>(services->keySender.get(),
                                                                  services->clipboard.get(), session);
    services->workspace = std::make_unique<SwayWorkspace>(qEnvironmentVariable("SWAYSOCK"));
    services->shortcuts = std::make_unique<WaylandGlobalShortcuts>(session);
    services->keyMonitor = std::make_unique<WaylandKeyMonitor>();
    services->loginItem = std::make_unique<XdgLoginItem>();
    services->backendState = std::shared_ptr<WaylandConnection>(std::move(connection));
    return services;
}
