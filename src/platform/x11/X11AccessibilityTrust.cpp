#include "platform/x11/X11AccessibilityTrust.h"

#include "platform/KeySender.h"
#include "platform/x11/X11Display.h"

bool X11AccessibilityTrust::isTrusted() const
{
    return X11Display::isAvailable() && m_keySender->isAvailable();
}

QString X11AccessibilityTrust::untrustedReason() const
{
    if (isTrusted())
        return {};
    if (!qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY") && !X11Display::isAvailable())
        return QStringLiteral("This Wayland session doesn't let apps send keystrokes to other windows. "
                              "Log in to an X11 session to use Tembrel.");
    if (!X11Display::isAvailable())
        return QStringLiteral("Tembrel needs an X11 display to copy your selection.");
    return QStringLiteral("The X server doesn't offer the XTEST extension, so Tembrel can't copy your selection.");
}
