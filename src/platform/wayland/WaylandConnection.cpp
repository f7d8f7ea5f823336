#include "platform/wayland/WaylandConnection.h"

#include "core/Logging.h"

#include "virtual-keyboard-unstable-v1-client-protocol.h"
#include "wlr-data-control-unstable-v1-client-protocol.h"

#include <QAbstractEventDispatcher>
#include <QElapsedTimer>
#include <QSocketNotifier>
#include <algorithm>
#include <cerrno>
#include <cstring>
#include <poll.h>
#include <wayland-client.h>

std::unique_ptr<WaylandConnection> WaylandConnection::connect()
{
    wl_display* display = wl_display_connect(nullptr);
    if (!display) {
        qCWarning(lcPlatform) << "No Wayland compositor answers on WAYLAND_DISPLAY";
        return nullptr;
    }
    std::unique_ptr<WaylandConnection> connection(new WaylandConnection);
    connection->m_display = display;
    static const wl_registry_listener registryListener = {&onGlobal, &onGlobalRemove};
    connection->m_registry = wl_display_get_registry(display);
    wl_registry_add_listener(connection->m_registry, &registryListener, connection.get());
    if (!connection->roundtrip())
        return nullptr;
    qCInfo(lcPlatform) << "Wayland: data-control" << (connection->m_dataControl ? "offered" : "not offered")
                       << "virtual-keyboard" << (connection->m_virtualKeyboard ? "offered" : "not offered");

    // Events that arrive while Tembrel idles (a new selection, a paste from its own clipboard)
    // are served from Qt's loop; synchronous reads serve them themselves.
    const int fd = wl_display_get_fd(display);
    connection->m_notifier = std::make_unique<QSocketNotifier>(fd, QSocketNotifier::Read);
    WaylandConnection* self = connection.get();
    QObject::connect(connection->m_notifier.get(), &QSocketNotifier::activated, [self] {
        if (wl_display_dispatch(self->m_display) < 0) {
            qCWarning(lcPlatform) << "Lost the connection to the Wayland compositor";
            self->m_notifier->setEnabled(false);
        }
    });
    // Qt's loop only wakes for incoming data: what was queued in between must leave now.
    QObject::connect(QAbstractEventDispatcher::instance(), &QAbstractEventDispatcher::aboutToBlock, self->m_notifier.get(),
                     [self] {
                         wl_display_dispatch_pending(self->m_display);
                         wl_display_flush(self->m_display);
                     });
    return connection;
}

WaylandConnection::~WaylandConnection()
{
    m_notifier.reset();
    if (m_virtualKeyboard)
        zwp_virtual_keyboard_manager_v1_destroy(m_virtualKeyboard);
    if (m_dataControl)
        zwlr_data_control_manager_v1_destroy(m_dataControl);
    if (m_seat)
        wl_seat_destroy(m_seat);
    if (m_registry)
        wl_registry_destroy(m_registry);
    wl_display_disconnect(m_display);
}

void WaylandConnection::onGlobal(void* data, wl_registry* registry, quint32 name, const char* interface,
                                 quint32 version)
{
    auto* self = static_cast<WaylandConnection*>(data);
    // The first seat is the user's; a compositor with several seats is rare on a desktop.
    if (std::strcmp(interface, wl_seat_interface.name) == 0 && !self->m_seat) {
        self->m_seat = static_cast<wl_seat*>(wl_registry_bind(registry, name, &wl_seat_interface, 1));
    } else if (std::strcmp(interface, zwlr_data_control_manager_v1_interface.name) == 0) {
        self->m_dataControlVersion = std::min<quint32>(version, 2);
        self->m_dataControl = static_cast<zwlr_data_control_manager_v1*>(
            wl_registry_bind(registry, name, &zwlr_data_control_manager_v1_interface, self->m_dataControlVersion));
    } else if (std::strcmp(interface, zwp_virtual_keyboard_manager_v1_interface.name) == 0) {
        self->m_virtualKeyboard = static_cast<zwp_virtual_keyboard_manager_v1*>(
            wl_registry_bind(registry, name, &zwp_virtual_keyboard_manager_v1_interface, 1));
    }
}

void WaylandConnection::onGlobalRemove(void*, wl_registry*, quint32) {}

bool WaylandConnection::roundtrip()
{
    return wl_display_roundtrip(m_display) >= 0;
}

void WaylandConnection::flush()
{
    wl_display_flush(m_display);
}

bool WaylandConnection::waitReadable(int fd, int timeoutMs)
{
    QElapsedTimer timer;
    timer.start();
    while (timer.elapsed() < timeoutMs) {
        wl_display_dispatch_pending(m_display);
        wl_display_flush(m_display);
        pollfd fds[2] = {{fd, POLLIN, 0}, {wl_display_get_fd(m_display), POLLIN, 0}};
        const int ready = poll(fds, 2, static_cast<int>(timeoutMs - timer.elapsed()));
        if (ready < 0 && errno != EINTR)
            return false;
        if (fds[0].revents != 0)
            return true;
        if ((fds[1].revents & POLLIN) && wl_display_dispatch(m_display) < 0)
            return false;
    }
    return false;
}
