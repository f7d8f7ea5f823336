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

std::unique_ptr<PlatformServices> createFakePlatformServices(FakePlatform* handles)
{
    auto services = std::make_unique<PlatformServices>();
    auto shortcuts = std::make_unique<FakeGlobalShortcuts>();
    auto keySender = std::make_unique<FakeKeySender>();
    auto trust = std::make_unique<FakeAccessibilityTrust>();
    auto workspace = std::make_unique<FakeWorkspace>();
    if (handles)
        *handles = {shortcuts.get(), keySender.get(), trust.get(), workspace.get()};
    services->shortcuts = std::move(shortcuts);
    services->keySender = std::move(keySender);
    services->trust = std::move(trust);
    services->workspace = std::move(workspace);
    return services;
}

std::unique_ptr<PlatformServices> createPlatformServices()
{
    return createFakePlatformServices(nullptr);
}
