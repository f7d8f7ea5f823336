#include "core/StoredJson.h"

QString StoredJson::uuidString(const QUuid& id)
{
    return id.toString(QUuid::WithoutBraces).toUpper();
}

std::optional<QUuid> StoredJson::uuid(const QJsonValue& value)
{
    if (!value.isString())
        return std::nullopt;
    const QString text = value.toString();
    const QUuid id = QUuid::fromString(text);
    // fromString gives the null id for text it cannot read: the all-zero id is told apart by its text.
    if (id.isNull() && text != uuidString(QUuid()))
        return std::nullopt;
    return id;
}

bool StoredJson::isAbsent(const QJsonValue& value)
{
    return value.isUndefined() || value.isNull();
}

QString StoredJson::describe(RecordFault fault, const QString& record, const QString& key)
{
    const QString subject = QStringLiteral("The ") + record;
    switch (fault) {
    case RecordFault::notObject:
        return subject + QStringLiteral(" is not a JSON object");
    case RecordFault::missingKey:
        return subject + QStringLiteral(" has no value for key \"") + key + QLatin1Char('"');
    case RecordFault::wrongType:
        return subject + QStringLiteral(" has a value of the wrong type for key \"") + key + QLatin1Char('"');
    }
    return {};
}
