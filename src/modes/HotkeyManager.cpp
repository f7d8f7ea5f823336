#include "modes/HotkeyManager.h"

#include "core/Logging.h"
#include "platform/GlobalShortcuts.h"

#include <QPointer>
#include <QTimer>

#include <limits>

HotkeyManager::HotkeyManager(GlobalShortcuts& shortcuts, QObject* parent)
    : QObject(parent)
    , m_shortcuts(shortcuts)
{
}

HotkeyManager::~HotkeyManager()
{
    unregisterAll();
}

void HotkeyManager::registerModeHotkeys(const QList<Mode>& modes)
{
    unregisterAll();
    if (!m_handlerInstalled) {
        QPointer<HotkeyManager> self(this);
        m_shortcuts.setPressHandler([self](quint32 id) {
            // Handled from the event loop, never inside the platform's own event dispatch.
            QTimer::singleShot(0, self, [self, id] {
                if (self)
                    self->handlePress(id);
            });
        });
        m_handlerInstalled = true;
    }
    long counted = 0;
    for (const Mode& mode : modes) {
        if (!mode.isEnabled || !mode.hotkey)
            continue;
        ++counted;
        registerMode(mode);
    }
    qCInfo(lcHotkey, "Registered %ld mode hotkeys", counted);
}

void HotkeyManager::registerMode(const Mode& mode)
{
    if (m_nextHotkeyId == std::numeric_limits<quint32>::max())
        qFatal("Hotkey id counter overflow");
    const quint32 id = m_nextHotkeyId++;
    const Hotkey hotkey = *mode.hotkey;
    const auto error = m_shortcuts.registerShortcut(id, quint16(hotkey.keyCode), hotkey.modifierFlagsRawValue);
    if (error != GlobalShortcuts::RegistrationError::none) {
        const int status = error == GlobalShortcuts::RegistrationError::alreadyTaken ? hotKeyExistsStatus
            : error == GlobalShortcuts::RegistrationError::unknownKey                 ? hotKeyInvalidStatus
                                                                                      : unavailableStatus;
        qCCritical(lcHotkey, "Failed to register hotkey for mode %s: %d", qUtf8Printable(mode.name), status);
        return;
    }
    m_hotkeyRefs.append(id);
    m_hotkeyIdToModeId.insert(id, mode.id);
    qCInfo(lcHotkey, "Registered hotkey %s for mode: %s", qUtf8Printable(hotkey.platformDisplayString()),
           qUtf8Printable(mode.name));
}

void HotkeyManager::unregisterAll()
{
    for (quint32 id : std::as_const(m_hotkeyRefs))
        m_shortcuts.unregisterShortcut(id);
    m_hotkeyRefs.clear();
    m_hotkeyIdToModeId.clear();
    m_currentHotkey.reset();
    if (m_handlerInstalled) {
        m_shortcuts.setPressHandler({});
        m_handlerInstalled = false;
    }
    m_nextHotkeyId = 1;
}

void HotkeyManager::handlePress(quint32 id)
{
    const auto it = m_hotkeyIdToModeId.constFind(id);
    if (it != m_hotkeyIdToModeId.constEnd()) {
        if (onModeTriggered)
            onModeTriggered(*it);
        return;
    }
    qCCritical(lcHotkey, "Unknown hotkey ID: %u", id);
    if (onHotkeyPressed)
        onHotkeyPressed();
}
