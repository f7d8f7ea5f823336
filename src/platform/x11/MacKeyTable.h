#pragma once
#include <QtGlobal>

/// Stored shortcuts use macOS virtual key codes and AppKit modifier bits, so a mode catalogue
/// means the same on every platform. These translate them to X11.
namespace MacKeyTable {
/// The X keysym of a macOS virtual key code; 0 for a key a PC keyboard does not have.
[[nodiscard]] quint32 keysymForMacKeyCode(quint16 keyCode);
/// The macOS virtual key code of an X keysym; -1 when none.
[[nodiscard]] int macKeyCodeForKeysym(quint32 keysym);
/// X modifier mask of AppKit modifier bits: Command → Control, Control → Super (Mod4),
/// Option → Alt (Mod1), Shift → Shift. Other bits are ignored.
[[nodiscard]] quint16 x11ModifiersForAppKit(quint64 modifierFlags);
} // namespace MacKeyTable
