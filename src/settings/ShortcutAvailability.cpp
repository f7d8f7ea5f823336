#include "settings/ShortcutAvailability.h"

#include "core/Logging.h"
#include "platform/GlobalShortcuts.h"

#include <QCoreApplication>
#include <QPointer>
#include <QThreadPool>

ShortcutAvailability& ShortcutAvailability::instance()
{
    static QPointer<ShortcutAvailability> shared;
    if (!shared)
        shared = new ShortcutAvailability(QCoreApplication::instance());
    return *shared;
}

void ShortcutAvailability::setSources(const DesktopShortcuts::Sources& sources)
{
    m_sources = sources;
    m_bindings.clear();
    m_started = false;
    ++m_generation; // a read under way comes from the old place: its answer is dropped
}

void ShortcutAvailability::refresh()
{
    m_started = true;
    if (m_reading) {
        m_readAgain = true;
        return;
    }
    m_reading = true;
    const DesktopShortcuts reader(m_sources.value_or(DesktopShortcuts::Sources::fromEnvironment()));
    QPointer<ShortcutAvailability> self(this);
    const int generation = m_generation;
    // `gsettings` is several program runs: the pool keeps them off the UI thread, and waits for
    // a read still under way when the application ends.
    QThreadPool::globalInstance()->start([reader, self, generation] {
        QList<DesktopShortcuts::Binding> bindings = reader.read();
        const QString desktop = reader.desktopName();
        QMetaObject::invokeMethod(
            self.data(),
            [self, generation, desktop, bindings = std::move(bindings)]() mutable {
                if (!self)
                    return;
                self->m_reading = false;
                if (generation != self->m_generation) {
                    self->m_readAgain = false;
                    if (self->m_started)
                        self->refresh();
                    return;
                }
                self->m_desktopName = desktop;
                self->m_bindings = std::move(bindings);
                Q_EMIT self->desktopShortcutsChanged();
                if (std::exchange(self->m_readAgain, false))
                    self->refresh();
            },
            Qt::QueuedConnection);
    });
}

std::optional<HotkeyRecorderConflicts::DesktopUse> ShortcutAvailability::desktopUse(const Hotkey& hotkey)
{
    if (!m_started)
        refresh();
    for (const DesktopShortcuts::Binding& binding : std::as_const(m_bindings)) {
        if (binding.hotkey == hotkey)
            return HotkeyRecorderConflicts::DesktopUse{m_desktopName, binding.action};
    }
    return std::nullopt;
}

bool ShortcutAvailability::isHeldByAnotherApplication(const Hotkey& hotkey)
{
    if (!m_shortcuts || hotkey.keyCode > 0xFFFF)
        return false;
    const auto result = m_shortcuts->registerShortcut(trialId, quint16(hotkey.keyCode), hotkey.modifierFlagsRawValue);
    if (result == GlobalShortcuts::RegistrationError::none)
        m_shortcuts->unregisterShortcut(trialId);
    else if (result == GlobalShortcuts::RegistrationError::alreadyTaken)
        qCInfo(lcHotkey) << "Shortcut" << hotkey.portableDisplayString() << "is held by another application";
    return result == GlobalShortcuts::RegistrationError::alreadyTaken;
}
