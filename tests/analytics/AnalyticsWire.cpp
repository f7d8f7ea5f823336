#include "AnalyticsWire.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <zlib.h>

namespace AnalyticsWire {

QByteArray gunzip(const QByteArray& compressed)
{
    z_stream stream {};
    if (inflateInit2(&stream, 15 + 16) != Z_OK)
        return {};
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(compressed.constData()));
    stream.avail_in = uInt(compressed.size());
    QByteArray out;
    char chunk[16384];
    int result = Z_OK;
    while (result == Z_OK) {
        stream.next_out = reinterpret_cast<Bytef*>(chunk);
        stream.avail_out = sizeof chunk;
        result = inflate(&stream, Z_NO_FLUSH);
        out.append(chunk, qsizetype(sizeof chunk - stream.avail_out));
        if (result == Z_BUF_ERROR && stream.avail_in == 0)
            break;
    }
    inflateEnd(&stream);
    return result == Z_STREAM_END ? out : QByteArray();
}

QJsonObject decodeBatch(const RecordedRequest& request)
{
    const bool gzipped = request.header("content-encoding") == "gzip";
    return QJsonDocument::fromJson(gzipped ? gunzip(request.body) : request.body).object();
}

QList<QJsonObject> events(const QList<RecordedRequest>& requests)
{
    QList<QJsonObject> all;
    for (const RecordedRequest& request : requests) {
        const QJsonArray batch = decodeBatch(request).value("batch").toArray();
        for (const QJsonValue& event : batch)
            all.append(event.toObject());
    }
    return all;
}

QStringList uuids(const QList<QJsonObject>& events)
{
    QStringList ids;
    for (const QJsonObject& event : events)
        ids.append(event.value("uuid").toString());
    return ids;
}

namespace {

bool jsonContains(const QJsonValue& value, const QString& needle)
{
    if (value.isString())
        return value.toString().contains(needle, Qt::CaseInsensitive);
    if (value.isArray()) {
        for (const QJsonValue& item : value.toArray())
            if (jsonContains(item, needle))
                return true;
    }
    if (value.isObject()) {
        const QJsonObject object = value.toObject();
        for (auto it = object.begin(); it != object.end(); ++it)
            if (it.key().contains(needle, Qt::CaseInsensitive) || jsonContains(it.value(), needle))
                return true;
    }
    return false;
}

} // namespace

bool anyBytesContain(const QList<RecordedRequest>& requests, const QString& needle)
{
    const QByteArray utf8 = needle.toUtf8();
    for (const RecordedRequest& request : requests) {
        QByteArray wire = request.method + ' ' + request.path + '\n';
        for (auto it = request.headers.begin(); it != request.headers.end(); ++it)
            wire += it.key() + ": " + it.value() + '\n';
        wire += request.body + '\n' + gunzip(request.body);
        if (wire.contains(utf8))
            return true;
        const QByteArray plain = request.header("content-encoding") == "gzip" ? gunzip(request.body) : request.body;
        if (jsonContains(QJsonDocument::fromJson(plain).object(), needle))
            return true;
    }
    return false;
}

PostHogConfig testConfig(const TestHttpServer& server, const QString& storageDirectory)
{
    using namespace std::chrono_literals;
    PostHogConfig config;
    config.apiKey = QString::fromLatin1(testKey);
    config.host = server.url().toString();
    config.storageDirectory = storageDirectory;
    config.libraryVersion = "9.8.7";
    config.flushInterval = 1h;
    config.flushAt = 1000;
    config.retryInitialDelay = 40ms;
    config.retryMaxDelay = 400ms;
    config.requestTimeout = 5s;
    config.followSystemReachability = false;
    return config;
}

} // namespace AnalyticsWire
