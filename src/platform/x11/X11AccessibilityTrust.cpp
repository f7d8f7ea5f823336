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
    if (!X11Display::isAvailable() && !m_session.canSendKeys())
        return m_session.limitation();
    if (!X11Display::isAvailable())
        return QStringLiteral("Tembrel needs an X11 display to copy your selection, but it could not reach one and "
                              "runs on Qt's %1 platform.")
            .arg(QGuiApplication::platformName());
    return QStringLiteral("The X server doesn't offer the XTEST extension, so Tembrel can't copy your selection.");
}

QString X11AccessibilityTrust::sessionNote() const
{
    return isTrusted() ? m_session.limitation() : QString();
}
