#include "history/FixHistoryEntry.h"

#include "core/StoredJson.h"
#include "history/RelativeDate.h"

#include <QJsonArray>
#include <cmath>

namespace {
using Kind = HistoryDecodeError::Kind;

const QString idKey = QStringLiteral("id");
const QString timestampKey = QStringLiteral("timestamp");
const QString originalTextKey = QStringLiteral("originalText");
const QString fixedTextKey = QStringLiteral("fixedText");
const QString editCountKey = QStringLiteral("editCount");
const QString sourceAppKey = QStringLiteral("sourceApp");
const QString traceKey = QStringLiteral("trace");
const QString traceIdKey = QStringLiteral("traceId");
const QString originalHTMLKey = QStringLiteral("originalHTML");
const QString fixedHTMLKey = QStringLiteral("fixedHTML");
const QString sourceFormatKey = QStringLiteral("sourceFormat");
const QString modeNameKey = QStringLiteral("modeName");

using StoredJson::isAbsent;

std::optional<qint64> wholeNumber(const QJsonValue& value)
{
    if (!value.isDouble())
        return std::nullopt;
    const double number = value.toDouble();
    if (number != std::floor(number) || std::fabs(number) > 9.2e18)
        return std::nullopt;
    return value.toInteger(qint64(number));
}

// An optional text field: absent and null both mean "no value"; any other type fails the entry.
bool readOptionalText(const QJsonObject& object, const QString& key, std::optional<QString>& out)
{
    const QJsonValue value = object.value(key);
    if (isAbsent(value))
        return true;
    if (!value.isString())
        return false;
    out = value.toString();
    return true;
}
} // namespace

std::optional<QString> FixHistoryEntry::sourceFormatName(std::optional<SourceFormat> format)
{
    if (!format)
        return std::nullopt;
    switch (*format) {
    case SourceFormat::plainText:
        return QStringLiteral("plainText");
    case SourceFormat::html:
        return QStringLiteral("html");
    case SourceFormat::rtf:
        return QStringLiteral("rtf");
    }
    return std::nullopt;
}

FixResult FixHistoryEntry::result() const
{
    FixResult result{originalText, fixedText, editCount, std::nullopt, std::nullopt, std::nullopt};
    if (!originalHTML || !fixedHTML)
        return result;
    result.originalHTML = originalHTML;
    result.fixedHTML = fixedHTML;
    // Deliberately plain text, not "no format", when HTML is present but the format is not: the
    // entry was written before the format was recorded, and plain text displays it safely.
    if (sourceFormat == QLatin1String("html"))
        result.sourceFormat = SourceFormat::html;
    else if (sourceFormat == QLatin1String("rtf"))
        result.sourceFormat = SourceFormat::rtf;
    else
        result.sourceFormat = SourceFormat::plainText;
    return result;
}

QString FixHistoryEntry::subtitle(const QDateTime& now) const
{
    const QString relative = RelativeDate::abbreviated(timestamp, now);
    if (!sourceApp)
        return relative;
    return *sourceApp + QStringLiteral(" \u00B7 ") + relative;
}

bool FixHistoryEntry::matches(const QString& lowerCaseQuery) const
{
    // Compared in place: lower-casing copies of every entry made each keystroke of a search cost
    // as much as the whole history's text.
    return originalText.contains(lowerCaseQuery, Qt::CaseInsensitive) || fixedText.contains(lowerCaseQuery, Qt::CaseInsensitive);
}

QJsonObject FixHistoryEntry::toJson() const
{
    using StoredJson::insertIfPresent;
    QJsonObject object{{idKey, StoredJson::uuidString(id)},
                       {timestampKey, StoredDate::toSeconds(timestamp)},
                       {originalTextKey, originalText},
                       {fixedTextKey, fixedText}};
    insertIfPresent(object, editCountKey, editCount);
    insertIfPresent(object, sourceAppKey, sourceApp);
    if (trace) {
        QJsonArray events;
        for (const TraceEvent& event : *trace)
            events.append(event.toJson());
        object.insert(traceKey, events);
    }
    insertIfPresent(object, traceIdKey, traceId);
    insertIfPresent(object, originalHTMLKey, originalHTML);
    insertIfPresent(object, fixedHTMLKey, fixedHTML);
    insertIfPresent(object, sourceFormatKey, sourceFormat);
    insertIfPresent(object, modeNameKey, modeName);
    return object;
}

