#pragma once
#include "core/Cancellation.h"
#include "core/TextFixError.h"

#include <QByteArray>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QCoro/QCoroTask>
#include <chrono>

class QNetworkAccessManager;

/// What one HTTP request came back with, as the engines need to tell it apart.
struct HttpAnswer
{
    enum class Kind {
        http,             // the server answered with a status (any status)
        transportFailure, // nothing usable came back: refused, dropped, timed out, unknown host...
        notHttp,          // the exchange ended without an HTTP status. Qt resends a request on
                          // bytes that are not HTTP and then reports a closed connection, so
                          // garbage from a server usually arrives as a transport failure.
        cancelled,        // the run was cancelled and the request aborted
    };
    Kind kind = Kind::transportFailure;
    int status = 0;
    QByteArray body;
    NetworkFailure failure; // for transportFailure and cancelled

    /// The failure of a request stopped because its run was cancelled.
    [[nodiscard]] static NetworkFailure cancellation() { return NetworkFailure::fromCode(NetworkFailure::cancelledCode); }
};

/// Sends a JSON POST and waits for its end. Aborts the request when `cancel` fires; gives up after
/// `timeout` without any bytes moving. Runs on the thread of `network`.
QCoro::Task<HttpAnswer> postJson(QNetworkAccessManager& network, QNetworkRequest request, QByteArray body,
                                 std::chrono::milliseconds timeout, CancellationToken cancel);

/// Waits `duration` unless `cancel` fires first; answers whether the full pause elapsed.
QCoro::Task<bool> cancellablePause(std::chrono::milliseconds duration, CancellationToken cancel);
