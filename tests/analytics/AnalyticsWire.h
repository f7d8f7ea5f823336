#pragma once
#include "analytics/PostHogConfig.h"
#include "support/TestHttpServer.h"

#include <QJsonObject>
#include <QList>

/// Reads analytics traffic the way the service would: gunzips each batch request, decodes it and
/// searches every byte that went over the wire. Used by the analytics tests and by whole-fix
/// tests that must prove no user text ever leaves in an event.
namespace AnalyticsWire {

/// Inflates a gzip member with zlib, independently of the client's compressor; empty on failure.
[[nodiscard]] QByteArray gunzip(const QByteArray& compressed);

/// The JSON object of one batch request (gunzipped when it says so); empty when it does not decode.
[[nodiscard]] QJsonObject decodeBatch(const RecordedRequest& request);

/// The events of every batch the server received, in arrival order.
[[nodiscard]] QList<QJsonObject> events(const QList<RecordedRequest>& requests);

/// The "uuid" of each event, in order.
[[nodiscard]] QStringList uuids(const QList<QJsonObject>& events);

/// Whether `needle` appears anywhere in what the server received: request lines, headers, raw and
/// gunzipped bodies, and every key and text value of the decoded JSON (which catches escaped forms).
[[nodiscard]] bool anyBytesContain(const QList<RecordedRequest>& requests, const QString& needle);

/// A client configuration that sends to `server` and keeps its files in `storageDirectory`, with
/// made-up key, short retry waits and no automatic flushing, so each test triggers what it checks.
[[nodiscard]] PostHogConfig testConfig(const TestHttpServer& server, const QString& storageDirectory);

inline constexpr auto testKey = "phc_TestProjectKeyMadeUpForTembrelTests00000000";

} // namespace AnalyticsWire
