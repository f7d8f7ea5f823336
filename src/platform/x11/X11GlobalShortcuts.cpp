#include "platform/x11/X11GlobalShortcuts.h"

#include "core/Logging.h"
#include "platform/x11/MacKeyTable.h"
#include "platform/x11/X11Display.h"

#include <QCoreApplication>
#include <QTimer>

#include <xcb/xcb.h>
#include <X11/XKBlib.h>
#include <X11/Xlib.h>
#include <X11/keysym.h>

namespace {

quint16 findNumLockMask(Display* display)
{
    const KeyCode numLock = XKeysymToKeycode(display, XK_Num_Lock);
    XModifierKeymap* map = XGetModifierMapping(display);
    if (!map)
        return 0;
    quint16 mask = 0;
    for (int modifier = 0; modifier < 8 && numLock != 0; ++modifier) {
        for (int k = 0; k < map->max_keypermod; ++k) {
            if (map->modifiermap[modifier * map->max_keypermod + k] == numLock)
                mask = quint16(1 << modifier);
        }
    }
    XFreeModifiermap(map);
    return mask;
}

constexpr quint16 relevantModifiers = ShiftMask | ControlMask | Mod1Mask | Mod4Mask;

} // namespace

X11GlobalShortcuts::X11GlobalShortcuts()
{
    if (Display* display = X11Display::display()) {
        m_numLockMask = findNumLockMask(display);
        // Without this, a held shortcut repeats as release/press pairs and every repeat would
        // look like a new press.
        Bool supported = False;
        XkbSetDetectableAutoRepeat(display, True, &supported);
    }
    QCoreApplication::instance()->installNativeEventFilter(this);
}

X11GlobalShortcuts::~X11GlobalShortcuts()
{
    if (QCoreApplication::instance())
        QCoreApplication::instance()->removeNativeEventFilter(this);
    for (const Grab& grab : std::as_const(m_grabs))
        ungrab(grab);
}

QList<quint16> X11GlobalShortcuts::lockVariants() const
{
    // A passive grab matches the modifier state exactly, so NumLock and CapsLock each need their
    // own copy of the grab.
    QList<quint16> variants{0, LockMask};
    if (m_numLockMask) {
        variants << m_numLockMask << quint16(m_numLockMask | LockMask);
    }
    return variants;
}

GlobalShortcuts::RegistrationError X11GlobalShortcuts::registerShortcut(quint32 id, quint16 keyCode,
                                                                        quint64 modifierFlags)
{
    Display* display = X11Display::display();
    xcb_connection_t* connection = X11Display::connection();
    if (!display || !connection)
        return RegistrationError::unavailable;
    const quint32 keysym = MacKeyTable::keysymForMacKeyCode(keyCode);
    const KeyCode keycode = keysym ? XKeysymToKeycode(display, keysym) : 0;
    if (keycode == 0)
        return RegistrationError::unknownKey;

    const Grab grab{quint8(keycode), MacKeyTable::x11ModifiersForAppKit(modifierFlags)};
    // The server lets a client grab the same key twice; a second mode on one shortcut must fail
    // like a shortcut another application owns.
    for (const Grab& other : std::as_const(m_grabs)) {
        if (other.keycode == grab.keycode && other.modifiers == grab.modifiers)
            return RegistrationError::alreadyTaken;
    }
    QList<xcb_void_cookie_t> cookies;
    for (quint16 lock : lockVariants()) {
        // owner_events off: while the grab is active every key event, the release included, comes
        // to the root window, even when one of Tembrel's own windows has the focus.
        cookies << xcb_grab_key_checked(connection, 0, X11Display::rootWindow(), grab.modifiers | lock, grab.keycode,
                                        XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC);
    }
    bool taken = false;
    for (const xcb_void_cookie_t& cookie : cookies) {
        if (xcb_generic_error_t* error = xcb_request_check(connection, cookie)) {
            taken = true;
            free(error);
        }
    }
    if (taken) {
        ungrab(grab);
        return RegistrationError::alreadyTaken;
    }
    m_grabs.insert(id, grab);
    return RegistrationError::none;
}

