#include "settings/HotkeyRecorder.h"

#include "modes/QtKeyTranslation.h"
#include "modes/ShortcutRecording.h"
#include "settings/HotkeyRecorderConflicts.h"
#include "settings/ModesModel.h"
#include "settings/ShortcutAvailability.h"

#include <QKeyEvent>
#include <QStringList>
#include <QTimer>
#include <QWindow>

namespace {

constexpr quint64 modifierMask = 0x1E0000; // Shift, Control, Option, Command
constexpr quint32 escapeKeyCode = 53;

// The modifiers alone, as they show while the user is still holding them.
QString heldModifiersText(quint64 flags)
{
    const Hotkey held{0, flags};
#ifdef Q_OS_MACOS
    return held.modifierSymbols();
#else
    QStringList parts;
    if (held.hasControl())
        parts << QStringLiteral("Super");
    if (held.hasCommand())
        parts << QStringLiteral("Ctrl");
    if (held.hasOption())
        parts << QStringLiteral("Alt");
    if (held.hasShift())
        parts << QStringLiteral("Shift");
    return parts.join(QLatin1Char('+')) + QLatin1Char('+');
#endif
}

} // namespace

HotkeyRecorder::HotkeyRecorder(QObject* parent)
    : QObject(parent)
{
    connect(this, &HotkeyRecorder::hotkeyChanged, this, &HotkeyRecorder::stateChanged);
    connect(this, &HotkeyRecorder::conflictSourceChanged, this, &HotkeyRecorder::stateChanged);
    connect(&ShortcutAvailability::instance(), &ShortcutAvailability::desktopShortcutsChanged, this,
            &HotkeyRecorder::stateChanged);
}

HotkeyRecorder::~HotkeyRecorder()
{
    if (m_window)
        m_window->removeEventFilter(this);
    if (m_listening)
        listen(false);
}

void HotkeyRecorder::listen(bool listening)
{
    m_listening = listening;
    if (listening)
        ShortcutRecording::instance().begin();
    else
        ShortcutRecording::instance().end();
}

void HotkeyRecorder::setHasHotkey(bool has)
{
    if (has == hasHotkey())
        return;
    m_hotkey = has ? std::optional(Hotkey{}) : std::nullopt;
    Q_EMIT hotkeyChanged();
}

void HotkeyRecorder::setHotkeyValue(const Hotkey& hotkey)
{
    setHotkey(hotkey);
}

void HotkeyRecorder::setHotkey(const std::optional<Hotkey>& hotkey)
{
    if (hotkey == m_hotkey)
        return;
    m_hotkey = hotkey;
    m_refusal.clear();
    Q_EMIT hotkeyChanged();
}

void HotkeyRecorder::setModes(ModesModel* modes)
{
    if (modes == m_modes)
        return;
    if (m_modes)
        disconnect(m_modes, nullptr, this, nullptr);
    m_modes = modes;
    if (m_modes)
        connect(m_modes, &ModesModel::catalogueChanged, this, &HotkeyRecorder::stateChanged);
    Q_EMIT conflictSourceChanged();
}

void HotkeyRecorder::setExcludingModeId(const QString& modeId)
{
    if (modeId == m_excludingModeId)
        return;
    m_excludingModeId = modeId;
    Q_EMIT conflictSourceChanged();
}

QString HotkeyRecorder::displayText() const
{
    if (isRecording()) {
        if (!m_pending)
            return QStringLiteral("Type shortcut");
        // Key code 0 means "no key yet": show the held modifiers rather than a key nobody pressed.
        return m_pending->keyCode == 0 ? heldModifiersText(m_pending->modifierFlagsRawValue)
                                       : m_pending->platformDisplayString();
    }
    return m_hotkey ? m_hotkey->platformDisplayString() : QStringLiteral("Set shortcut");
}

QString HotkeyRecorder::conflictMessage() const
{
    if (isRecording())
        return {};
    if (!m_refusal.isEmpty())
        return m_refusal;
    if (!m_hotkey)
        return {};
    const auto other = m_modes ? m_modes->modeNameUsing(*m_hotkey, m_excludingModeId) : std::nullopt;
    return HotkeyRecorderConflicts::message(*m_hotkey, {other, ShortcutAvailability::instance().desktopUse(*m_hotkey),
                                                        m_heldElsewhere == m_hotkey});
}

void HotkeyRecorder::toggle(QWindow* window)
{
    if (isRecording())
        stopRecording();
    else
        startRecording(window);
}

