#include "platform/x11/X11KeyMonitor.h"

#include "core/Logging.h"

#include <QSocketNotifier>

#include <X11/Xlib.h>
#include <X11/extensions/XInput2.h>
#include <X11/keysym.h>

X11KeyMonitor::X11KeyMonitor() = default;

X11KeyMonitor::~X11KeyMonitor()
{
    stop();
}

bool X11KeyMonitor::start(std::function<void(Key)> handler)
{
    stop();
    m_display = XOpenDisplay(nullptr);
    if (!m_display)
        return false;
    int event = 0, error = 0;
    int major = 2, minor = 1;
    if (!XQueryExtension(m_display, "XInputExtension", &m_xiOpcode, &event, &error)
        || XIQueryVersion(m_display, &major, &minor) != Success || (major == 2 && minor < 1)) {
        qCWarning(lcPlatform) << "XInput 2.1 is not available; Escape and Ctrl+V in other applications go unseen";
        stop();
        return false;
    }

    unsigned char bits[XIMaskLen(XI_LASTEVENT)] = {};
    XISetMask(bits, XI_RawKeyPress);
    XISetMask(bits, XI_RawKeyRelease);
    XIEventMask mask{XIAllMasterDevices, int(sizeof(bits)), bits};
    XISelectEvents(m_display, DefaultRootWindow(m_display), &mask, 1);

    m_escapeKeycode = XKeysymToKeycode(m_display, XK_Escape);
    m_vKeycode = XKeysymToKeycode(m_display, XK_v);
    m_controlKeycodes = {XKeysymToKeycode(m_display, XK_Control_L), XKeysymToKeycode(m_display, XK_Control_R)};
    m_controlKeycodes.remove(0);

    // A Control key already held when watching starts still counts for Ctrl+V.
    m_heldControls.clear();
    char keys[32] = {};
    XQueryKeymap(m_display, keys);
    for (int keycode : std::as_const(m_controlKeycodes)) {
        if (keys[keycode / 8] & (1 << (keycode % 8)))
            m_heldControls.insert(keycode);
    }
    XFlush(m_display);

    m_handler = std::move(handler);
    m_notifier = std::make_unique<QSocketNotifier>(ConnectionNumber(m_display), QSocketNotifier::Read);
    connect(m_notifier.get(), &QSocketNotifier::activated, this, &X11KeyMonitor::readEvents);
    return true;
}

void X11KeyMonitor::stop()
{
    m_notifier.reset();
    m_handler = {};
    if (m_display) {
        XCloseDisplay(m_display);
        m_display = nullptr;
    }
}

void X11KeyMonitor::readEvents()
{
    while (m_display && XPending(m_display)) {
        XEvent event;
        XNextEvent(m_display, &event);
        XGenericEventCookie* cookie = &event.xcookie;
        if (cookie->type != GenericEvent || cookie->extension != m_xiOpcode || !XGetEventData(m_display, cookie))
            continue;
        if (cookie->evtype == XI_RawKeyPress || cookie->evtype == XI_RawKeyRelease) {
            const auto* raw = static_cast<const XIRawEvent*>(cookie->data);
            const int keycode = raw->detail;
            const bool pressed = cookie->evtype == XI_RawKeyPress;
            XFreeEventData(m_display, cookie);
            onRawKey(keycode, pressed);
            continue;
        }
        XFreeEventData(m_display, cookie);
    }
}

void X11KeyMonitor::onRawKey(int keycode, bool pressed)
{
    if (m_controlKeycodes.contains(keycode)) {
        if (pressed)
            m_heldControls.insert(keycode);
        else
            m_heldControls.remove(keycode);
        return;
    }
    if (!pressed || !m_handler)
        return;
    // A handler may stop the monitor; keep a copy so the call completes safely.
    const auto handler = m_handler;
    if (keycode == m_escapeKeycode)
        handler(Key::escape);
    else if (keycode == m_vKeycode && !m_heldControls.isEmpty())
        handler(Key::paste);
}
