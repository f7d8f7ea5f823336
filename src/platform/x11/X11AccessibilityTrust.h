#pragma once
#include "platform/AccessibilityTrust.h"
#include "platform/SessionInfo.h"

class KeySender;

/// X11 asks for no permission to send keys: Tembrel is trusted wherever synthetic input works.
/// On a Wayland session it works only through XWayland, for X11 applications, and the texts say so.
class X11AccessibilityTrust : public AccessibilityTrust
{
public:
    X11AccessibilityTrust(const KeySender* keySender, SessionInfo session)
        : m_keySender(keySender), m_session(std::move(session))
    {
    }

    [[nodiscard]] bool isTrusted() const override;
    void requestTrust() override {}
    [[nodiscard]] QString untrustedReason() const override;
    [[nodiscard]] QString sessionNote() const override;

private:
    const KeySender* m_keySender;
    SessionInfo m_session;
};
