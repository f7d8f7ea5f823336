#include "analytics/Gzip.h"

#include <zlib.h>

namespace Analytics {

std::optional<QByteArray> gzipCompress(const QByteArray& data)
{
    z_stream stream {};
    // 16 added to the window bits asks zlib for a gzip header and trailer instead of a zlib one.
    if (deflateInit2(&stream, Z_DEFAULT_COMPRESSION, Z_DEFLATED, 15 + 16, 8, Z_DEFAULT_STRATEGY) != Z_OK)
        return std::nullopt;

    QByteArray out;
    out.resize(qsizetype(deflateBound(&stream, uLong(data.size()))) + 32);
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(data.constData()));
    stream.avail_in = uInt(data.size());
    stream.next_out = reinterpret_cast<Bytef*>(out.data());
    stream.avail_out = uInt(out.size());
    const int result = deflate(&stream, Z_FINISH);
    const auto written = qsizetype(stream.total_out);
    deflateEnd(&stream);
    if (result != Z_STREAM_END)
        return std::nullopt;
    out.truncate(written);
    return out;
}

} // namespace Analytics
