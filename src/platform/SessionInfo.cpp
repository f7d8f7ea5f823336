#include "platform/SessionInfo.h"

#include "core/Logging.h"

#include <QDir>
#include <QLibraryInfo>

namespace {

bool listsAny(const QStringList& desktops, std::initializer_list<const char*> names)
{
    for (const char* name : names) {
        if (desktops.contains(QLatin1String(name), Qt::CaseInsensitive))
            return true;
    }
    return false;
}

QString fixCommand()
{
    return QStringLiteral("tembrel --fix proofread");
}

} // namespace

SessionInfo SessionInfo::detect(const QProcessEnvironment& env)
{
    SessionInfo info;
    const bool hasWayland = !env.value(QStringLiteral("WAYLAND_DISPLAY")).isEmpty();
    const bool hasX11 = !env.value(QStringLiteral("DISPLAY")).isEmpty();
    const QString type = env.value(QStringLiteral("XDG_SESSION_TYPE")).toLower();
    // A Wayland session is one whose clients reach a Wayland compositor; XDG_SESSION_TYPE alone is
    // also set by login managers for nested X servers, so the socket decides when both are given.
    if (hasWayland || (type == QLatin1String("wayland") && !hasX11))
        info.kind = Kind::wayland;
    else if (hasX11)
        info.kind = Kind::x11;
    info.xwayland = info.kind == Kind::wayland && hasX11;

    const QStringList desktops =
        env.value(QStringLiteral("XDG_CURRENT_DESKTOP")).split(QLatin1Char(':'), Qt::SkipEmptyParts);
    info.desktopName = desktops.value(0);
    if (!env.value(QStringLiteral("SWAYSOCK")).isEmpty()) {
        info.desktop = Desktop::wlroots;
        if (info.desktopName.isEmpty())
            info.desktopName = QStringLiteral("sway");
    } else if (!env.value(QStringLiteral("HYPRLAND_INSTANCE_SIGNATURE")).isEmpty()) {
        info.desktop = Desktop::wlroots;
        if (info.desktopName.isEmpty())
            info.desktopName = QStringLiteral("Hyprland");
    } else if (listsAny(desktops, {"KDE", "plasma"})) {
        info.desktop = Desktop::kde;
    } else if (listsAny(desktops, {"GNOME", "GNOME-Classic", "GNOME-Flashback", "Unity", "ubuntu"})) {
        info.desktop = Desktop::gnome;
    } else if (listsAny(desktops, {"sway", "Hyprland", "river", "labwc", "Wayfire", "wlroots", "dwl", "niri"})) {
        info.desktop = Desktop::wlroots;
    }
    return info;
}

SessionInfo::Backend SessionInfo::backend() const
{
    return kind == Kind::wayland && desktop == Desktop::wlroots ? Backend::wayland : Backend::x11;
}

QString SessionInfo::qtPlatform(const QStringList& installedPlugins) const
{
    QStringList wanted;
    // The X11 backend speaks to an X server, so Qt must too: through XWayland where there is one.
    if (kind == Kind::x11 || (kind == Kind::wayland && xwayland && backend() == Backend::x11))
        wanted << QStringLiteral("xcb");
    if (kind == Kind::wayland)
        wanted << QStringLiteral("wayland");
    if (xwayland)
        wanted << QStringLiteral("xcb");
    wanted << QStringLiteral("offscreen") << QStringLiteral("minimal");
    for (const QString& name : std::as_const(wanted)) {
        if (installedPlugins.contains(name))
            return name;
    }
    return wanted.constLast();
}

QStringList SessionInfo::installedQtPlatforms()
{
    QStringList names;
    const QDir dir(QLibraryInfo::path(QLibraryInfo::PluginsPath) + QStringLiteral("/platforms"));
    for (QString file : dir.entryList({QStringLiteral("libq*.so")}, QDir::Files)) {
        file = file.mid(4);
        file.chop(3);
        names << file;
    }
    // Qt loads "wayland" from the generic Wayland plugin.
    if (names.contains(QStringLiteral("wayland-generic")))
        names << QStringLiteral("wayland");
    return names;
}

