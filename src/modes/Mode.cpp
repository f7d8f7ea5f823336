#include "modes/Mode.h"

#include "core/StoredJson.h"
#include "modes/BuiltInPrompts.h"

#include <QJsonDocument>
#include <QJsonParseError>

namespace {

const QString idKey = QStringLiteral("id");
const QString nameKey = QStringLiteral("name");
const QString descriptionKey = QStringLiteral("description");
const QString promptKey = QStringLiteral("prompt");
const QString hotkeyKey = QStringLiteral("hotkey");
const QString isEnabledKey = QStringLiteral("isEnabled");
const QString isBuiltInKey = QStringLiteral("isBuiltIn");
const QString isDefaultKey = QStringLiteral("isDefault");
const QString defaultPromptKey = QStringLiteral("defaultPrompt");

using Kind = ModeDecodeError::Kind;

std::variant<Mode, ModeDecodeError> decodeMode(const QJsonObject& object, qsizetype index)
{
    const auto missing = [&](const QString& key) { return ModeDecodeError{Kind::missingKey, index, key, {}}; };
    const auto wrong = [&](const QString& key) { return ModeDecodeError{Kind::wrongType, index, key, {}}; };

    Mode mode;
    for (const QString& key : {idKey, nameKey, descriptionKey, promptKey}) {
        const QJsonValue value = object.value(key);
        if (StoredJson::isAbsent(value))
            return missing(key);
        if (!value.isString())
            return wrong(key);
    }
    const std::optional<QUuid> id = StoredJson::uuid(object.value(idKey));
    if (!id)
        return wrong(idKey);
    mode.id = *id;
    mode.name = object.value(nameKey).toString();
    mode.description = object.value(descriptionKey).toString();
    mode.prompt = object.value(promptKey).toString();

    for (const QString& key : {isEnabledKey, isBuiltInKey, isDefaultKey}) {
        const QJsonValue value = object.value(key);
        if (StoredJson::isAbsent(value))
            return missing(key);
        if (!value.isBool())
            return wrong(key);
    }
    mode.isEnabled = object.value(isEnabledKey).toBool();
    mode.isBuiltIn = object.value(isBuiltInKey).toBool();
    mode.isDefault = object.value(isDefaultKey).toBool();

    const QJsonValue hotkey = object.value(hotkeyKey);
    if (!StoredJson::isAbsent(hotkey)) {
        mode.hotkey = Hotkey::fromJson(hotkey);
        if (!mode.hotkey)
            return wrong(hotkeyKey);
    }
    const QJsonValue defaultPrompt = object.value(defaultPromptKey);
    if (defaultPrompt.isString())
        mode.defaultPrompt = defaultPrompt.toString();
    else if (!StoredJson::isAbsent(defaultPrompt))
        return wrong(defaultPromptKey);
    return mode;
}

Mode builtIn(int number, const QString& name, const QString& description, const QString& prompt,
             quint32 keyCode, bool isEnabled)
{
    return Mode{ModeCatalogue::builtInId(number), name, description, prompt, Hotkey::commandShift(keyCode),
                isEnabled, true, number == 1, prompt};
}

} // namespace

QString storedUuidString(const QUuid& id)
{
    return StoredJson::uuidString(id);
}

QString Mode::idString() const
{
    return storedUuidString(id);
}

QJsonObject Mode::toJson() const
{
    QJsonObject object{{idKey, idString()},
                       {nameKey, name},
                       {descriptionKey, description},
                       {promptKey, prompt},
                       {isEnabledKey, isEnabled},
                       {isBuiltInKey, isBuiltIn},
                       {isDefaultKey, isDefault}};
    if (hotkey)
        object.insert(hotkeyKey, hotkey->toJson());
    StoredJson::insertIfPresent(object, defaultPromptKey, defaultPrompt);
    return object;
}

QString ModeDecodeError::description() const
{
    using StoredJson::RecordFault;
    const QString record = QStringLiteral("mode at index ") + QString::number(index);
    switch (kind) {
    case Kind::notJson:
        return QStringLiteral("The stored modes are not valid JSON (") + parserMessage + QLatin1Char(')');
    case Kind::notArray:
        return QStringLiteral("The stored modes are not a JSON array");
    case Kind::notObject:
        return StoredJson::describe(RecordFault::notObject, record, key);
    case Kind::missingKey:
        return StoredJson::describe(RecordFault::missingKey, record, key);
    case Kind::wrongType:
        return StoredJson::describe(RecordFault::wrongType, record, key);
    }
    return {};
}

QUuid ModeCatalogue::builtInId(int number)
{
    return QUuid(QStringLiteral("00000000-0000-0000-0000-%1").arg(number, 12, 10, QLatin1Char('0')));
}

QList<Mode> ModeCatalogue::defaultModes()
{
    return {
        builtIn(1, QStringLiteral("Tembrel"), QStringLiteral("Fix typos and grammar while preserving your voice."),
                BuiltInPrompts::proofreadPrompt(), 1, true),
        builtIn(2, QStringLiteral("Professional"), QStringLiteral("Polish your writing for the workplace."),
                BuiltInPrompts::professionalPrompt(), 35, false),
        builtIn(3, QStringLiteral("Casual"), QStringLiteral("Keep it conversational while preserving lowercase."),
                BuiltInPrompts::casualPrompt(), 37, false),
        builtIn(4, QStringLiteral("Concise"), QStringLiteral("Tighten your writing."),
                BuiltInPrompts::concisePrompt(), 11, false),
    };
}

QByteArray ModeCatalogue::encode(const QList<Mode>& modes)
{
    QJsonArray array;
    for (const Mode& mode : modes)
        array.append(mode.toJson());
    return QJsonDocument(array).toJson(QJsonDocument::Compact);
}

std::variant<QList<Mode>, ModeDecodeError> ModeCatalogue::decode(const QByteArray& data)
{
    QJsonParseError parseError;
    const QJsonDocument document = QJsonDocument::fromJson(data, &parseError);
    if (parseError.error != QJsonParseError::NoError)
        return ModeDecodeError{Kind::notJson, -1, {}, parseError.errorString() + QStringLiteral(" at offset ")
                                   + QString::number(parseError.offset)};
    if (!document.isArray())
        return ModeDecodeError{Kind::notArray, -1, {}, {}};
    QList<Mode> modes;
    const QJsonArray array = document.array();
    for (qsizetype i = 0; i < array.size(); ++i) {
        if (!array.at(i).isObject())
            return ModeDecodeError{Kind::notObject, i, {}, {}};
        auto decoded = decodeMode(array.at(i).toObject(), i);
        if (auto* error = std::get_if<ModeDecodeError>(&decoded))
            return *error;
        modes.append(std::get<Mode>(std::move(decoded)));
    }
    return modes;
}
