#pragma once
#include <QProcessEnvironment>
#include <QString>
#include <QStringList>

/// What kind of graphical session Tembrel runs in, read from the environment before anything
/// connects to a display: which platform backend serves here, which Qt platform plugin that
/// backend needs, and what the user can and cannot do in this session.
struct SessionInfo
{
    enum class Kind { x11, wayland, none };
    /// The compositor families that differ in what they let an app do.
    enum class Desktop { wlroots, kde, gnome, other };
    enum class Backend { x11, wayland };

    Kind kind = Kind::none;
    /// A Wayland session that also runs XWayland, so X11 clients (and Tembrel on X11) work.
    bool xwayland = false;
    Desktop desktop = Desktop::other;
    /// The desktop's own name as the session gives it ("sway", "GNOME"); empty when unknown.
    QString desktopName;

    [[nodiscard]] static SessionInfo detect(const QProcessEnvironment& env = QProcessEnvironment::systemEnvironment());

    /// The backend that serves this session best.
    [[nodiscard]] Backend backend() const;
    /// The Qt platform plugin to ask for, given the installed ones (e.g. "xcb", "wayland"); falls
    /// back to one that exists, and to "offscreen" when no display can be reached.
    [[nodiscard]] QString qtPlatform(const QStringList& installedPlugins) const;
    /// The Qt platform plugins installed with this Qt ("xcb", "wayland", "offscreen", …).
    [[nodiscard]] static QStringList installedQtPlatforms();
    /// Before the application object exists: tells Qt which platform to use unless the user chose
    /// one (QT_QPA_PLATFORM), with "offscreen" behind it so an unreachable display never aborts.
    void selectQtPlatform() const;

    /// One line for the log: the session as detected.
    [[nodiscard]] QString description() const;
    /// What works in this session and what to do about what does not; empty when everything works.
    [[nodiscard]] QString limitation() const;
    /// Whether keystrokes can reach the applications the user works in (some or all of them).
    [[nodiscard]] bool canSendKeys() const;
    /// The line that binds `keys` (as shown on Linux, "Ctrl+Shift+S") to `tembrel --fix MODE` in
    /// this compositor's configuration; empty where shortcuts are set in the desktop's settings.
    [[nodiscard]] QString compositorBinding(const QString& keys, const QString& mode) const;
    /// The compositor's rules that keep the result panel (a window titled "Tembrel") floating and
    /// from taking the keyboard focus; empty where the compositor needs none.
    [[nodiscard]] QStringList compositorWindowRules() const;
};
