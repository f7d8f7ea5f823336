#pragma once
#include <QtGlobal>
#include <memory>

class QSocketNotifier;
struct wl_display;
struct wl_registry;
struct wl_seat;
struct zwlr_data_control_manager_v1;
struct zwp_virtual_keyboard_manager_v1;

/// Tembrel's own connection to the Wayland compositor, beside Qt's: the protocols it needs
/// (data-control, virtual-keyboard) are ones Qt does not speak, and a separate connection works
/// whatever platform Qt runs on. Events are dispatched on the UI thread from Qt's event loop.
class WaylandConnection
{
public:
    /// Null when no compositor answers on WAYLAND_DISPLAY.
    [[nodiscard]] static std::unique_ptr<WaylandConnection> connect();
    ~WaylandConnection();
    WaylandConnection(const WaylandConnection&) = delete;
    WaylandConnection& operator=(const WaylandConnection&) = delete;

    [[nodiscard]] wl_display* display() const { return m_display; }
    [[nodiscard]] wl_seat* seat() const { return m_seat; }
    /// Null where the compositor does not offer the protocol.
    [[nodiscard]] zwlr_data_control_manager_v1* dataControl() const { return m_dataControl; }
    [[nodiscard]] quint32 dataControlVersion() const { return m_dataControlVersion; }
    [[nodiscard]] zwp_virtual_keyboard_manager_v1* virtualKeyboard() const { return m_virtualKeyboard; }

    /// Sends what was asked and waits until the compositor has answered all of it.
    bool roundtrip();
    /// Sends what was asked without waiting.
    void flush();
    /// Waits up to `timeoutMs` for `fd` to become readable while still serving the compositor's
    /// events, which matters when the data being read comes from this very process.
    /// True when `fd` is readable (or closed), false on timeout or a lost connection.
    bool waitReadable(int fd, int timeoutMs);

private:
    WaylandConnection() = default;
    static void onGlobal(void* data, wl_registry* registry, quint32 name, const char* interface, quint32 version);
    static void onGlobalRemove(void* data, wl_registry* registry, quint32 name);

    wl_display* m_display = nullptr;
    wl_registry* m_registry = nullptr;
    wl_seat* m_seat = nullptr;
    zwlr_data_control_manager_v1* m_dataControl = nullptr;
    quint32 m_dataControlVersion = 0;
    zwp_virtual_keyboard_manager_v1* m_virtualKeyboard = nullptr;
    std::unique_ptr<QSocketNotifier> m_notifier;
};
