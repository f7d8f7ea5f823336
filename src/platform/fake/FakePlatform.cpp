#include "platform/fake/FakePlatform.h"

GlobalShortcuts::RegistrationError FakeGlobalShortcuts::registerShortcut(quint32 id, quint16 keyCode,
                                                                         quint64 modifierFlags)
{
    if (takenElsewhere.contains(qMakePair(keyCode, modifierFlags)))
        return RegistrationError::alreadyTaken;
    for (const Registration& r : std::as_const(registrations)) {
        if (r.keyCode == keyCode && r.modifierFlags == modifierFlags)
            return RegistrationError::alreadyTaken;
    }
    registrations.insert(id, {keyCode, modifierFlags});
    return RegistrationError::none;
}

void FakeGlobalShortcuts::unregisterShortcut(quint32 id)
{
    registrations.remove(id);
}

void FakeGlobalShortcuts::press(quint32 id) const
{
    if (m_onPress)
        m_onPress(id);
}

QCoro::Task<bool> FakeKeySender::sendCopy()
{
    if (!available)
        co_return false;
    ++copiesSent;
    if (onCopy)
        onCopy();
    co_return true;
}

QCoro::Task<bool> FakeKeySender::sendTerminalCopy()
{
    if (!available)
        co_return false;
    ++terminalCopiesSent;
    if (onCopy)
        onCopy();
    co_return true;
}

bool FakeKeyMonitor::start(std::function<void(Key)> handler)
{
    m_handler = std::move(handler);
    return true;
}

void FakeKeyMonitor::press(Key key) const
{
    if (m_handler)
        m_handler(key);
}

bool FakeLoginItem::setEnabled(bool enabled)
{
    if (refuse) {
        error = QStringLiteral("Refused in this test.");
        return false;
    }
    currentStatus = enabled ? Status::enabled : Status::notRegistered;
    return true;
}

std::unique_ptr<PlatformServices> createFakePlatformServices(FakePlatform* handles)
{
    auto services = std::make_unique<PlatformServices>();
    auto shortcuts = std::make_unique<FakeGlobalShortcuts>();
    auto keySender = std::make_unique<FakeKeySender>();
    auto trust = std::make_unique<FakeAccessibilityTrust>();
    auto workspace = std::make_unique<FakeWorkspace>();
    auto keyMonitor = std::make_unique<FakeKeyMonitor>();
    auto loginItem = std::make_unique<FakeLoginItem>();
    if (handles)
        *handles = {shortcuts.get(), keySender.get(), trust.get(), workspace.get(), keyMonitor.get(), loginItem.get()};
    services->shortcuts = std::move(shortcuts);
    services->keySender = std::move(keySender);
    services->trust = std::move(trust);
    services->workspace = std::move(workspace);
    services->keyMonitor = std::move(keyMonitor);
    services->loginItem = std::move(loginItem);
    return services;
}

std::unique_ptr<PlatformServices> createPlatformServices()
{
    return createFakePlatformServices(nullptr);
}