void X11GlobalShortcuts::unregisterShortcut(quint32 id)
{
    const auto it = m_grabs.constFind(id);
    if (it == m_grabs.constEnd())
        return;
    const Grab grab = *it;
    m_grabs.erase(it);
    ungrab(grab);
}

void X11GlobalShortcuts::ungrab(const Grab& grab)
{
    xcb_connection_t* connection = X11Display::connection();
    if (!connection)
        return;
    for (quint16 lock : lockVariants())
        xcb_ungrab_key(connection, grab.keycode, X11Display::rootWindow(), grab.modifiers | lock);
    xcb_flush(connection);
}

void X11GlobalShortcuts::releaseKeyboardGrab()
{
    if (xcb_connection_t* connection = X11Display::connection()) {
        xcb_ungrab_keyboard(connection, XCB_CURRENT_TIME);
        xcb_flush(connection);
    }
    if (m_heldKeycode) {
        m_abandonedKeycode = m_heldKeycode;
        m_heldKeycode = 0;
        watchAbandonedKey();
        Q_EMIT grabbedKeyReleased();
    }
}

void X11GlobalShortcuts::watchAbandonedKey()
{
    if (!m_abandonedKeyPoll) {
        m_abandonedKeyPoll = new QTimer(this);
        m_abandonedKeyPoll->setInterval(50);
        connect(m_abandonedKeyPoll, &QTimer::timeout, this, [this] {
            xcb_connection_t* connection = X11Display::connection();
            bool down = false;
            if (connection) {
                xcb_query_keymap_reply_t* reply =
                    xcb_query_keymap_reply(connection, xcb_query_keymap(connection), nullptr);
                if (reply) {
                    down = reply->keys[m_abandonedKeycode / 8] & (1 << (m_abandonedKeycode % 8));
                    free(reply);
                }
            }
            if (!down) {
                m_abandonedKeycode = 0;
                m_abandonedKeyPoll->stop();
            }
        });
    }
    m_abandonedKeyPoll->start();
}

bool X11GlobalShortcuts::nativeEventFilter(const QByteArray& eventType, void* message, qintptr*)
{
    if (eventType != "xcb_generic_event_t")
        return false;
    auto* event = static_cast<xcb_generic_event_t*>(message);
    const quint8 type = event->response_type & 0x7f;
    if (type != XCB_KEY_PRESS && type != XCB_KEY_RELEASE)
        return false;
    auto* key = reinterpret_cast<xcb_key_press_event_t*>(event);
    if (key->event != X11Display::rootWindow())
        return false;

    if (type == XCB_KEY_RELEASE) {
        if (key->detail == m_heldKeycode) {
            m_heldKeycode = 0;
            Q_EMIT grabbedKeyReleased();
        }
        return true;
    }

    if (key->detail == m_abandonedKeycode) {
        // An autorepeat press sent while the grab was still active, or one that re-activated it:
        // the user never let go, so this is not a second fix.
        if (xcb_connection_t* connection = X11Display::connection()) {
            xcb_ungrab_keyboard(connection, XCB_CURRENT_TIME);
            xcb_flush(connection);
        }
        return true;
    }

    const quint16 modifiers = key->state & relevantModifiers;
    for (auto it = m_grabs.cbegin(); it != m_grabs.cend(); ++it) {
        if (it->keycode != key->detail || it->modifiers != modifiers)
            continue;
        if (m_heldKeycode == key->detail)
            return true; // key repeat while held
        m_heldKeycode = key->detail;
        const quint32 id = it.key();
        // Delivered from the event loop, not from inside the filter, so the handler may grab,
        // ungrab or spin the loop freely.
        QTimer::singleShot(0, this, [this, id] {
            if (m_onPress)
                m_onPress(id);
        });
        return true;
    }
    return false;
}
