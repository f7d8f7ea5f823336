#include "platform/x11/X11Keyboards.h"

#include <QByteArray>

#include <X11/Xlib.h>
#include <X11/extensions/XInput.h>

namespace {

// Adds the keys held on one keyboard device to `keys`; false when its state could not be read.
bool addDeviceKeys(Display* display, XID id, X11Keyboards::Keymap& keys)
{
    XDevice* device = XOpenDevice(display, id);
    if (!device)
        return false;
    bool read = false;
    if (XDeviceState* state = XQueryDeviceState(display, device)) {
        auto* item = reinterpret_cast<char*>(state->data);
        for (int i = 0; i < state->num_classes; ++i) {
            const auto* inputClass = reinterpret_cast<XInputClass*>(item);
            if (inputClass->c_class == KeyClass) {
                const auto* keyState = reinterpret_cast<XKeyState*>(item);
                for (std::size_t byte = 0; byte < keys.size(); ++byte)
                    keys[byte] = char(keys[byte] | keyState->keys[byte]);
                read = true;
            }
            item += inputClass->length;
        }
        XFreeDeviceState(state);
    }
    XCloseDevice(display, device);
    return read;
}

} // namespace

X11Keyboards X11Keyboards::query(Display* display)
{
    X11Keyboards keyboards;
    XQueryKeymap(display, keyboards.core.data());

    int opcode = 0, event = 0, error = 0;
    int count = 0;
    XDeviceInfo* devices = XQueryExtension(display, "XInputExtension", &opcode, &event, &error)
        ? XListInputDevices(display, &count)
        : nullptr;
    bool xtestRead = false;
    for (int i = 0; i < count; ++i) {
        if (devices[i].use != IsXExtensionKeyboard)
            continue;
        // The server names each master's synthetic keyboard "<master> XTEST keyboard".
        const bool isXTest = QByteArray(devices[i].name).endsWith(" XTEST keyboard");
        if (addDeviceKeys(display, devices[i].id, isXTest ? keyboards.xtest : keyboards.physical) && isXTest)
            xtestRead = true;
    }
    if (devices)
        XFreeDeviceList(devices);
    keyboards.devicesKnown = xtestRead;
    if (!xtestRead) {
        keyboards.physical = {};
        keyboards.xtest = keyboards.core;
    }
    return keyboards;
}

bool X11Keyboards::isDown(const Keymap& keys, unsigned char keycode)
{
    return keys[keycode / 8] & (1 << (keycode % 8));
}

QList<unsigned char> X11Keyboards::modifierKeycodes(Display* display)
{
    QList<unsigned char> keycodes;
    XModifierKeymap* map = XGetModifierMapping(display);
    if (!map)
        return keycodes;
    for (int modifier : {ShiftMapIndex, ControlMapIndex, Mod1MapIndex, Mod4MapIndex, Mod5MapIndex}) {
        for (int k = 0; k < map->max_keypermod; ++k) {
            const KeyCode keycode = map->modifiermap[modifier * map->max_keypermod + k];
            if (keycode != 0 && !keycodes.contains(keycode))
                keycodes << keycode;
        }
    }
    XFreeModifiermap(map);
    return keycodes;
}
