#include "platform/wayland/WaylandKeySender.h"

#include "core/Logging.h"
#include "platform/wayland/WaylandConnection.h"

#include "virtual-keyboard-unstable-v1-client-protocol.h"

#include <QDateTime>
#include <cstdlib>
#include <cstring>
#include <linux/input-event-codes.h>
#include <sys/mman.h>
#include <unistd.h>
#include <wayland-client.h>
#include <xkbcommon/xkbcommon.h>

namespace {

constexpr quint32 pressed = WL_KEYBOARD_KEY_STATE_PRESSED;
constexpr quint32 released = WL_KEYBOARD_KEY_STATE_RELEASED;

quint32 now()
{
    return quint32(QDateTime::currentMSecsSinceEpoch() & 0xffffffff);
}

} // namespace

WaylandKeySender::WaylandKeySender(WaylandConnection& connection)
    : m_connection(connection)
{
    if (!connection.virtualKeyboard() || !connection.seat())
        return;
    // The compositor needs a keymap before any key: the user's layout (from the XKB_DEFAULT_*
    // variables where set), so that the key named C is the one applications read as "c".
    xkb_context* context = xkb_context_new(XKB_CONTEXT_NO_FLAGS);
    xkb_keymap* keymap = context ? xkb_keymap_new_from_names(context, nullptr, XKB_KEYMAP_COMPILE_NO_FLAGS) : nullptr;
    char* text = keymap ? xkb_keymap_get_as_string(keymap, XKB_KEYMAP_FORMAT_TEXT_V1) : nullptr;
    const int fd = text ? memfd_create("tembrel-keymap", MFD_CLOEXEC) : -1;
    const size_t size = text ? strlen(text) + 1 : 0;
    if (fd >= 0 && ::write(fd, text, size) == ssize_t(size)) {
        m_controlMask = 1u << xkb_keymap_mod_get_index(keymap, XKB_MOD_NAME_CTRL);
        m_shiftMask = 1u << xkb_keymap_mod_get_index(keymap, XKB_MOD_NAME_SHIFT);
        m_keyboard = zwp_virtual_keyboard_manager_v1_create_virtual_keyboard(connection.virtualKeyboard(),
                                                                           connection.seat());
        zwp_virtual_keyboard_v1_keymap(m_keyboard, WL_KEYBOARD_KEYMAP_FORMAT_XKB_V1, fd, quint32(size));
        if (!connection.roundtrip()) {
            qCWarning(lcPlatform) << "The compositor refused Tembrel a virtual keyboard";
            m_keyboard = nullptr;
        }
    } else {
        qCWarning(lcPlatform) << "No keyboard map for the virtual keyboard; Tembrel can't send the copy shortcut";
    }
    if (fd >= 0)
        ::close(fd);
    free(text);
    xkb_keymap_unref(keymap);
    xkb_context_unref(context);
}

WaylandKeySender::~WaylandKeySender()
{
    if (m_keyboard) {
        zwp_virtual_keyboard_v1_destroy(m_keyboard);
        m_connection.flush();
    }
}

QCoro::Task<bool> WaylandKeySender::sendCopy()
{
    co_return sendChord(false);
}

QCoro::Task<bool> WaylandKeySender::sendTerminalCopy()
{
    co_return sendChord(true);
}

bool WaylandKeySender::sendChord(bool withShift)
{
    if (!m_keyboard)
        return false;
    const quint32 modifiers = m_controlMask | (withShift ? m_shiftMask : 0);
    // Evdev key codes: the compositor adds the offset of 8 that XKB uses.
    zwp_virtual_keyboard_v1_key(m_keyboard, now(), KEY_LEFTCTRL, pressed);
    if (withShift)
        zwp_virtual_keyboard_v1_key(m_keyboard, now(), KEY_LEFTSHIFT, pressed);
    zwp_virtual_keyboard_v1_modifiers(m_keyboard, modifiers, 0, 0, 0);
    zwp_virtual_keyboard_v1_key(m_keyboard, now(), KEY_C, pressed);
    zwp_virtual_keyboard_v1_key(m_keyboard, now(), KEY_C, released);
    if (withShift)
        zwp_virtual_keyboard_v1_key(m_keyboard, now(), KEY_LEFTSHIFT, released);
    zwp_virtual_keyboard_v1_key(m_keyboard, now(), KEY_LEFTCTRL, released);
    zwp_virtual_keyboard_v1_modifiers(m_keyboard, 0, 0, 0, 0);
    return m_connection.roundtrip();
}
