#include "platform/x11/MacKeyTable.h"

#include <X11/X.h>
#include <X11/keysym.h>

#include <array>
#include <utility>

namespace {

// Every key of the shortcut name table that exists on a PC keyboard. The layout is the US one
// macOS key codes are named after; X resolves keysyms to keycodes for the user's own layout.
constexpr std::array<std::pair<quint16, quint32>, 99> keyTable{{
    {0, XK_a}, {1, XK_s}, {2, XK_d}, {3, XK_f}, {4, XK_h}, {5, XK_g}, {6, XK_z}, {7, XK_x}, {8, XK_c},
    {9, XK_v}, {11, XK_b}, {12, XK_q}, {13, XK_w}, {14, XK_e}, {15, XK_r}, {16, XK_y}, {17, XK_t},
    {18, XK_1}, {19, XK_2}, {20, XK_3}, {21, XK_4}, {22, XK_6}, {23, XK_5}, {24, XK_equal}, {25, XK_9},
    {26, XK_7}, {27, XK_minus}, {28, XK_8}, {29, XK_0}, {30, XK_bracketright}, {31, XK_o}, {32, XK_u},
    {33, XK_bracketleft}, {34, XK_i}, {35, XK_p}, {36, XK_Return}, {37, XK_l}, {38, XK_j},
    {39, XK_apostrophe}, {40, XK_k}, {41, XK_semicolon}, {42, XK_backslash}, {43, XK_comma},
    {44, XK_slash}, {45, XK_n}, {46, XK_m}, {47, XK_period}, {48, XK_Tab}, {49, XK_space},
    {50, XK_grave}, {51, XK_BackSpace}, {53, XK_Escape}, {64, XK_F17}, {65, XK_KP_Decimal},
    {67, XK_KP_Multiply}, {69, XK_KP_Add}, {71, XK_Num_Lock}, {75, XK_KP_Divide}, {76, XK_KP_Enter},
    {78, XK_KP_Subtract}, {79, XK_F18}, {80, XK_F19}, {81, XK_KP_Equal}, {82, XK_KP_0}, {83, XK_KP_1},
    {84, XK_KP_2}, {85, XK_KP_3}, {86, XK_KP_4}, {87, XK_KP_5}, {88, XK_KP_6}, {89, XK_KP_7},
    {90, XK_F20}, {91, XK_KP_8}, {92, XK_KP_9}, {96, XK_F5}, {97, XK_F6}, {98, XK_F7}, {99, XK_F3},
    {100, XK_F8}, {101, XK_F9}, {103, XK_F11}, {105, XK_F13}, {106, XK_F16}, {107, XK_F14},
    {109, XK_F10}, {111, XK_F12}, {113, XK_F15}, {115, XK_Home}, {116, XK_Prior}, {117, XK_Delete},
    {118, XK_F4}, {119, XK_End}, {120, XK_F2}, {121, XK_Next}, {122, XK_F1}, {123, XK_Left},
    {124, XK_Right}, {125, XK_Down}, {126, XK_Up},
}};

constexpr quint64 controlBit = 0x40000;
constexpr quint64 optionBit = 0x80000;
constexpr quint64 shiftBit = 0x20000;
constexpr quint64 commandBit = 0x100000;

} // namespace

quint32 MacKeyTable::keysymForMacKeyCode(quint16 keyCode)
{
    for (const auto& [mac, keysym] : keyTable) {
        if (mac == keyCode)
            return keysym;
    }
    return 0;
}

int MacKeyTable::macKeyCodeForKeysym(quint32 keysym)
{
    // Shortcuts are recorded without Shift changing the letter: "S" and "s" are one key.
    if (keysym >= XK_A && keysym <= XK_Z)
        keysym += XK_a - XK_A;
    for (const auto& [mac, sym] : keyTable) {
        if (sym == keysym)
            return mac;
    }
    return -1;
}

quint16 MacKeyTable::x11ModifiersForAppKit(quint64 modifierFlags)
{
    quint16 mask = 0;
    if (modifierFlags & commandBit)
        mask |= ControlMask;
    if (modifierFlags & controlBit)
        mask |= Mod4Mask;
    if (modifierFlags & optionBit)
        mask |= Mod1Mask;
    if (modifierFlags & shiftBit)
        mask |= ShiftMask;
    return mask;
}
