// How a shortcut reads to the user. The macOS form (symbols, "⌘⇧S") and the form Linux and Windows
// users expect ("Ctrl+Shift+S") are kept side by side here so the two stay in step.
#include "modes/Hotkey.h"

#include <QHash>
#include <QStringList>

namespace {

struct KeyName
{
    quint32 keyCode;
    const char16_t* mac;
    const char16_t* portable; // null: same as the macOS name
};

// macOS virtual key codes. Keys the Mac shows as a symbol get the word Qt uses on other platforms.
constexpr KeyName keyNames[] = {
    {0, u"A", nullptr},       {1, u"S", nullptr},       {2, u"D", nullptr},
    {3, u"F", nullptr},       {4, u"H", nullptr},       {5, u"G", nullptr},
    {6, u"Z", nullptr},       {7, u"X", nullptr},       {8, u"C", nullptr},
    {9, u"V", nullptr},       {11, u"B", nullptr},      {12, u"Q", nullptr},
    {13, u"W", nullptr},      {14, u"E", nullptr},      {15, u"R", nullptr},
    {16, u"Y", nullptr},      {17, u"T", nullptr},      {18, u"1", nullptr},
    {19, u"2", nullptr},      {20, u"3", nullptr},      {21, u"4", nullptr},
    {22, u"6", nullptr},      {23, u"5", nullptr},      {24, u"=", nullptr},
    {25, u"9", nullptr},      {26, u"7", nullptr},      {27, u"-", nullptr},
    {28, u"8", nullptr},      {29, u"0", nullptr},      {30, u"]", nullptr},
    {31, u"O", nullptr},      {32, u"U", nullptr},      {33, u"[", nullptr},
    {34, u"I", nullptr},      {35, u"P", nullptr},      {36, u"\u21A9", u"Return"},
    {37, u"L", nullptr},      {38, u"J", nullptr},      {39, u"'", nullptr},
    {40, u"K", nullptr},      {41, u";", nullptr},      {42, u"\\", nullptr},
    {43, u",", nullptr},      {44, u"/", nullptr},      {45, u"N", nullptr},
    {46, u"M", nullptr},      {47, u".", nullptr},      {48, u"\u21E5", u"Tab"},
    {49, u"Space", nullptr},  {50, u"`", nullptr},      {51, u"\u232B", u"Backspace"},
    {53, u"\u238B", u"Esc"},  {64, u"F17", nullptr},    {65, u"Keypad .", nullptr},
    {67, u"Keypad *", nullptr}, {69, u"Keypad +", nullptr}, {71, u"Keypad Clear", nullptr},
    {75, u"Keypad /", nullptr}, {76, u"Keypad \u21A9", u"Keypad Enter"}, {78, u"Keypad -", nullptr},
    {79, u"F18", nullptr},    {80, u"F19", nullptr},    {81, u"Keypad =", nullptr},
    {82, u"Keypad 0", nullptr}, {83, u"Keypad 1", nullptr}, {84, u"Keypad 2", nullptr},
    {85, u"Keypad 3", nullptr}, {86, u"Keypad 4", nullptr}, {87, u"Keypad 5", nullptr},
    {88, u"Keypad 6", nullptr}, {89, u"Keypad 7", nullptr}, {90, u"F20", nullptr},
    {91, u"Keypad 8", nullptr}, {92, u"Keypad 9", nullptr}, {96, u"F5", nullptr},
    {97, u"F6", nullptr},     {98, u"F7", nullptr},     {99, u"F3", nullptr},
    {100, u"F8", nullptr},    {101, u"F9", nullptr},    {103, u"F11", nullptr},
    {105, u"F13", nullptr},   {106, u"F16", nullptr},   {107, u"F14", nullptr},
    {109, u"F10", nullptr},   {111, u"F12", nullptr},   {113, u"F15", nullptr},
    {115, u"\u2196", u"Home"}, {116, u"\u21DE", u"PgUp"}, {117, u"\u2326", u"Del"},
    {118, u"F4", nullptr},    {119, u"\u2198", u"End"}, {120, u"F2", nullptr},
    {121, u"\u21DF", u"PgDown"}, {122, u"F1", nullptr}, {123, u"\u2190", u"Left"},
    {124, u"\u2192", u"Right"}, {125, u"\u2193", u"Down"}, {126, u"\u2191", u"Up"},
};

const KeyName* findKey(quint32 keyCode)
{
    static const QHash<quint32, const KeyName*> index = [] {
        QHash<quint32, const KeyName*> byCode;
        for (const KeyName& key : keyNames)
            byCode.insert(key.keyCode, &key);
        return byCode;
    }();
    return index.value(keyCode, nullptr);
}

QString unnamedKey(quint32 keyCode)
{
    return QStringLiteral("Key ") + QString::number(keyCode);
}

#ifdef Q_OS_MACOS
constexpr bool showsMacForm = true;
#else
constexpr bool showsMacForm = false;
#endif

} // namespace

QString Hotkey::modifierSymbols() const
{
    QString symbols;
    if (hasControl())
        symbols += QChar(0x2303);
    if (hasOption())
        symbols += QChar(0x2325);
    if (hasShift())
        symbols += QChar(0x21E7);
    if (hasCommand())
        symbols += QChar(0x2318);
    return symbols;
}

QString Hotkey::keyName() const
{
    const KeyName* key = findKey(keyCode);
    return key ? QString::fromUtf16(key->mac) : unnamedKey(keyCode);
}

QString Hotkey::displayString() const
{
    return modifierSymbols() + keyName();
}

QString Hotkey::portableDisplayString() const
{
    // Qt's order on these platforms (Meta, Ctrl, Alt, Shift), so the text matches what a
    // QKeySequence would show for the same keys.
    QStringList parts;
    if (hasControl())
        parts << QStringLiteral("Super");
    if (hasCommand())
        parts << QStringLiteral("Ctrl");
    if (hasOption())
        parts << QStringLiteral("Alt");
    if (hasShift())
        parts << QStringLiteral("Shift");
    const KeyName* key = findKey(keyCode);
    if (!key)
        parts << unnamedKey(keyCode);
    else
        parts << QString::fromUtf16(key->portable ? key->portable : key->mac);
    return parts.join(QLatin1Char('+'));
}

QString Hotkey::platformDisplayString() const
{
    return showsMacForm ? displayString() : portableDisplayString();
}
