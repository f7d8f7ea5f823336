#pragma once
#include "modes/Hotkey.h"

#include <QList>
#include <QString>

/// The desktop's own keyboard shortcuts, read where the running desktop keeps them: GSettings for
/// GNOME and Cinnamon (through the `gsettings` command), kglobalshortcutsrc for KDE, the
/// xfconf channel file for Xfce. Reading runs programs and files: call it off the UI thread.
class DesktopShortcuts
{
public:
    enum class Desktop { none, gnome, cinnamon, kde, xfce };

    /// Where to read; tests point these at their own program and files.
    struct Sources
    {
        Desktop desktop = Desktop::none;
        QString gsettingsProgram = QStringLiteral("gsettings");
        QString configHome; // the folder holding kglobalshortcutsrc, xfce4/ and glib-2.0/
        /// The desktop named by XDG_CURRENT_DESKTOP, the user's config folder, `gsettings` from PATH.
        [[nodiscard]] static Sources fromEnvironment();
    };

    /// One shortcut the desktop binds, with the desktop's name for what it does.
    struct Binding
    {
        Hotkey hotkey;
        QString action;
    };

    explicit DesktopShortcuts(Sources sources);

    /// "GNOME", "Cinnamon", "KDE", "Xfce"; empty when the desktop is not one Tembrel can read.
    [[nodiscard]] QString desktopName() const;
    /// Every binding that has a shortcut Tembrel can store; nothing when the store is missing.
    [[nodiscard]] QList<Binding> read() const;

    /// "<Super>1", "<Primary><Shift>s": GTK's accelerator syntax.
    [[nodiscard]] static std::optional<Hotkey> parseGtkAccelerator(const QString& accelerator);
    /// "Meta+1", "Ctrl+Alt+T": Qt's portable key sequence text, as KDE writes it.
    [[nodiscard]] static std::optional<Hotkey> parseKdeShortcut(const QString& shortcut);

private:
    [[nodiscard]] QList<Binding> readGSettings() const;
    [[nodiscard]] QList<Binding> readKde() const;
    [[nodiscard]] QList<Binding> readXfce() const;

    Sources m_sources;
};
