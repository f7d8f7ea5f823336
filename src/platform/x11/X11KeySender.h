#pragma once
#include "platform/KeySender.h"

class X11GlobalShortcuts;

/// Sends Ctrl+C through the XTest extension. The shortcut that started the fix is still held
/// when a fix starts: its key keeps the keyboard grabbed by Tembrel and its modifiers would turn
/// Ctrl+C into something else (Ctrl+Shift+C opens a browser's inspector). So it waits for the
/// key's release, then releases the modifiers the user still holds, then sends exactly Ctrl+C.
class X11KeySender : public KeySender
{
public:
    explicit X11KeySender(X11GlobalShortcuts* shortcuts);

    [[nodiscard]] bool isAvailable() const override;
    QCoro::Task<bool> sendCopy() override;

private:
    void releaseHeldModifiers();

    X11GlobalShortcuts* m_shortcuts;
};
