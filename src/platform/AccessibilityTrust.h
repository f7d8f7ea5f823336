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
    /// What works in this session and what to do about the rest, shown even when trusted (e.g.
    /// only X11 applications on a GNOME Wayland session); empty where everything works.
    [[nodiscard]] virtual QString sessionNote() const { return {}; }
};
