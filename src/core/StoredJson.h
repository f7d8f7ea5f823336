#pragma once
#include <QJsonObject>
#include <QJsonValue>
#include <QString>
#include <QUuid>
#include <optional>

/// How the stores write and read their JSON records (history entries, modes): ids, optional fields
/// and the wording for a record that cannot be read, kept in one place so that the stores agree.
namespace StoredJson {
/// A UUID as stored: upper-case, hyphenated, without braces.
[[nodiscard]] QString uuidString(const QUuid& id);
/// The UUID a stored text names, or none when the value is not one; the all-zero id is one.
[[nodiscard]] std::optional<QUuid> uuid(const QJsonValue& value);
/// Absent and null both mean "no value".
[[nodiscard]] bool isAbsent(const QJsonValue& value);

/// Adds the key only when the value is present: an absent optional leaves no key, never a null.
template<typename T>
void insertIfPresent(QJsonObject& object, const QString& key, const std::optional<T>& value)
{
    if (value)
        object.insert(key, *value);
}

/// Why one record of a stored list could not be read.
enum class RecordFault { notObject, missingKey, wrongType };
/// "The <record> is not a JSON object" and its kin; `record` names it, e.g. "entry 3".
[[nodiscard]] QString describe(RecordFault fault, const QString& record, const QString& key);
} // namespace StoredJson
