#pragma once
#include <QCoro/QCoroTask>

/// Makes the focused window of another application copy its selection.
class KeySender
{
public:
    virtual ~KeySender() = default;
    /// Whether synthetic key events can reach other applications in this session.
    [[nodiscard]] virtual bool isAvailable() const = 0;
    /// Sends exactly the system's copy shortcut to the focused window, once the keys of the
    /// shortcut that triggered the fix are out of the way. Keys the user still holds are held
    /// again afterwards. False when nothing could be sent.
    virtual QCoro::Task<bool> sendCopy() = 0;
    /// Like sendCopy(), with the copy shortcut of terminal emulators, where the usual one would
    /// interrupt the running program. False where the platform has no such shortcut.
    virtual QCoro::Task<bool> sendTerminalCopy() { co_return false; }
};
