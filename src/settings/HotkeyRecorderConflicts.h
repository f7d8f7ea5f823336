#pragma once
#include "modes/Hotkey.h"

#include <QString>
#include <optional>

/// Why a recorded shortcut may not work: another mode owns it, the system or the desktop does,
/// another application holds it, or many applications use it for their own commands.
namespace HotkeyRecorderConflicts {

/// A shortcut the desktop binds itself, with the desktop's own words for it.
struct DesktopUse
{
    QString desktop; // "GNOME", "KDE", "Xfce", "Cinnamon"
    QString action;  // "Switch to workspace 1"
};

/// What is known about a shortcut beyond the catalogue.
struct Findings
{
    std::optional<QString> otherModeName;
    std::optional<DesktopUse> desktopUse;
    bool heldByAnotherApplication = false;
};

/// Whether the system keeps the shortcut for itself (key code and modifier bits both equal).
[[nodiscard]] bool isReserved(const Hotkey& hotkey);
/// The name of a reserved shortcut as the warning says it ("Switch Windows"), if it has one.
[[nodiscard]] std::optional<QString> systemName(const Hotkey& hotkey);
/// What many applications do with the shortcut ("Save As"), if it is one of their standard ones.
[[nodiscard]] std::optional<QString> applicationStandardName(const Hotkey& hotkey);
/// The warning under the recorder, first match wins: another mode, the system, the desktop's own
/// binding, another application's grab, then the softer application-standard warning. Empty when
/// there is nothing to warn about.
[[nodiscard]] QString message(const Hotkey& hotkey, const Findings& findings);
[[nodiscard]] inline QString message(const Hotkey& hotkey, const std::optional<QString>& otherModeName)
{
    return message(hotkey, Findings{otherModeName, std::nullopt, false});
}
/// Whether the shortcut is a chord Tembrel sends itself or that every application needs: copy,
/// cut, paste, undo, select all, and the terminal's copy. Such a shortcut is never saved.
[[nodiscard]] bool isSentByTembrel(const Hotkey& hotkey);
/// Why such a shortcut was not saved.
[[nodiscard]] QString refusal(const Hotkey& hotkey);
} // namespace HotkeyRecorderConflicts