QString HistoryDecodeError::description() const
{
    using StoredJson::RecordFault;
    const QString record = QStringLiteral("entry ") + QString::number(index);
    switch (kind) {
    case Kind::unreadable:
        return QStringLiteral("The file could not be read (") + detail + QLatin1Char(')');
    case Kind::notJson:
        return QStringLiteral("The file is not valid JSON (") + detail + QLatin1Char(')');
    case Kind::notArray:
        return QStringLiteral("The file does not hold a JSON array");
    case Kind::notObject:
        return StoredJson::describe(RecordFault::notObject, record, key);
    case Kind::missingKey:
        return StoredJson::describe(RecordFault::missingKey, record, key);
    case Kind::wrongType:
        return StoredJson::describe(RecordFault::wrongType, record, key);
    }
    return {};
}

const QStringList& HistoryJson::keyOrder()
{
    // Trace event keys sit after "timestamp" so that both an entry and an event come out in
    // their field order from one list.
    static const QStringList order{idKey,         timestampKey,    QStringLiteral("event"), QStringLiteral("detail"),
                                   originalTextKey, fixedTextKey,  editCountKey,            sourceAppKey,
                                   traceKey,      traceIdKey,      originalHTMLKey,         fixedHTMLKey,
                                   sourceFormatKey, modeNameKey};
    return order;
}

std::variant<FixHistoryEntry, HistoryDecodeError> HistoryJson::decodeEntry(const QJsonValue& value, qsizetype index)
{
    if (!value.isObject())
        return HistoryDecodeError{Kind::notObject, index, {}, {}};
    const QJsonObject object = value.toObject();
    const auto missing = [&](const QString& key) { return HistoryDecodeError{Kind::missingKey, index, key, {}}; };
    const auto wrong = [&](const QString& key) { return HistoryDecodeError{Kind::wrongType, index, key, {}}; };

    for (const QString& key : {idKey, timestampKey, originalTextKey, fixedTextKey}) {
        if (isAbsent(object.value(key)))
            return missing(key);
    }
    FixHistoryEntry entry;
    const std::optional<QUuid> id = StoredJson::uuid(object.value(idKey));
    if (!id)
        return wrong(idKey);
    entry.id = *id;
    const QJsonValue timestamp = object.value(timestampKey);
    if (!timestamp.isDouble())
        return wrong(timestampKey);
    entry.timestamp = StoredDate::fromSeconds(timestamp.toDouble());
    if (!object.value(originalTextKey).isString())
        return wrong(originalTextKey);
    entry.originalText = object.value(originalTextKey).toString();
    if (!object.value(fixedTextKey).isString())
        return wrong(fixedTextKey);
    entry.fixedText = object.value(fixedTextKey).toString();

    const QJsonValue editCount = object.value(editCountKey);
    if (!isAbsent(editCount)) {
        entry.editCount = wholeNumber(editCount);
        if (!entry.editCount)
            return wrong(editCountKey);
    }
    const QJsonValue trace = object.value(traceKey);
    if (!isAbsent(trace)) {
        if (!trace.isArray())
            return wrong(traceKey);
        QList<TraceEvent> events;
        for (const QJsonValue& item : trace.toArray()) {
            auto event = item.isObject() ? TraceEvent::fromJson(item.toObject()) : std::nullopt;
            if (!event)
                return wrong(traceKey);
            events.append(*event);
        }
        entry.trace = events;
    }
    const std::pair<const QString&, std::optional<QString>&> texts[] = {
        {sourceAppKey, entry.sourceApp},       {traceIdKey, entry.traceId},
        {originalHTMLKey, entry.originalHTML}, {fixedHTMLKey, entry.fixedHTML},
        {sourceFormatKey, entry.sourceFormat}, {modeNameKey, entry.modeName},
    };
    for (const auto& [key, field] : texts) {
        if (!readOptionalText(object, key, field))
            return wrong(key);
    }
    return entry;
}
