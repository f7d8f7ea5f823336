#pragma once
#include <QtGlobal>

// Qt headers must come before X11's: Xlib defines macros (Bool, None, KeyPress) that break Qt.
#include <QGuiApplication>

typedef struct _XDisplay Display;
typedef struct xcb_connection_t xcb_connection_t;

/// Qt's own X11 connection, shared by the platform classes. Events for grabs made on it arrive in
/// Qt's native event filters on the UI thread.
namespace X11Display {
[[nodiscard]] Display* display();
[[nodiscard]] xcb_connection_t* connection();
[[nodiscard]] quint32 rootWindow();
/// True when the application runs on an X server (not on Wayland or offscreen).
[[nodiscard]] bool isAvailable();
} // namespace X11Display
