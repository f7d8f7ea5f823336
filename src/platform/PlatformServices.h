#pragma once
#include "platform/AccessibilityTrust.h"
#include "platform/GlobalShortcuts.h"
#include "platform/KeyMonitor.h"
#include "platform/KeySender.h"
#include "platform/LoginItem.h"
#include "platform/SystemClipboard.h"
#include "platform/Workspace.h"

#include <memory>

/// The operating system as Tembrel sees it; one implementation per platform and a fake for tests.
struct PlatformServices
{
    /// What the backend's services share (e.g. a connection to the compositor); declared first so
    /// it outlives them.
    std::shared_ptr<void> backendState;
    std::unique_ptr<GlobalShortcuts> shortcuts;
    std::unique_ptr<KeySender> keySender;
    std::unique_ptr<AccessibilityTrust> trust;
    std::unique_ptr<Workspace> workspace;
    std::unique_ptr<KeyMonitor> keyMonitor;
    std::unique_ptr<LoginItem> loginItem;
    /// Null where Qt's clipboard reaches other applications (X11); set on Wayland.
    std::unique_ptr<SystemClipboard> clipboard;
};

/// Defined once per backend. Call after the QGuiApplication exists.
std::unique_ptr<PlatformServices> createPlatformServices();
