#pragma once
#include <QByteArray>
#include <QList>
#include <QMap>
#include <QPair>
#include <QString>
#include <optional>

/// Chromium's "web custom data": the custom clipboard types a web page set (for example Slack's
/// Quill delta or Google Docs' clip id), stored as one pickle of UTF-16 key/value pairs.
namespace ChromiumCustomData {
/// The key/value map of a blob; none when the blob is truncated or inconsistent anywhere.
[[nodiscard]] std::optional<QMap<QString, QString>> read(const QByteArray& blob);
/// A blob holding the pairs in the given order, as Chromium writes it.
[[nodiscard]] QByteArray write(const QList<QPair<QString, QString>>& entries);
} // namespace ChromiumCustomData
