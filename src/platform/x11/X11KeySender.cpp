#include "platform/x11/X11KeySender.h"

#include "core/Logging.h"
#include "platform/x11/X11Display.h"
#include "platform/x11/X11GlobalShortcuts.h"
#include "platform/x11/X11Keyboards.h"

#include <QCoro/QCoroSignal>

#include <X11/Xlib.h>
#include <X11/extensions/XTest.h>
#include <X11/keysym.h>

namespace {
// How long a shortcut's key may stay held before the grab is given up. Long enough for a normal
// press, short enough that a key resting on the keyboard does not stall the fix.
constexpr std::chrono::milliseconds releaseWait{600};

// Lets go of the modifiers held for applications, and of any the XTest keyboard still holds from
// an earlier restore that the user has since let go (the server drops a synthetic press of a
// modifier that keyboard already holds: Ctrl+C would arrive as a bare "c"). Returns the modifiers
// the user holds through XTest itself (a remote desktop, a test): their keyboard state is gone
// after the release, so what was held before counts as still held.
QList<KeyCode> releaseModifiers(Display* display, const QList<KeyCode>& modifiers)
{
    const X11Keyboards before = X11Keyboards::query(display);
    QList<KeyCode> heldThroughXTest;
    for (KeyCode keycode : modifiers) {
        const bool forApplications = X11Keyboards::isDown(before.core, keycode);
        if (forApplications || X11Keyboards::isDown(before.xtest, keycode))
            XTestFakeKeyEvent(display, keycode, False, CurrentTime);
        if (forApplications && X11Keyboards::isDown(before.xtest, keycode)
            && !X11Keyboards::isDown(before.physical, keycode))
            heldThroughXTest << keycode;
    }
    return heldThroughXTest;
}

// Presses again, for applications, the modifiers the user still holds.
void holdModifiersAgain(Display* display, const QList<KeyCode>& modifiers, const QList<KeyCode>& heldThroughXTest)
{
    const X11Keyboards now = X11Keyboards::query(display);
    for (KeyCode keycode : modifiers) {
        const bool held = X11Keyboards::isDown(now.physical, keycode) || heldThroughXTest.contains(keycode);
        if (held && !X11Keyboards::isDown(now.core, keycode))
            XTestFakeKeyEvent(display, keycode, True, CurrentTime);
    }
}

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
    return sendChord(false);
}

QCoro::Task<bool> X11KeySender::sendTerminalCopy()
{
    return sendChord(true);
}

QCoro::Task<> X11KeySender::waitForShortcutRelease()
{
    if (!m_shortcuts || !m_shortcuts->isGrabbedKeyHeld())
        co_return;
    const auto released = co_await qCoro(m_shortcuts, &X11GlobalShortcuts::grabbedKeyReleased, releaseWait);
    if (released)
        co_return;
    qCInfo(lcPlatform) << "Shortcut key still held; giving up the keyboard grab";
    // Released for the server, so it stops repeating: a repeat with the modifiers down would grab
    // the keyboard again under the copy chord. It is not pressed again afterwards.
    if (Display* display = X11Display::display()) {
        XTestFakeKeyEvent(display, m_shortcuts->heldKeycode(), False, CurrentTime);
        XFlush(display);
    }
    m_shortcuts->releaseKeyboardGrab();
}

QCoro::Task<bool> X11KeySender::sendChord(bool withShift)
{
    co_await waitForShortcutRelease();
    Display* display = X11Display::display();
    if (!display || !isAvailable())
        co_return false;
    const KeyCode control = XKeysymToKeycode(display, XK_Control_L);
    const KeyCode shift = XKeysymToKeycode(display, XK_Shift_L);
    const KeyCode c = XKeysymToKeycode(display, XK_c);
    if (control == 0 || c == 0 || (withShift && shift == 0))
        co_return false;

    const QList<KeyCode> modifiers = X11Keyboards::modifierKeycodes(display);
    const QList<KeyCode> heldThroughXTest = releaseModifiers(display, modifiers);
    QList<KeyCode> chord{control};
    if (withShift)
        chord << shift;
    chord << c;
    for (KeyCode keycode : std::as_const(chord))
        XTestFakeKeyEvent(display, keycode, True, CurrentTime);
    for (auto it = chord.crbegin(); it != chord.crend(); ++it)
        XTestFakeKeyEvent(display, *it, False, CurrentTime);
    holdModifiersAgain(display, modifiers, heldThroughXTest);
    XFlush(display);
    co_return true;
}
