#pragma once
#include "platform/KeySender.h"

#include <QList>

class X11GlobalShortcuts;
typedef struct _XDisplay Display;

/// Sends Ctrl+C (Ctrl+Shift+C for terminals) through the XTest extension. The shortcut that
/// started the fix is still held when a fix starts: its key keeps the keyboard grabbed by Tembrel
/// and its modifiers would turn Ctrl+C into something else (Ctrl+Shift+C opens a browser's
/// inspector). So it waits for the key's release, lets go of the modifiers the user still holds,
/// sends exactly the copy chord and then holds those modifiers again, so that the server's
/// keyboard matches the user's fingers and the next chord (Ctrl+V) does what it says.
class X11KeySender : public KeySender
{
public:
    explicit X11KeySender(X11GlobalShortcuts* shortcuts);

    [[nodiscard]] bool isAvailable() const override;
    QCoro::Task<bool> sendCopy() override;
    QCoro::Task<bool> sendTerminalCopy() override;

private:
    QCoro::Task<bool> sendChord(bool withShift);
    QCoro::Task<> waitForShortcutRelease();

    X11GlobalShortcuts* m_shortcuts;
};
