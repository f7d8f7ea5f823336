#pragma once
#include <QByteArray>
#include <optional>

namespace Analytics {

/// Compresses `data` into a gzip member (RFC 1952) with zlib; nothing when zlib fails.
[[nodiscard]] std::optional<QByteArray> gzipCompress(const QByteArray& data);

} // namespace Analytics