void SessionInfo::selectQtPlatform() const
{
    qCInfo(lcPlatform).noquote() << "Session:" << description();
    if (qEnvironmentVariableIsSet("QT_QPA_PLATFORM")) {
        qCInfo(lcPlatform).noquote() << "Using the Qt platform the user chose:" << qEnvironmentVariable("QT_QPA_PLATFORM");
        return;
    }
    const QStringList installed = installedQtPlatforms();
    const QString platform = qtPlatform(installed);
    if (backend() == Backend::wayland && platform != QLatin1String("wayland"))
        qCWarning(lcPlatform).noquote() << "Qt's Wayland plugin is not installed (Debian: qt6-wayland); using" << platform;
    if (platform == QLatin1String("offscreen") || platform == QLatin1String("minimal"))
        qCWarning(lcPlatform).noquote() << "No display Tembrel can show windows on; running" << platform
                                        << "so the command line and settings still work";
    // Qt tries the platforms of a ';' list in turn: a display that refuses the connection falls
    // through to one without windows instead of ending the process.
    QString list = platform;
    if (platform != QLatin1String("offscreen") && installed.contains(QLatin1String("offscreen")))
        list += QStringLiteral(";offscreen");
    qCInfo(lcPlatform).noquote() << "Qt platform:" << list;
    qputenv("QT_QPA_PLATFORM", list.toUtf8());
}

QString SessionInfo::description() const
{
    const QString name = desktopName.isEmpty() ? QStringLiteral("an unknown desktop") : desktopName;
    switch (kind) {
    case Kind::x11:
        return QStringLiteral("X11 session (%1)").arg(name);
    case Kind::wayland:
        return QStringLiteral("Wayland session (%1), %2").arg(name, xwayland ? QStringLiteral("with XWayland")
                                                                             : QStringLiteral("without XWayland"));
    case Kind::none:
        break;
    }
    return QStringLiteral("no graphical session (neither DISPLAY nor WAYLAND_DISPLAY is set)");
}

bool SessionInfo::canSendKeys() const
{
    return kind == Kind::x11 || (kind == Kind::wayland && (xwayland || desktop == Desktop::wlroots));
}

QString SessionInfo::limitation() const
{
    const QString name = desktopName.isEmpty() ? QStringLiteral("Wayland") : desktopName + QStringLiteral(" Wayland");
    if (kind == Kind::none)
        return QStringLiteral("Tembrel found no display to work with (neither X11 nor Wayland), so it can't copy your "
                              "selection. Start it from your desktop session.");
    if (kind == Kind::x11)
        return {};
    const QString where = desktop == Desktop::gnome ? QStringLiteral("in Settings → Keyboard → Custom Shortcuts")
                          : desktop == Desktop::kde ? QStringLiteral("in System Settings → Shortcuts")
                                                    : QStringLiteral("in your desktop's keyboard shortcut settings");
    if (desktop == Desktop::wlroots)
        return QStringLiteral("In this %1 session Tembrel fixes text in every application, but the compositor "
                              "gives out shortcuts: add a line like `%2` to its configuration for each mode.")
            .arg(name, compositorBinding(QStringLiteral("Ctrl+Shift+S"), QStringLiteral("proofread")));
    if (xwayland)
        return QStringLiteral("In this %1 session Tembrel can fix text only in X11 applications; bind `%2` %3.")
            .arg(name, fixCommand(), where);
    return QStringLiteral("This %1 session doesn't let apps send keystrokes to other windows and runs no XWayland, "
                          "so Tembrel can't copy your selection. Log in to an X11 session to use Tembrel.")
        .arg(name);
}

QString SessionInfo::compositorBinding(const QString& keys, const QString& mode) const
{
    if (kind != Kind::wayland || desktop != Desktop::wlroots)
        return {};
    QStringList parts = keys.split(QLatin1Char('+'), Qt::SkipEmptyParts);
    if (parts.isEmpty())
        return {};
    QString key = parts.takeLast();
    if (key.size() == 1)
        key = key.toLower();
    const QString command = QStringLiteral("tembrel --fix ") + mode;
    if (desktopName.compare(QLatin1String("Hyprland"), Qt::CaseInsensitive) == 0)
        return QStringLiteral("bind = %1, %2, exec, %3").arg(parts.join(QLatin1Char(' ')).toUpper(), key, command);
    parts << key;
    return QStringLiteral("bindsym %1 exec %2").arg(parts.join(QLatin1Char('+')), command);
}

QStringList SessionInfo::compositorWindowRules() const
{
    if (kind != Kind::wayland || desktop != Desktop::wlroots)
        return {};
    if (desktopName.compare(QLatin1String("Hyprland"), Qt::CaseInsensitive) == 0)
        return {QStringLiteral("windowrulev2 = float, title:^(Tembrel)$"),
                QStringLiteral("windowrulev2 = nofocus, title:^(Tembrel)$")};
    return {QStringLiteral("for_window [title=\"^Tembrel$\"] floating enable, sticky enable"),
            QStringLiteral("no_focus [title=\"^Tembrel$\"]")};
}
