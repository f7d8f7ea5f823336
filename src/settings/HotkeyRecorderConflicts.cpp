// The shortcuts the system keeps for itself. On Linux they are the same keys with Ctrl for
// Command, and the warning names the system rather than macOS; both forms are kept here.
#include "settings/HotkeyRecorderConflicts.h"

namespace HotkeyRecorderConflicts {
namespace {

constexpr quint64 command = Hotkey::commandFlag;
constexpr quint64 commandShift = Hotkey::commandFlag | Hotkey::shiftFlag;

struct Reserved
{
    quint32 keyCode;
    quint64 modifiers;
};

constexpr Reserved reserved[] = {
    {8, command},  {9, command},  {7, command},  {6, command},  {0, command},  {1, command},
    {12, command}, {13, command}, {45, command}, {31, command}, {35, command}, {3, command},
    {4, command},  {46, command}, {48, command}, {49, command}, {43, command},
    {6, commandShift}, {20, commandShift}, {21, commandShift}, {23, commandShift},
};

struct Named
{
    quint32 keyCode;
    quint64 modifiers;
    const char* mac;
    const char* portable; // null: the same words
};

// Searched in this order.
constexpr Named named[] = {
    {8, command, "Copy", nullptr},
    {9, command, "Paste", nullptr},
    {7, command, "Cut", nullptr},
    {6, command, "Undo", nullptr},
    {0, command, "Select All", nullptr},
    {1, command, "Save", nullptr},
    {12, command, "Quit", nullptr},
    {13, command, "Close Window", nullptr},
    {48, command, "App Switcher", nullptr},
    {49, command, "Spotlight", "Search"},
    {20, commandShift, "Screenshot", nullptr},
    {21, commandShift, "Screenshot Selection", nullptr},
    {23, commandShift, "Screenshot Options", nullptr},
};

#ifdef Q_OS_MACOS
constexpr bool macTexts = true;
const QString usedByPrefix = QStringLiteral("This shortcut is used by macOS for ");
#else
constexpr bool macTexts = false;
const QString usedByPrefix = QStringLiteral("This shortcut is used by the system for ");
#endif

} // namespace

bool isReserved(const Hotkey& hotkey)
{
    for (const Reserved& entry : reserved) {
        if (entry.keyCode == hotkey.keyCode && entry.modifiers == hotkey.modifierFlagsRawValue)
            return true;
    }
    return false;
}

std::optional<QString> systemName(const Hotkey& hotkey)
{
    for (const Named& entry : named) {
        if (entry.keyCode == hotkey.keyCode && entry.modifiers == hotkey.modifierFlagsRawValue)
            return QString::fromUtf8(macTexts || !entry.portable ? entry.mac : entry.portable);
    }
    return std::nullopt;
}

bool isSentByTembrel(const Hotkey& hotkey)
{
    // C, X, V, Z and A with Ctrl (Command); C with Ctrl+Shift is how terminals are asked to copy.
    static constexpr Reserved chords[] = {
        {8, command}, {7, command}, {9, command}, {6, command}, {0, command}, {8, commandShift},
    };
    for (const Reserved& chord : chords) {
        if (chord.keyCode == hotkey.keyCode && chord.modifiers == hotkey.modifierFlagsRawValue)
            return true;
    }
    return false;
}

QString refusal(const Hotkey& hotkey)
{
    return hotkey.platformDisplayString()
        + QStringLiteral(" is how applications copy, cut, paste, undo or select, and Tembrel sends such keys "
                         "itself to copy your selection. Choose another shortcut; the previous one stays.");
}

QString message(const Hotkey& hotkey, const std::optional<QString>& otherModeName)
{
    if (otherModeName)
        return QStringLiteral("Used by ") + *otherModeName;
    if (!isReserved(hotkey))
        return {};
    if (const auto name = systemName(hotkey))
        return usedByPrefix + *name;
    return QStringLiteral("This shortcut may conflict with a system shortcut");
}

} // namespace HotkeyRecorderConflicts
