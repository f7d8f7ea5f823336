#pragma once
#include "platform/KeySender.h"

class WaylandConnection;
struct zwp_virtual_keyboard_v1;

/// Sends Ctrl+C (Ctrl+Shift+C for terminals) through the compositor's virtual-keyboard protocol.
/// Wayland tells no client which keys the user holds, so the chord goes out with exactly its own
/// modifiers declared: Shift still held from the shortcut cannot turn Ctrl+C into Ctrl+Shift+C,
/// and the user's next key press gives the application the user's modifiers back.
class WaylandKeySender : public KeySender
{
public:
    /// `connection` must outlive this.
    explicit WaylandKeySender(WaylandConnection& connection);
    ~WaylandKeySender() override;

    [[nodiscard]] bool isAvailable() const override { return m_keyboard != nullptr; }
    QCoro::Task<bool> sendCopy() override;
    QCoro::Task<bool> sendTerminalCopy() override;

private:
    bool sendChord(bool withShift);

    WaylandConnection& m_connection;
    zwp_virtual_keyboard_v1* m_keyboard = nullptr;
    quint32 m_controlMask = 0;
    quint32 m_shiftMask = 0;
};