void HotkeyRecorder::startRecording(QWindow* window)
{
    if (!window || isRecording())
        return;
    m_pending.reset();
    ShortcutAvailability::instance().refresh();
    m_refusal.clear();
    m_window = window;
    // Filtering the window itself sees every key of this window before any control does, and
    // nothing from other applications.
    m_window->installEventFilter(this);
    // A window closed (or gone) mid-recording ends the recording without keeping half a shortcut.
    connect(window, &QWindow::visibleChanged, this, [this](bool visible) {
        if (!visible) {
            m_pending.reset();
            stopRecording();
        }
    });
    connect(window, &QObject::destroyed, this, [this] {
        m_pending.reset();
        stopRecording();
    });
    listen(true);
    Q_EMIT stateChanged();
}

void HotkeyRecorder::stopRecording()
{
    if (!m_listening)
        return;
    if (m_window) {
        m_window->removeEventFilter(this);
        disconnect(m_window, nullptr, this, nullptr);
    }
    m_window.clear();
    listen(false);
    const std::optional<Hotkey> typed = m_pending;
    m_pending.reset();
    if (typed && typed->keyCode != 0 && HotkeyRecorderConflicts::isSentByTembrel(*typed)) {
        // Copy, cut, paste, undo and select all belong to every application, and Tembrel sends
        // some of them itself: a mode on one would capture its own copy. The old shortcut stays.
        m_refusal = HotkeyRecorderConflicts::refusal(*typed);
    } else if (typed && typed->keyCode != 0) {
        // Key code 0 stands for "no key yet", so the A key can never be recorded; kept on purpose.
        checkHeldElsewhere(*typed);
        setHotkey(typed);
        Q_EMIT recorded(typed->keyCode, typed->modifierFlagsRawValue);
    }
    Q_EMIT stateChanged();
}

bool HotkeyRecorder::eventFilter(QObject* watched, QEvent* event)
{
    if (watched != m_window)
        return false;
    switch (event->type()) {
    case QEvent::KeyPress:
        handleKey(static_cast<const QKeyEvent&>(*event), true);
        return true;
    case QEvent::KeyRelease:
        handleKey(static_cast<const QKeyEvent&>(*event), false);
        return true;
    case QEvent::ShortcutOverride:
        event->accept();
        return true;
    default:
        return false;
    }
}

void HotkeyRecorder::handleKey(const QKeyEvent& event, bool press)
{
    if (event.isAutoRepeat())
        return;
    const int key = event.key();
    const auto keyCode = QtKeyTranslation::macKeyCode(key, event.modifiers() & Qt::KeypadModifier);
    if (keyCode == escapeKeyCode) {
        m_pending.reset();
        stopRecording();
        return;
    }
    if (const Qt::KeyboardModifiers own = QtKeyTranslation::modifierOfKey(key); own != Qt::NoModifier) {
        // A modifier's own press or release may or may not be in the event's state already,
        // depending on the platform; add or remove it so the held set is right either way.
        const Qt::KeyboardModifiers held = press ? (event.modifiers() | own) : (event.modifiers() & ~own);
        modifiersChanged(QtKeyTranslation::appKitModifiers(held));
        return;
    }
    if (!press || !keyCode)
        return;
    m_pending = Hotkey{*keyCode, QtKeyTranslation::appKitModifiers(event.modifiers()) & modifierMask};
    Q_EMIT stateChanged();
    QTimer::singleShot(settleMs, this, [this] {
        if (isRecording())
            stopRecording();
    });
}

void HotkeyRecorder::checkHeldElsewhere(const Hotkey& hotkey)
{
    // A shortcut of any mode, the edited one's old shortcut included, is Tembrel's own grab: the
    // catalogue already says who has it, and a trial would only meet Tembrel itself.
    const bool ownedByAMode = m_modes && m_modes->modeNameUsing(hotkey, QString());
    const bool held = !ownedByAMode && ShortcutAvailability::instance().isHeldByAnotherApplication(hotkey);
    m_heldElsewhere = held ? std::optional(hotkey) : std::nullopt;
}

void HotkeyRecorder::modifiersChanged(quint64 modifierFlags)
{
    const quint64 held = modifierFlags & modifierMask;
    if (held != 0) {
        m_pending = Hotkey{0, held};
        Q_EMIT stateChanged();
    } else if (m_pending && m_pending->keyCode != 0) {
        stopRecording();
    }
}
