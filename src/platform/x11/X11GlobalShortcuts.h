#pragma once
#include "platform/GlobalShortcuts.h"

#include <QAbstractNativeEventFilter>
#include <QHash>
#include <QObject>

class QTimer;

/// Global shortcuts as passive key grabs on the root window. A grab turns into an active keyboard
/// grab while its key is held, so the keys of the shortcut reach Tembrel, not the focused window,
/// until the key is released; `grabbedKeyReleased` tells the key sender when that has happened.
class X11GlobalShortcuts : public QObject, public GlobalShortcuts, public QAbstractNativeEventFilter
{
    Q_OBJECT
public:
    X11GlobalShortcuts();
    ~X11GlobalShortcuts() override;

    RegistrationError registerShortcut(quint32 id, quint16 keyCode, quint64 modifierFlags) override;
    void unregisterShortcut(quint32 id) override;
    void setPressHandler(std::function<void(quint32 id)> handler) override { m_onPress = std::move(handler); }

    /// Whether the key of a shortcut is still held, keeping the keyboard grabbed.
    [[nodiscard]] bool isGrabbedKeyHeld() const { return m_heldKeycode != 0; }
    [[nodiscard]] quint8 heldKeycode() const { return m_heldKeycode; }
    /// Gives up an active keyboard grab at once (used when the user keeps the key held).
    void releaseKeyboardGrab();

    bool nativeEventFilter(const QByteArray& eventType, void* message, qintptr* result) override;

Q_SIGNALS:
    void grabbedKeyReleased();

private:
    struct Grab
    {
        quint8 keycode = 0;
        quint16 modifiers = 0;
    };
    [[nodiscard]] QList<quint16> lockVariants() const;
    void ungrab(const Grab& grab);

    QHash<quint32, Grab> m_grabs;
    std::function<void(quint32)> m_onPress;
    quint8 m_heldKeycode = 0;

    void watchAbandonedKey();

    // The key whose grab was given up while still held: a press of it that was already on its way
    // (autorepeat) is not a new press. Its release goes to the focused window, not to us, so the
    // keymap is polled until the key is up.
    quint8 m_abandonedKeycode = 0;
    QTimer* m_abandonedKeyPoll = nullptr;
    quint16 m_numLockMask = 0;
};
