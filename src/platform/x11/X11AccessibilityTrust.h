#pragma once
#include "platform/AccessibilityTrust.h"

class KeySender;

/// X11 asks for no permission to send keys: Tembrel is trusted wherever synthetic input works.
/// On a Wayland session it does not, and the reason says so.
class X11AccessibilityTrust : public AccessibilityTrust
{
public:
    explicit X11AccessibilityTrust(const KeySender* keySender) : m_keySender(keySender) {}

    [[nodiscard]] bool isTrusted() const override;
    void requestTrust() override {}
    [[nodiscard]] QString untrustedReason() const override;

private:
    const KeySender* m_keySender;
};
