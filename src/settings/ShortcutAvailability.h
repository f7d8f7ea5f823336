#pragma once
#include "modes/Hotkey.h"
#include "settings/DesktopShortcuts.h"
#include "settings/HotkeyRecorderConflicts.h"

#include <QObject>
#include <optional>

class GlobalShortcuts;

/// What the desktop around Tembrel does with a shortcut: the desktop's own bindings, read in the
/// background, and a trial grab that tells whether another application holds one. One per
/// application; lives on the UI thread.
class ShortcutAvailability : public QObject
{
    Q_OBJECT
public:
    /// The id of the trial grab; mode registrations count up from 1 and never reach it.
    static constexpr quint32 trialId = 0xFFFFFF00u;

    [[nodiscard]] static ShortcutAvailability& instance();

    /// The platform's shortcuts, the same object the modes register with (so a trial never
    /// touches one of Tembrel's own grabs); null switches trials off. The owner clears it before
    /// destroying them.
    void setShortcuts(GlobalShortcuts* shortcuts) { m_shortcuts = shortcuts; }
    /// Where the desktop's bindings are read; the environment's unless set.
    void setSources(const DesktopShortcuts::Sources& sources);

    /// Starts reading the desktop's bindings again in the background (once per recording);
    /// `desktopShortcutsChanged` follows.
    void refresh();
    /// The desktop's own binding of `hotkey`, as far as it has been read (the first call starts a read).
    [[nodiscard]] std::optional<HotkeyRecorderConflicts::DesktopUse> desktopUse(const Hotkey& hotkey);
    /// Grabs `hotkey` and lets go at once: whether another application holds it. Call only for a
    /// shortcut none of Tembrel's modes has.
    [[nodiscard]] bool isHeldByAnotherApplication(const Hotkey& hotkey);

Q_SIGNALS:
    void desktopShortcutsChanged();

private:
    using QObject::QObject;

    GlobalShortcuts* m_shortcuts = nullptr;
    std::optional<DesktopShortcuts::Sources> m_sources;
    QString m_desktopName;
    QList<DesktopShortcuts::Binding> m_bindings;
    bool m_started = false;
    bool m_reading = false;
    bool m_readAgain = false;
    int m_generation = 0;
};
