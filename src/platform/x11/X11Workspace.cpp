#include "platform/x11/X11Workspace.h"

#include "platform/x11/X11Display.h"

#include <QByteArray>
#include <QStringList>

#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <X11/Xutil.h>

namespace {

Window activeWindow(Display* display)
{
    // A window manager names the active window; without one, the input focus is all there is.
    const Atom active = XInternAtom(display, "_NET_ACTIVE_WINDOW", True);
    if (active != None) {
        Atom type = None;
        int format = 0;
        unsigned long count = 0, remaining = 0;
        unsigned char* data = nullptr;
        if (XGetWindowProperty(display, DefaultRootWindow(display), active, 0, 1, False, XA_WINDOW, &type, &format,
                               &count, &remaining, &data)
                == Success
            && data) {
            const Window window = count == 1 ? *reinterpret_cast<Window*>(data) : None;
            XFree(data);
            if (window != None)
                return window;
        }
    }
    Window focus = None;
    int revert = 0;
    XGetInputFocus(display, &focus, &revert);
    return focus;
}

// The application's name from WM_CLASS of the window or its nearest ancestor that has one.
QString applicationNameOf(Display* display, Window window)
{
    for (int depth = 0; window != None && window != PointerRoot && depth < 32; ++depth) {
        XClassHint hint{};
        if (XGetClassHint(display, window, &hint)) {
            const QString name = QString::fromLocal8Bit(hint.res_class ? hint.res_class : hint.res_name);
            if (hint.res_name)
                XFree(hint.res_name);
            if (hint.res_class)
                XFree(hint.res_class);
            if (!name.isEmpty())
                return name;
        }
        Window root = None, parent = None;
        Window* children = nullptr;
        unsigned int childCount = 0;
        if (!XQueryTree(display, window, &root, &parent, &children, &childCount))
            break;
        if (children)
            XFree(children);
        if (parent == root)
            break;
        window = parent;
    }
    return {};
}

} // namespace

QString X11Workspace::frontmostApplicationName() const
{
    Display* display = X11Display::display();
    if (!display)
        return {};
    return applicationNameOf(display, activeWindow(display));
}

bool X11Workspace::hasCompositor() const
{
    Display* display = X11Display::display();
    if (!display)
        return false;
    const QByteArray name = "_NET_WM_CM_S" + QByteArray::number(DefaultScreen(display));
    const Atom selection = XInternAtom(display, name.constData(), False);
    return XGetSelectionOwner(display, selection) != None;
}
