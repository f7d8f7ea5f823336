// The shortcuts the system keeps for itself differ by platform: macOS reserves its own list, and
// Linux desktops agree by convention on another. Both are kept here side by side; the build picks
// one. The application-standard shortcuts mean the same everywhere (Command on the Mac is Ctrl here).
#include "settings/HotkeyRecorderConflicts.h"

#include <iterator>

namespace HotkeyRecorderConflicts {
namespace {

constexpr quint64 command = Hotkey::commandFlag;
constexpr quint64 commandShift = Hotkey::commandFlag | Hotkey::shiftFlag;

struct Named
{
    quint32 keyCode;
    quint64 modifiers;
    const char* name; // null: reserved without a name
};

template <std::size_t N>
const Named* find(const Named (&table)[N], const Hotkey& hotkey)
{
    for (const Named& entry : table) {
        if (entry.keyCode == hotkey.keyCode && entry.modifiers == hotkey.modifierFlagsRawValue)
            return &entry;
    }
    return nullptr;
}

#ifdef Q_OS_MACOS
const QString systemPrefix = QStringLiteral("This shortcut is used by macOS for ");
// The Mac's reserved list already names the standard ones it warns about.
constexpr bool warnsOfApplicationStandard = false;

// Named ones first, searched in this order; the unnamed reserved ones after them.
constexpr Named system[] = {
    {8, command, "Copy"},
    {9, command, "Paste"},
    {7, command, "Cut"},
    {6, command, "Undo"},
    {0, command, "Select All"},
    {1, command, "Save"},
    {12, command, "Quit"},
    {13, command, "Close Window"},
    {48, command, "App Switcher"},
    {49, command, "Spotlight"},
    {20, commandShift, "Screenshot"},
    {21, commandShift, "Screenshot Selection"},
    {23, commandShift, "Screenshot Options"},
    {6, commandShift, nullptr},
    {45, command, nullptr},
    {31, command, nullptr},
    {35, command, nullptr},
    {3, command, nullptr},
    {4, command, nullptr},
    {46, command, nullptr},
    {43, command, nullptr},
};
#else
const QString systemPrefix = QStringLiteral("This shortcut is used by the system for ");
constexpr bool warnsOfApplicationStandard = true;

constexpr quint64 alt = Hotkey::optionFlag;
constexpr quint64 ctrlAlt = Hotkey::commandFlag | Hotkey::optionFlag;
constexpr quint64 super = Hotkey::controlFlag;

// What Linux desktops keep by convention, whichever desktop it is. (Print has no key code in the
// stored form, so it can be neither recorded nor listed.)
constexpr Named system[] = {
    {48, alt, "Switch Windows"},
    {117, ctrlAlt, "Log Out"},
    {17, ctrlAlt, "Terminal"},
    {37, super, "Lock Screen"},
    {120, alt, "Run Command"},
    {118, alt, "Close Window"},
    {122, ctrlAlt, "Switch to Console 1"},
    {120, ctrlAlt, "Switch to Console 2"},
    {99, ctrlAlt, "Switch to Console 3"},
    {118, ctrlAlt, "Switch to Console 4"},
    {96, ctrlAlt, "Switch to Console 5"},
    {97, ctrlAlt, "Switch to Console 6"},
    {98, ctrlAlt, "Switch to Console 7"},
    {100, ctrlAlt, "Switch to Console 8"},
    {101, ctrlAlt, "Switch to Console 9"},
    {109, ctrlAlt, "Switch to Console 10"},
    {103, ctrlAlt, "Switch to Console 11"},
    {111, ctrlAlt, "Switch to Console 12"},
};
#endif

// Shortcuts a global grab would take away from the application in front.
constexpr Named applicationStandard[] = {
    {1, command, "Save"},
    {1, commandShift, "Save As"},
    {35, command, "Print"},
    {31, command, "Open"},
    {45, command, "New"},
    {13, command, "Close"},
    {12, command, "Quit"},
    {3, command, "Find"},
    {6, command, "Undo"},
    {6, commandShift, "Redo"},
    {16, command, "Redo"},
    {8, command, "Copy"},
    {7, command, "Cut"},
    {9, command, "Paste"},
    {0, command, "Select All"},
    {17, command, "New Tab"},
    {11, command, "Bold"},
    {34, command, "Italic"},
    {32, command, "Underline"},
};

} // namespace

bool isReserved(const Hotkey& hotkey)
{
    return find(system, hotkey) != nullptr;
}

std::optional<QString> systemName(const Hotkey& hotkey)
{
    const Named* entry = find(system, hotkey);
    if (!entry || !entry->name)
        return std::nullopt;
    return QString::fromUtf8(entry->name);
}

bool isSentByTembrel(const Hotkey& hotkey)
{
    // C, X, V, Z and A with Ctrl (Command); C with Ctrl+Shift is how terminals are asked to copy.
    static constexpr Named chords[] = {
        {8, command, nullptr}, {7, command, nullptr}, {9, command, nullptr},
        {6, command, nullptr}, {0, command, nullptr}, {8, commandShift, nullptr},
    };
    return find(chords, hotkey) != nullptr;
}

QString refusal(const Hotkey& hotkey)
{
    return hotkey.platformDisplayString()
        + QStringLiteral(" is how applications copy, cut, paste, undo or select, and Tembrel sends such keys "
                         "itself to copy your selection. Choose another shortcut; the previous one stays.");
}

std::optional<QString> applicationStandardName(const Hotkey& hotkey)
{
    const Named* entry = find(applicationStandard, hotkey);
    if (!entry)
        return std::nullopt;
    return QString::fromUtf8(entry->name);
}

QString message(const Hotkey& hotkey, const Findings& findings)
{
    if (findings.otherModeName)
        return QStringLiteral("Used by ") + *findings.otherModeName;
    if (isReserved(hotkey)) {
        if (const auto name = systemName(hotkey))
            return systemPrefix + *name;
        return QStringLiteral("This shortcut may conflict with a system shortcut");
    }
    if (findings.desktopUse)
        return QStringLiteral("Used by %1 for %2").arg(findings.desktopUse->desktop, findings.desktopUse->action);
    if (findings.heldByAnotherApplication)
        return QStringLiteral("Used by another application");
    if (const auto name = applicationStandardName(hotkey); name && warnsOfApplicationStandard)
        return QStringLiteral("Many applications use this shortcut for ") + *name;
    return {};
}

} // namespace HotkeyRecorderConflicts
