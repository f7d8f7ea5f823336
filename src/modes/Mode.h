#pragma once
#include "modes/Hotkey.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QList>
#include <QString>
#include <QUuid>
#include <optional>
#include <variant>

/// One named way of transforming the selected text: its prompt, optional shortcut and flags.
struct Mode
{
    Q_GADGET
    Q_PROPERTY(QString id READ idString)
    Q_PROPERTY(QString name MEMBER name)
    Q_PROPERTY(QString description MEMBER description)
    Q_PROPERTY(QString prompt MEMBER prompt)
    Q_PROPERTY(bool hasHotkey READ hasHotkey)
    Q_PROPERTY(Hotkey hotkey READ hotkeyOrNone)
    Q_PROPERTY(bool isEnabled MEMBER isEnabled)
    Q_PROPERTY(bool isBuiltIn MEMBER isBuiltIn)
    Q_PROPERTY(bool isDefault MEMBER isDefault)
    Q_PROPERTY(bool hasDefaultPrompt READ hasDefaultPrompt)
    Q_PROPERTY(QString defaultPrompt READ defaultPromptOrEmpty)

public:
    QUuid id;
    QString name;
    QString description;
    QString prompt;
    std::optional<Hotkey> hotkey;
    bool isEnabled = false;
    bool isBuiltIn = false;
    bool isDefault = false;
    std::optional<QString> defaultPrompt;

    bool operator==(const Mode&) const = default;

    /// The id as stored: upper-case hyphenated, the form the macOS build writes.
    [[nodiscard]] QString idString() const;
    [[nodiscard]] bool hasHotkey() const { return hotkey.has_value(); }
    [[nodiscard]] Hotkey hotkeyOrNone() const { return hotkey.value_or(Hotkey{}); }
    [[nodiscard]] bool hasDefaultPrompt() const { return defaultPrompt.has_value(); }
    [[nodiscard]] QString defaultPromptOrEmpty() const { return defaultPrompt.value_or(QString()); }

    /// The stored object; "hotkey" and "defaultPrompt" only when present.
    [[nodiscard]] QJsonObject toJson() const;
};

/// Why a stored catalogue could not be read.
struct ModeDecodeError
{
    enum class Kind { notJson, notArray, notObject, missingKey, wrongType };
    Kind kind;
    qsizetype index = -1;
    QString key;
    QString parserMessage;

    [[nodiscard]] QString description() const;
};

/// The id string of a UUID as both builds store it (upper-case, hyphenated, no braces).
[[nodiscard]] QString storedUuidString(const QUuid& id);

namespace ModeCatalogue {
/// Fixed ids of the four built-in modes, 1 to 4.
[[nodiscard]] QUuid builtInId(int number);
/// The shipped catalogue in its order: Tembrel, Professional, Casual, Concise.
[[nodiscard]] QList<Mode> defaultModes();
/// The catalogue as stored under "modes": a UTF-8 JSON array.
[[nodiscard]] QByteArray encode(const QList<Mode>& modes);
/// The whole catalogue, or the first reason it cannot be read; one bad entry fails all of it.
[[nodiscard]] std::variant<QList<Mode>, ModeDecodeError> decode(const QByteArray& data);
} // namespace ModeCatalogue
