#pragma once
#include <QString>
#include <QtGlobal>
#include <functional>

/// Registers system-wide shortcuts with the window system and reports their presses.
class GlobalShortcuts
{
public:
    enum class RegistrationError { none, alreadyTaken, unknownKey, unavailable };

    virtual ~GlobalShortcuts() = default;
    /// Registers `id` for a key given as a macOS virtual key code with AppKit modifier bits.
    virtual RegistrationError registerShortcut(quint32 id, quint16 keyCode, quint64 modifierFlags) = 0;
    virtual void unregisterShortcut(quint32 id) = 0;
    /// Called on the UI thread with the id of a pressed shortcut (key repeat is not a press).
    virtual void setPressHandler(std::function<void(quint32 id)> handler) = 0;
};
