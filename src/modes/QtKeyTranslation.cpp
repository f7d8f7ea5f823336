#include "modes/QtKeyTranslation.h"

#include <QHash>

namespace QtKeyTranslation {
namespace {

struct KeyPair
{
    int qtKey;
    quint32 macKeyCode;
};

// Letters A to Z in Qt's order, as macOS codes them (the Mac numbers keys by position, not name).
constexpr quint32 letterCodes[26] = {0,  11, 8,  2, 14, 3,  5,  4,  34, 38, 40, 37, 46,
                                     45, 31, 35, 12, 15, 1, 17, 32, 9, 13, 7,  16, 6};
// Digits 0 to 9.
constexpr quint32 digitCodes[10] = {29, 18, 19, 20, 21, 23, 22, 26, 28, 25};
constexpr quint32 keypadDigitCodes[10] = {82, 83, 84, 85, 86, 87, 88, 89, 91, 92};

constexpr KeyPair otherKeys[] = {
    // Punctuation, and the symbols Shift gives on a US layout: X11 reports Shift+4 as "$", so the
    // recorder would otherwise never see Ctrl+Shift+4.
    {Qt::Key_Equal, 24},        {Qt::Key_Plus, 24},        {Qt::Key_Minus, 27},
    {Qt::Key_Underscore, 27},   {Qt::Key_BracketRight, 30}, {Qt::Key_BraceRight, 30},
    {Qt::Key_BracketLeft, 33},  {Qt::Key_BraceLeft, 33},   {Qt::Key_Apostrophe, 39},
    {Qt::Key_QuoteDbl, 39},     {Qt::Key_Semicolon, 41},   {Qt::Key_Colon, 41},
    {Qt::Key_Backslash, 42},    {Qt::Key_Bar, 42},         {Qt::Key_Comma, 43},
    {Qt::Key_Less, 43},         {Qt::Key_Slash, 44},       {Qt::Key_Question, 44},
    {Qt::Key_Period, 47},       {Qt::Key_Greater, 47},     {Qt::Key_QuoteLeft, 50},
    {Qt::Key_AsciiTilde, 50},   {Qt::Key_Exclam, 18},      {Qt::Key_At, 19},
    {Qt::Key_NumberSign, 20},   {Qt::Key_Dollar, 21},      {Qt::Key_Percent, 23},
    {Qt::Key_AsciiCircum, 22},  {Qt::Key_Ampersand, 26},   {Qt::Key_Asterisk, 28},
    {Qt::Key_ParenLeft, 25},    {Qt::Key_ParenRight, 29},
    // Editing and navigation.
    {Qt::Key_Return, 36},       {Qt::Key_Tab, 48},         {Qt::Key_Backtab, 48},
    {Qt::Key_Space, 49},        {Qt::Key_Backspace, 51},   {Qt::Key_Escape, 53},
    {Qt::Key_Home, 115},        {Qt::Key_PageUp, 116},     {Qt::Key_Delete, 117},
    {Qt::Key_End, 119},         {Qt::Key_PageDown, 121},   {Qt::Key_Left, 123},
    {Qt::Key_Right, 124},       {Qt::Key_Down, 125},       {Qt::Key_Up, 126},
    {Qt::Key_Enter, 76},
    // Function keys.
    {Qt::Key_F1, 122},  {Qt::Key_F2, 120},  {Qt::Key_F3, 99},   {Qt::Key_F4, 118},
    {Qt::Key_F5, 96},   {Qt::Key_F6, 97},   {Qt::Key_F7, 98},   {Qt::Key_F8, 100},
    {Qt::Key_F9, 101},  {Qt::Key_F10, 109}, {Qt::Key_F11, 103}, {Qt::Key_F12, 111},
    {Qt::Key_F13, 105}, {Qt::Key_F14, 107}, {Qt::Key_F15, 113}, {Qt::Key_F16, 106},
    {Qt::Key_F17, 64},  {Qt::Key_F18, 79},  {Qt::Key_F19, 80},  {Qt::Key_F20, 90},
};

constexpr KeyPair keypadKeys[] = {
    {Qt::Key_Period, 65}, {Qt::Key_Asterisk, 67}, {Qt::Key_Plus, 69}, {Qt::Key_Slash, 75},
    {Qt::Key_Enter, 76},  {Qt::Key_Minus, 78},    {Qt::Key_Equal, 81}, {Qt::Key_Clear, 71},
};

std::optional<quint32> lookUp(const KeyPair* begin, const KeyPair* end, int qtKey)
{
    for (const KeyPair* pair = begin; pair != end; ++pair) {
        if (pair->qtKey == qtKey)
            return pair->macKeyCode;
    }
    return std::nullopt;
}

} // namespace

std::optional<quint32> macKeyCode(int qtKey, bool keypad)
{
    if (keypad) {
        if (qtKey >= Qt::Key_0 && qtKey <= Qt::Key_9)
            return keypadDigitCodes[qtKey - Qt::Key_0];
        if (auto code = lookUp(std::begin(keypadKeys), std::end(keypadKeys), qtKey))
            return code;
    }
    if (qtKey >= Qt::Key_A && qtKey <= Qt::Key_Z)
        return letterCodes[qtKey - Qt::Key_A];
    if (qtKey >= Qt::Key_0 && qtKey <= Qt::Key_9)
        return digitCodes[qtKey - Qt::Key_0];
    return lookUp(std::begin(otherKeys), std::end(otherKeys), qtKey);
}

quint64 appKitModifiers(Qt::KeyboardModifiers modifiers)
{
    // Qt already calls Command "Ctrl" on the Mac, so one mapping serves every platform.
    quint64 bits = 0;
    if (modifiers & Qt::ControlModifier)
        bits |= 0x100000; // Command
    if (modifiers & Qt::MetaModifier)
        bits |= 0x40000; // Control
    if (modifiers & Qt::AltModifier)
        bits |= 0x80000; // Option
    if (modifiers & Qt::ShiftModifier)
        bits |= 0x20000; // Shift
    return bits;
}

Qt::KeyboardModifiers modifierOfKey(int qtKey)
{
    switch (qtKey) {
    case Qt::Key_Shift:
        return Qt::ShiftModifier;
    case Qt::Key_Control:
        return Qt::ControlModifier;
    case Qt::Key_Meta:
    case Qt::Key_Super_L:
    case Qt::Key_Super_R:
        return Qt::MetaModifier;
    case Qt::Key_Alt:
    case Qt::Key_AltGr:
        return Qt::AltModifier;
    default:
        return Qt::NoModifier;
    }
}

} // namespace QtKeyTranslation
