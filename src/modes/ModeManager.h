#pragma once
#include "modes/Mode.h"

#include <QObject>
#include <QVariantList>

class QSettings;

/// The ordered catalogue of modes: the four built-ins plus the user's own, kept in the user's
/// settings under "modes" and saved after every change. Lives on the UI thread; the app creates
/// one and hands it to whoever needs it.
class ModeManager : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QVariantList modes READ modeList NOTIFY modesChanged)

public:
    /// Loads the catalogue from `settings` (which must outlive the manager) and runs the one-time
    /// migration of the earlier single custom prompt.
    explicit ModeManager(QSettings& settings, QObject* parent = nullptr);

    /// The catalogue in its order (menus, settings and shortcut registration follow it).
    [[nodiscard]] const QList<Mode>& modes() const { return m_modes; }
    /// The catalogue for QML: a list of Mode values.
    [[nodiscard]] QVariantList modeList() const;
    /// The enabled modes, in catalogue order.
    [[nodiscard]] QList<Mode> enabledModes() const;
    /// Built-in mode 1, or a fresh copy of it when the catalogue lacks it.
    [[nodiscard]] Mode defaultMode() const;
    /// The mode with this id, if any.
    [[nodiscard]] std::optional<Mode> mode(const QUuid& id) const;
    /// The first mode other than `excluding` whose shortcut has exactly this key code and these modifier bits.
    [[nodiscard]] std::optional<Mode> modeUsingHotkey(quint32 keyCode, quint64 modifierFlags,
                                                      const std::optional<QUuid>& excluding = std::nullopt) const;
    /// One registration snapshot per mode, in catalogue order.
    [[nodiscard]] QList<HotkeyConfig> hotkeyConfigs() const;

    /// Appends a custom mode (enabled exactly when it has a shortcut) and saves; returns its new id.
    QUuid addMode(const QString& name, const QString& prompt, const std::optional<Hotkey>& hotkey);
    /// Replaces the mode with the same id, keeping its position, and saves.
    void updateMode(const Mode& mode);
    /// Removes a custom mode and saves; built-in and unknown ids are refused with a log line.
    void deleteMode(const QUuid& id);
    /// Puts the shipped catalogue back (custom modes gone) and saves.
    void resetAllModes();

Q_SIGNALS:
    /// Sent on every assignment of the catalogue, even when its contents did not change.
    void modesChanged();

private:
    [[nodiscard]] QList<Mode> load();
    void save();
    void migrateLegacyPrompt();
    void assign(QList<Mode> modes);

    QSettings& m_settings;
    QList<Mode> m_modes;
};
