#pragma once
#include "core/FixResult.h"
#include "core/TraceCollector.h"

#include <QDateTime>
#include <QJsonObject>
#include <QList>
#include <QString>
#include <QUuid>
#include <optional>
#include <variant>

/// One finished fix as the history keeps it.
struct FixHistoryEntry
{
    QUuid id;
    QDateTime timestamp;
    QString originalText;
    QString fixedText;
    std::optional<qint64> editCount;
    std::optional<QString> sourceApp;
    std::optional<QList<TraceEvent>> trace;
    std::optional<QString> traceId;
    std::optional<QString> originalHTML;
    std::optional<QString> fixedHTML;
    std::optional<QString> sourceFormat;
    std::optional<QString> modeName;

    bool operator==(const FixHistoryEntry&) const = default;

    /// "plainText", "html" or "rtf" as stored under "sourceFormat"; nothing for no format.
    [[nodiscard]] static std::optional<QString> sourceFormatName(std::optional<SourceFormat> format);

    /// The entry as a result to display. HTML is carried only when both HTML texts are present;
    /// then a missing or unknown "sourceFormat" reads as plain text rather than as no format.
    [[nodiscard]] FixResult result() const;
    /// "<relative date>", or "<sourceApp> · <relative date>", the date relative to `now`.
    [[nodiscard]] QString subtitle(const QDateTime& now = QDateTime::currentDateTime()) const;
    /// Whether the lower-cased original or fixed text contains the lower-cased query.
    [[nodiscard]] bool matches(const QString& lowerCaseQuery) const;

    /// The stored object: required keys always, optional ones only when present (never null).
    /// Keys come in a QJsonObject, which sorts them; HistoryFile writes them in field order.
    [[nodiscard]] QJsonObject toJson() const;
};

/// Why an entry or a history file could not be read.
struct HistoryDecodeError
{
    enum class Kind { unreadable, notJson, notArray, notObject, missingKey, wrongType };
    Kind kind;
    qsizetype index = -1;
    QString key;
    QString detail;

    /// The error's description, printed after "Failed to load history: ".
    [[nodiscard]] QString description() const;
};

namespace HistoryJson {
/// Stored key order of an entry, then of a trace event inside it.
[[nodiscard]] const QStringList& keyOrder();
/// One entry, or why it cannot be read; `index` only names the entry in the error.
[[nodiscard]] std::variant<FixHistoryEntry, HistoryDecodeError> decodeEntry(const QJsonValue& value, qsizetype index);
} // namespace HistoryJson
