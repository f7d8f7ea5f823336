#pragma once
#include <QList>
#include <array>

typedef struct _XDisplay Display;

/// The keys held down on the X server, seen three ways: by applications (the core keyboard), on
/// the user's own keyboards, and on the XTest keyboard that synthetic key events come from.
/// A synthetic release lets go of a key for applications while the user's keyboard still holds
/// it; the keyboards' own states tell what the user's fingers really do.
struct X11Keyboards
{
    using Keymap = std::array<char, 32>;

    Keymap core{};
    Keymap physical{};
    Keymap xtest{};
    /// False when the server could not tell the keyboards apart: then all there is is `core`,
    /// which also stands in for `xtest`.
    bool devicesKnown = false;

    [[nodiscard]] static X11Keyboards query(Display* display);
    [[nodiscard]] static bool isDown(const Keymap& keys, unsigned char keycode);
    /// The keycodes bound to Shift, Control, Alt, Super and AltGr.
    [[nodiscard]] static QList<unsigned char> modifierKeycodes(Display* display);
};
