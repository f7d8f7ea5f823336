#include "capture/TerminalApps.h"

#include <array>

namespace {

struct KnownTerminal
{
    const char* name;
    bool copiesWithShortcut;
    std::array<const char*, 3> ids; // lower case
};

constexpr KnownTerminal knownTerminals[] = {
    {"xterm", false, {"xterm", "uxterm", nullptr}},
    {"URxvt", false, {"urxvt", "rxvt", "rxvt-unicode"}},
    {"GNOME Terminal", true, {"gnome-terminal", "gnome-terminal-server", nullptr}},
    {"Konsole", true, {"konsole", nullptr, nullptr}},
    {"Xfce Terminal", true, {"xfce4-terminal", nullptr, nullptr}},
    {"Tilix", true, {"tilix", "com.gexperts.tilix", nullptr}},
    {"Terminator", true, {"terminator", nullptr, nullptr}},
    {"Alacritty", true, {"alacritty", nullptr, nullptr}},
    {"kitty", true, {"kitty", nullptr, nullptr}},
    {"WezTerm", true, {"org.wezfurlong.wezterm", "wezterm", "wezterm-gui"}},
    {"foot", true, {"foot", "footclient", nullptr}},
};

} // namespace

std::optional<TerminalApp> TerminalApps::recognise(const QStringList& applicationIds)
{
    for (const QString& id : applicationIds) {
        const QString lower = id.toLower();
        for (const KnownTerminal& terminal : knownTerminals) {
            for (const char* known : terminal.ids) {
                if (known && lower == QLatin1String(known))
                    return TerminalApp{QString::fromLatin1(terminal.name), terminal.copiesWithShortcut};
            }
        }
    }
    return std::nullopt;
}
