#pragma once
#include "platform/AccessibilityTrust.h"
#include "platform/GlobalShortcuts.h"
#include "platform/KeyMonitor.h"
#include "platform/SessionInfo.h"

class KeySender;
class SystemClipboard;

/// On a wlroots compositor Tembrel needs no permission: it is trusted where the compositor offers
/// both the virtual keyboard and data-control, and the reason names the one missing.
class WaylandAccessibilityTrust : public AccessibilityTrust
{
public:
    WaylandAccessibilityTrust(const KeySender* keySender, const SystemClipboard* clipboard, SessionInfo session)
        : m_keySender(keySender), m_clipboard(clipboard), m_session(std::move(session))
    {
    }
    [[nodiscard]] bool isTrusted() const override;
    void requestTrust() override {}
    [[nodiscard]] QString untrustedReason() const override;
    [[nodiscard]] QString sessionNote() const override;

private:
    const KeySender* m_keySender;
    const SystemClipboard* m_clipboard;
    SessionInfo m_session;
};

/// Wayland compositors keep global shortcuts to themselves: each mode is bound in the compositor's
/// configuration to `tembrel --fix MODE`, and registering here reports that.
class WaylandGlobalShortcuts : public GlobalShortcuts
{
public:
    explicit WaylandGlobalShortcuts(SessionInfo session) : m_session(std::move(session)) {}
    RegistrationError registerShortcut(quint32 id, quint16 keyCode, quint64 modifierFlags) override;
    void unregisterShortcut(quint32) override {}
    void setPressHandler(std::function<void(quint32 id)>) override {}

private:
    SessionInfo m_session;
    bool m_told = false;
};

/// No Wayland compositor lets a client watch keys pressed in other applications.
class WaylandKeyMonitor : public KeyMonitor
{
public:
    bool start(std::function<void(Key key)>) override { return false; }
    void stop() override {}
    [[nodiscard]] bool isActive() const override { return false; }
};
