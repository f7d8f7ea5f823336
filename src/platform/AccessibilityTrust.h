#pragma once
#include <QString>

/// Whether the system lets Tembrel send key events to other applications.
class AccessibilityTrust
{
public:
    virtual ~AccessibilityTrust() = default;
    [[nodiscard]] virtual bool isTrusted() const = 0;
    /// Asks the system to show its permission prompt, where it has one.
    virtual void requestTrust() = 0;
    /// One line that says why Tembrel is not trusted here; empty when it is.
    [[nodiscard]] virtual QString untrustedReason() const = 0;
};
