#include "platform/x11/X11Workspace.h"

#include "platform/x11/X11Display.h"

#include <QByteArray>
#include <QStringList>

#include <xcb/xcb.h>
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

// WM_CLASS (instance, class) of the window or of its nearest ancestor that has one.
QStringList classOf(Display* display, Window window)
{
    for (int depth = 0; window != None && window != PointerRoot && depth < 32; ++depth) {
        XClassHint hint{};
        if (XGetClassHint(display, window, &hint)) {
            QStringList names;
            for (char* name : {hint.res_name, hint.res_class}) {
                if (name) {
                    names << QString::fromLocal8Bit(name);
                    XFree(name);
                }
            }
            names.removeAll(QString());
            if (!names.isEmpty())
                return names;
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
    // The class names the application ("XTerm"); the instance is the fallback.
    const QStringList names = classOf(display, activeWindow(display));
    return names.isEmpty() ? QString() : names.last();
}

QStringList X11Workspace::frontmostApplicationIds() const
{
    Display* display = X11Display::display();
    return display ? classOf(display, activeWindow(display)) : QStringList();
}

bool X11Workspace::frontmostApplicationOwnsPrimarySelection() const
{
    Display* display = X11Display::display();
    xcb_connection_t* connection = X11Display::connection();
    if (!display || !connection)
        return false;
    const Window owner = XGetSelectionOwner(display, XA_PRIMARY);
    const Window focus = activeWindow(display);
    if (owner == None || focus == None || focus == PointerRoot)
        return false;
    // Toolkits own selections with windows of their own (GTK with a hidden one), so the owner is
    // compared by client: the server gives each client one range of ids, the same size for all.
    const quint32 clientBits = ~xcb_get_setup(connection)->resource_id_mask;
    return (owner & clientBits) == (focus & clientBits);
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
