#pragma once
#include <functional>
#include "core/Cancellation.h"
#include "core/TextFixError.h"

#include <QByteArray>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QUrl>
#include <QCoro/QCoroTask>
#include <chrono>

/// What one HTTP request came back with, as the engines need to tell it apart.
struct HttpAnswer
{
    enum class Kind {
        http,             // the server answered with a status (any status)
        transportFailure, // nothing usable came back: refused, dropped, timed out, unknown host...
        notHttp,          // the exchange ended without an HTTP status
        cancelled,        // the run was cancelled and the request aborted
        redirectRefused,  // the server sent the request to another origin; it was not followed
        tooLarge,         // the answer grew past the limit and was not read further
    };
    Kind kind = Kind::transportFailure;
    int status = 0;
    QByteArray body;
    NetworkFailure failure; // for transportFailure and cancelled
    QUrl redirectTarget;    // for redirectRefused

    /// The failure of a request stopped because its run was cancelled.
    [[nodiscard]] static NetworkFailure cancellation() { return NetworkFailure::fromCode(NetworkFailure::cancelledCode); }
};

/// The bounds one exchange stays within.
struct HttpLimits
{
    static constexpr qint64 maxAnswerBytesCeiling = 16 * 1024 * 1024;

    std::chrono::milliseconds idle{30000};     // no byte moving for this long ends it as a time-out
    std::chrono::milliseconds deadline{60000}; // the whole exchange, however busy, ends by then
    qint64 maxAnswerBytes = maxAnswerBytesCeiling;

    /// The largest answer worth reading for a request of `requestBytes`: four times the request
    /// plus a megabyte for the envelope, never more than 16 MB.
    [[nodiscard]] static qint64 answerLimitFor(qint64 requestBytes);
};

/// Sends a JSON POST once, on a connection of its own, and waits for its end. Aborts the request
/// when `cancel` fires, when nothing moves for `limits.idle`, when `limits.deadline` passes or when
/// the answer outgrows `limits.maxAnswerBytes`. A redirect is followed only within the request's
/// origin, so headers meant for one server (credentials, identifiers) never reach another. The
/// network stack never sends the request a second time on its own: a connection that drops before
/// any answer is a failure the caller sees. Runs on the calling thread.
QCoro::Task<HttpAnswer> postJson(QNetworkRequest request, QByteArray body, HttpLimits limits, CancellationToken cancel);

/// Runs `work` on the UI thread once the next request posted here is on the wire (or has ended
/// without being sent): for work that would otherwise hold the request back.
void whenNextRequestSent(std::function<void()> work);

/// Waits `duration` unless `cancel` fires first; answers whether the full pause elapsed.
QCoro::Task<bool> cancellablePause(std::chrono::milliseconds duration, CancellationToken cancel);
