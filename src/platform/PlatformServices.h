#pragma once
#include "platform/AccessibilityTrust.h"
#include "platform/GlobalShortcuts.h"
#include "platform/KeyMonitor.h"
#include "platform/KeySender.h"
#include "platform/LoginItem.h"
#include "platform/Workspace.h"

#include <memory>

/// The operating system as Tembrel sees it; one implementation per platform and a fake for tests.
struct PlatformServices
{
    std::unique_ptr<GlobalShortcuts> shortcuts;
    std::unique_ptr<KeySender> keySender;
    std::unique_ptr<AccessibilityTrust> trust;
    std::unique_ptr<Workspace> workspace;
    std::unique_ptr<KeyMonitor> keyMonitor;
    std::unique_ptr<LoginItem> loginItem;
};

/// Defined once per backend. Call after the QGuiApplication exists.
std::unique_ptr<PlatformServices> createPlatformServices();
