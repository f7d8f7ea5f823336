#pragma once
#include "modes/Hotkey.h"
#include "settings/ModesModel.h"

#include <QObject>
#include <QPointer>
#include <QWindow>
#include <QtQml/qqmlregistration.h>
#include <optional>

class QKeyEvent;


/// The state behind one shortcut recorder: the shortcut being edited, recording from the key
/// events of Tembrel's own window, and the warning when another mode, the system, the desktop or
/// another application owns it.
class HotkeyRecorder : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(bool hasHotkey READ hasHotkey WRITE setHasHotkey NOTIFY hotkeyChanged)
    Q_PROPERTY(Hotkey hotkey READ hotkeyValue WRITE setHotkeyValue NOTIFY hotkeyChanged)
    Q_PROPERTY(ModesModel* modes READ modes WRITE setModes NOTIFY conflictSourceChanged)
    Q_PROPERTY(QString excludingModeId READ excludingModeId WRITE setExcludingModeId NOTIFY conflictSourceChanged)
    Q_PROPERTY(bool isRecording READ isRecording NOTIFY stateChanged)
    Q_PROPERTY(QString displayText READ displayText NOTIFY stateChanged)
    Q_PROPERTY(QString conflictMessage READ conflictMessage NOTIFY stateChanged)

public:
    /// How long after a key press recording stops by itself.
    static constexpr int settleMs = 150;

    explicit HotkeyRecorder(QObject* parent = nullptr);
    ~HotkeyRecorder() override;

    [[nodiscard]] bool hasHotkey() const { return m_hotkey.has_value(); }
    [[nodiscard]] Hotkey hotkeyValue() const { return m_hotkey.value_or(Hotkey{}); }
    [[nodiscard]] std::optional<Hotkey> hotkey() const { return m_hotkey; }
    void setHasHotkey(bool has);
    void setHotkeyValue(const Hotkey& hotkey);
    void setHotkey(const std::optional<Hotkey>& hotkey);

    [[nodiscard]] ModesModel* modes() const { return m_modes; }
    void setModes(ModesModel* modes);
    [[nodiscard]] QString excludingModeId() const { return m_excludingModeId; }
    void setExcludingModeId(const QString& modeId);

    [[nodiscard]] bool isRecording() const { return m_listening; }
    [[nodiscard]] std::optional<Hotkey> pendingHotkey() const { return m_pending; }
    /// "Type shortcut" or the keys held so far while recording; the shortcut or "Set shortcut" otherwise.
    [[nodiscard]] QString displayText() const;
    /// The warning under the control: why the last recording was refused, or what the shortcut
    /// conflicts with; empty while recording or when nothing conflicts.
    [[nodiscard]] QString conflictMessage() const;

    /// A click: starts recording the key events of `window`, or stops a recording in progress.
    Q_INVOKABLE void toggle(QWindow* window);
    Q_INVOKABLE void startRecording(QWindow* window);
    /// Ends recording; a complete shortcut typed so far becomes the hotkey.
    Q_INVOKABLE void stopRecording();

Q_SIGNALS:
    void hotkeyChanged();
    void conflictSourceChanged();
    void stateChanged();
    /// A shortcut was recorded and written into `hotkey`; the owner saves it.
    void recorded(quint32 keyCode, quint64 modifierFlags);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void handleKey(const QKeyEvent& event, bool press);
    void modifiersChanged(quint64 modifierFlags);
    void checkHeldElsewhere(const Hotkey& hotkey);
    void listen(bool listening);

    std::optional<Hotkey> m_hotkey;
    std::optional<Hotkey> m_pending;
    QPointer<ModesModel> m_modes;
    QString m_excludingModeId;
    QPointer<QWindow> m_window;
    std::optional<Hotkey> m_heldElsewhere; // the last recorded shortcut, when a trial grab failed
    bool m_listening = false;
    QString m_refusal;
};
