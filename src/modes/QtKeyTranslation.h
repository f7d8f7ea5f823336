#pragma once
#include <QtCore/qnamespace.h>
#include <optional>

/// Qt key events in the stored form of shortcuts: macOS virtual key codes and AppKit modifier
/// bits. Qt's key codes are the same on every platform, so this needs no platform layer.
namespace QtKeyTranslation {
/// The macOS key code of a Qt key; shifted symbols of a US layout ("$") give their key ("4").
/// Keypad keys need `keypad`. Nothing for a key a Mac keyboard has no code for.
[[nodiscard]] std::optional<quint32> macKeyCode(int qtKey, bool keypad = false);
/// AppKit bits of Qt modifiers: Ctrl → Command, Meta → Control, Alt → Option, Shift → Shift.
[[nodiscard]] quint64 appKitModifiers(Qt::KeyboardModifiers modifiers);
/// The Qt modifier a modifier key stands for (Key_Shift → ShiftModifier), or none for other keys.
[[nodiscard]] Qt::KeyboardModifiers modifierOfKey(int qtKey);
} // namespace QtKeyTranslation
