#include "platform/x11/X11Display.h"

#include <xcb/xcb.h>
#include <X11/Xlib.h>

namespace {
QNativeInterface::QX11Application* x11App()
{
    return qGuiApp ? qGuiApp->nativeInterface<QNativeInterface::QX11Application>() : nullptr;
}
} // namespace

Display* X11Display::display()
{
    auto* app = x11App();
    return app ? app->display() : nullptr;
}

xcb_connection_t* X11Display::connection()
{
    auto* app = x11App();
    return app ? app->connection() : nullptr;
}

quint32 X11Display::rootWindow()
{
    Display* dpy = display();
    return dpy ? quint32(DefaultRootWindow(dpy)) : 0;
}

bool X11Display::isAvailable()
{
    return display() != nullptr && connection() != nullptr;
}
