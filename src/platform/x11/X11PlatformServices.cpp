#include "platform/x11/X11PlatformServices.h"

#include "platform/PlatformServices.h"
#include "platform/SessionInfo.h"

#include "platform/x11/X11AccessibilityTrust.h"
#include "platform/x11/X11GlobalShortcuts.h"
#include "platform/x11/X11KeyMonitor.h"
#include "platform/x11/X11KeySender.h"
#include "platform/x11/X11Workspace.h"
#include "platform/x11/XdgLoginItem.h"

std::unique_ptr<PlatformServices> createX11PlatformServices(const SessionInfo& session)
{
    auto services = std::make_unique<PlatformServices>();
    auto shortcuts = std::make_unique<X11GlobalShortcuts>();
    services->keySender = std::make_unique<X11KeySender>(shortcuts.get());
    services->trust = std::make_unique<X11AccessibilityTrust>(services->keySender.get(), session);
    services->workspace = std::make_unique<X11Workspace>();
    services->keyMonitor = std::make_unique<X11KeyMonitor>();
    services->loginItem = std::make_unique<XdgLoginItem>();
    services->shortcuts = std::move(shortcuts);
    return services;
}
