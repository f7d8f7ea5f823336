#include "platform/x11/X11KeySender.h"

#include "core/Logging.h"
#include "platform/x11/X11Display.h"
#include "platform/x11/X11GlobalShortcuts.h"

#include <QCoro/QCoroSignal>

#include <X11/Xlib.h>
#include <X11/extensions/XTest.h>
#include <X11/keysym.h>

namespace {
// How long a shortcut's key may stay held before the grab is given up. Long enough for a normal
// press, short enough that a key resting on the keyboard does not stall the fix.
constexpr std::chrono::milliseconds releaseWait{600};
} // namespace

X11KeySender::X11KeySender(X11GlobalShortcuts* shortcuts)
    : m_shortcuts(shortcuts)
{
}

bool X11KeySender::isAvailable() const
{
    Display* display = X11Display::display();
    int eventBase = 0, errorBase = 0, major = 0, minor = 0;
    return display && XTestQueryExtension(display, &eventBase, &errorBase, &major, &minor);
}

QCoro::Task<bool> X11KeySender::sendCopy()
{
    if (m_shortcuts && m_shortcuts->isGrabbedKeyHeld()) {
        const auto released = co_await qCoro(m_shortcuts, &X11GlobalShortcuts::grabbedKeyReleased, releaseWait);
        if (!released) {
            qCInfo(lcPlatform) << "Shortcut key still held; giving up the keyboard grab";
            // Released for the server, like the modifiers below, so it stops repeating: a repeat
            // with the modifiers still down would grab the keyboard again under the Ctrl+C.
            if (Display* display = X11Display::display()) {
                XTestFakeKeyEvent(display, m_shortcuts->heldKeycode(), False, CurrentTime);
                XFlush(display);
            }
            m_shortcuts->releaseKeyboardGrab();
        }
    }
    Display* display = X11Display::display();
    if (!display || !isAvailable())
        co_return false;

    releaseHeldModifiers();
    const KeyCode control = XKeysymToKeycode(display, XK_Control_L);
    const KeyCode c = XKeysymToKeycode(display, XK_c);
    if (control == 0 || c == 0)
        co_return false;
    XTestFakeKeyEvent(display, control, True, CurrentTime);
    XTestFakeKeyEvent(display, c, True, CurrentTime);
    XTestFakeKeyEvent(display, c, False, CurrentTime);
    XTestFakeKeyEvent(display, control, False, CurrentTime);
    XFlush(display);
    co_return true;
}

void X11KeySender::releaseHeldModifiers()
{
    // The user's fingers are usually still on Ctrl and Shift. A fake release makes the server see
    // them up; the real release later is then a no-op. They are not pressed again afterwards: the
    // user may have let go meanwhile, and a fake press would leave a modifier stuck.
    Display* display = X11Display::display();
    char keys[32] = {};
    XQueryKeymap(display, keys);
    XModifierKeymap* map = XGetModifierMapping(display);
    if (!map)
        return;
    for (int modifier : {ShiftMapIndex, ControlMapIndex, Mod1MapIndex, Mod4MapIndex, Mod5MapIndex}) {
        for (int k = 0; k < map->max_keypermod; ++k) {
            const KeyCode keycode = map->modifiermap[modifier * map->max_keypermod + k];
            if (keycode != 0 && (keys[keycode / 8] & (1 << (keycode % 8))))
                XTestFakeKeyEvent(display, keycode, False, CurrentTime);
        }
    }
    XFreeModifiermap(map);
    XFlush(display);
}
