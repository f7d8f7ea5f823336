#pragma once
#include "modes/Hotkey.h"
#include "modes/Mode.h"

#include <QHash>
#include <QObject>
#include <QUuid>
#include <functional>
#include <optional>

class GlobalShortcuts;

/// Makes the shortcuts of the enabled modes work system-wide and turns each press into the id of
/// its mode, on the UI thread. Registration ids start at 1 and start again after unregisterAll().
class HotkeyManager : public QObject
{
    Q_OBJECT
public:
    explicit HotkeyManager(GlobalShortcuts& shortcuts, QObject* parent = nullptr);
    ~HotkeyManager() override;

    /// Replaces all registrations with one per enabled mode that has a shortcut, in catalogue order.
    void registerModeHotkeys(const QList<Mode>& modes);
    /// Removes every registration.
    void unregisterAll();

    /// Called with the mode id of a pressed shortcut.
    std::function<void(const QUuid& modeId)> onModeTriggered;
    /// Called for a press whose id belongs to no mode.
    std::function<void()> onHotkeyPressed;

    [[nodiscard]] int registrationCount() const { return int(m_hotkeyIdToModeId.size()); }
    [[nodiscard]] const std::optional<Hotkey>& currentHotkey() const { return m_currentHotkey; }

    /// Status codes in the log, the same numbers the macOS build reports.
    static constexpr int hotKeyExistsStatus = -9878;
    static constexpr int hotKeyInvalidStatus = -9879;
    static constexpr int unavailableStatus = -50;

private:
    void registerMode(const Mode& mode);
    void handlePress(quint32 id);

    GlobalShortcuts& m_shortcuts;
    QHash<quint32, QUuid> m_hotkeyIdToModeId;
    QList<quint32> m_hotkeyRefs;
    quint32 m_nextHotkeyId = 1;
    bool m_handlerInstalled = false;
    std::optional<Hotkey> m_currentHotkey;
};
