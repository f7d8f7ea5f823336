// The idle baseline: the least a tray utility with a global shortcut needs — a QApplication, a
// tray icon with a menu, and one key grabbed on the X server. Nothing else.
#include <QApplication>
#include <QMenu>
#include <QSystemTrayIcon>
#include <QAbstractNativeEventFilter>
#include <QIcon>
#include <QPixmap>
#include <xcb/xcb.h>
#include <cstdio>

namespace {
// Counts presses of the grabbed key, so the grab is a real one that is served.
class KeyFilter : public QAbstractNativeEventFilter
{
public:
    bool nativeEventFilter(const QByteArray& type, void* message, qintptr*) override
    {
        if (type == "xcb_generic_event_t" && (static_cast<xcb_generic_event_t*>(message)->response_type & 0x7f) == XCB_KEY_PRESS)
            std::fprintf(stderr, "shortcut pressed\n");
        return false;
    }
};
} // namespace

int main(int argc, char* argv[])
{
    QApplication app(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    QPixmap pixmap(22, 22);
    pixmap.fill(Qt::darkGreen);
    QSystemTrayIcon tray{QIcon(pixmap)};
    QMenu menu;
    menu.addAction(QStringLiteral("Quit"), &app, &QApplication::quit);
    tray.setContextMenu(&menu);
    tray.show();

    // Ctrl+Alt+T (keycode 28 on a PC keyboard) grabbed on the root window, as a global shortcut is.
    xcb_connection_t* connection = xcb_connect(nullptr, nullptr);
    const xcb_screen_t* screen = xcb_setup_roots_iterator(xcb_get_setup(connection)).data;
    xcb_grab_key(connection, 1, screen->root, XCB_MOD_MASK_CONTROL | XCB_MOD_MASK_1, 28, XCB_GRAB_MODE_ASYNC,
                 XCB_GRAB_MODE_ASYNC);
    xcb_flush(connection);
    KeyFilter filter;
    app.installNativeEventFilter(&filter);
    const int status = QApplication::exec();
    xcb_disconnect(connection);
    return status;
}
