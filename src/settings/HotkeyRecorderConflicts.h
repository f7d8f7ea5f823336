#pragma once
#include "modes/Hotkey.h"

#include <QString>
#include <optional>

/// Why a recorded shortcut may not work: another mode owns it, or the system does.
namespace HotkeyRecorderConflicts {
/// Whether the shortcut is one of the 21 the system keeps for itself (key code and modifier bits
/// both equal).
[[nodiscard]] bool isReserved(const Hotkey& hotkey);
/// The name of a reserved shortcut as the warning says it ("Screenshot Selection"), if it has one.
[[nodiscard]] std::optional<QString> systemName(const Hotkey& hotkey);
/// The warning under the recorder, first match wins: "Used by " + the other mode's name, then the
/// system's shortcuts. Empty when there is nothing to warn about.
[[nodiscard]] QString message(const Hotkey& hotkey, const std::optional<QString>& otherModeName);
/// Whether the shortcut is a chord Tembrel sends itself or that every application needs: copy,
/// cut, paste, undo, select all, and the terminal's copy. Such a shortcut is never saved.
[[nodiscard]] bool isSentByTembrel(const Hotkey& hotkey);
/// Why such a shortcut was not saved.
[[nodiscard]] QString refusal(const Hotkey& hotkey);
} // namespace HotkeyRecorderConflicts
