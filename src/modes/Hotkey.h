#pragma once
#include <QJsonObject>
#include <QMetaType>
#include <QString>
#include <QUuid>
#include <optional>

/// One global shortcut in its stored form: a macOS virtual key code and AppKit modifier-flag bits,
/// so a stored catalogue means the same on every platform. Native keys are the platform layer's.
struct Hotkey
{
    Q_GADGET
    Q_PROPERTY(quint32 keyCode MEMBER keyCode)
    Q_PROPERTY(quint64 modifierFlagsRawValue MEMBER modifierFlagsRawValue)
    Q_PROPERTY(QString displayString READ displayString)
    Q_PROPERTY(QString platformDisplayString READ platformDisplayString)

public:
    // AppKit modifier-flag bits.
    static constexpr quint64 controlFlag = 0x40000;
    static constexpr quint64 optionFlag = 0x80000;
    static constexpr quint64 shiftFlag = 0x20000;
    static constexpr quint64 commandFlag = 0x100000;

    // Carbon modifiers used when registering with the system.
    static constexpr quint32 carbonControlKey = 0x1000;
    static constexpr quint32 carbonOptionKey = 0x800;
    static constexpr quint32 carbonShiftKey = 0x200;
    static constexpr quint32 carbonCmdKey = 0x100;

    quint32 keyCode = 0;
    quint64 modifierFlagsRawValue = 0;

    bool operator==(const Hotkey&) const = default;

    /// Command+Shift+S, the primary mode's shortcut and the settings' default hotkey.
    [[nodiscard]] static Hotkey commandShift(quint32 keyCode) { return {keyCode, commandFlag | shiftFlag}; }

    [[nodiscard]] bool hasControl() const { return modifierFlagsRawValue & controlFlag; }
    [[nodiscard]] bool hasOption() const { return modifierFlagsRawValue & optionFlag; }
    [[nodiscard]] bool hasShift() const { return modifierFlagsRawValue & shiftFlag; }
    [[nodiscard]] bool hasCommand() const { return modifierFlagsRawValue & commandFlag; }

    /// "⌃⌥⇧⌘" for the modifiers present, always in that order.
    [[nodiscard]] QString modifierSymbols() const;
    /// The key's name ("S", "Space", "↩", "F5"), or "Key <code>" for a code without a name.
    [[nodiscard]] QString keyName() const;
    /// The macOS form: modifier symbols then the key name ("⇧⌘S").
    [[nodiscard]] QString displayString() const;
    /// The Linux and Windows form: "Ctrl+Shift+S" (Command shows as Ctrl, Control as Super, Option as Alt).
    [[nodiscard]] QString portableDisplayString() const;
    /// The form this build shows to its user.
    [[nodiscard]] QString platformDisplayString() const;
    /// Sum of the Carbon modifiers of the modifiers present (Command+Shift gives 0x300).
    [[nodiscard]] quint32 carbonModifiers() const;

    /// {"keyCode", "modifierFlagsRawValue"}.
    [[nodiscard]] QJsonObject toJson() const;
    /// Both keys required, each a non-negative integer in range; anything else gives nothing.
    [[nodiscard]] static std::optional<Hotkey> fromJson(const QJsonValue& value);
};

size_t qHash(const Hotkey& hotkey, size_t seed = 0) noexcept;

/// What the shortcut registration needs of one mode; the app compares lists of these to decide
/// whether shortcuts must be registered again.
struct HotkeyConfig
{
    QUuid id;
    bool isEnabled = false;
    std::optional<Hotkey> hotkey;

    bool operator==(const HotkeyConfig&) const = default;
};

Q_DECLARE_METATYPE(Hotkey)
