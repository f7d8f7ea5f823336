#pragma once
#include "history/FixHistoryEntry.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <variant>

/// Why the history could not be written.
struct HistorySaveError
{
    enum class Kind { createDirectory, open, write, commit };
    Kind kind;
    QString detail;

    /// The error's description, printed after "Failed to save history: ".
    [[nodiscard]] QString description() const;
};

/// The history file: a pretty-printed JSON array of entries, newest first, keys in field order.
namespace HistoryFile {
/// The file's text for these entries.
[[nodiscard]] QByteArray encode(const QList<FixHistoryEntry>& entries);
/// All entries of a file's text, or the first reason it cannot be read; one bad entry fails all.
[[nodiscard]] std::variant<QList<FixHistoryEntry>, HistoryDecodeError> decode(const QByteArray& data);
/// Reads and decodes the file at `path`.
[[nodiscard]] std::variant<QList<FixHistoryEntry>, HistoryDecodeError> read(const QString& path);
/// Writes the entries to `path` through a temporary file beside it that replaces the old file only
/// once complete, so an interrupted write leaves the old file or the new one, never a mix.
[[nodiscard]] std::optional<HistorySaveError> write(const QString& path, const QList<FixHistoryEntry>& entries);
} // namespace HistoryFile

/// JSON text with object keys in a chosen order (QJsonDocument sorts them).
namespace OrderedJson {
/// Indented by two spaces, one key per line, `"key" : value`; keys listed in `keyOrder` come first
/// in that order, any others after them in sorted order.
[[nodiscard]] QByteArray pretty(const QJsonValue& value, const QStringList& keyOrder);
} // namespace OrderedJson
