#include "engines/HttpExchange.h"

#include <QNetworkAccessManager>
#include <QCoro/QCoroNetworkReply>
#include <QTimer>
#include <QCoro/QCoroSignal>

namespace {

// Qt numbers its errors by layer: below 200 the connection or a proxy failed, from 200 on the
// server answered (an error status, or an answer the protocol could not make sense of).
bool isTransportError(QNetworkReply::NetworkError error)
{
    return error != QNetworkReply::NoError && int(error) < 200;
}

} // namespace

QCoro::Task<HttpAnswer> postJson(QNetworkAccessManager& network, QNetworkRequest request, QByteArray body,
                                 std::chrono::milliseconds timeout, CancellationToken cancel)
{
    HttpAnswer answer;
    if (cancel.isCancelled()) {
        answer.kind = HttpAnswer::Kind::cancelled;
        answer.failure = HttpAnswer::cancellation();
        co_return answer;
    }

    request.setHeader(QNetworkRequest::ContentTypeHeader, QByteArrayLiteral("application/json"));
    // Like a time-out of the platform's URL loading, this one counts idle time, not total time.
    request.setTransferTimeout(int(timeout.count()));
    QNetworkReply* reply = network.post(request, body);

    bool abortedByUs = false;
    auto* notifier = qobject_cast<CancellationNotifier*>(cancel.notifier());
    const QMetaObject::Connection onCancel
        = QObject::connect(notifier, &CancellationNotifier::cancelled, reply, [reply, &abortedByUs] {
              abortedByUs = true;
              reply->abort();
          });

    if (!reply->isFinished())
        co_await reply;
    QObject::disconnect(onCancel);

    const QVariant status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute);
    if (abortedByUs) {
        answer.kind = HttpAnswer::Kind::cancelled;
        answer.failure = HttpAnswer::cancellation();
    } else if (isTransportError(reply->error())) {
        // Also when a status came first: an answer cut short is no answer. Qt reports its own
        // transfer time-out as an abort, which is how the mapping reads it.
        answer.kind = HttpAnswer::Kind::transportFailure;
        answer.failure = NetworkFailure::fromReplyError(reply->error(), reply->errorString());
    } else if (status.isValid()) {
        answer.kind = HttpAnswer::Kind::http;
        answer.status = status.toInt();
        answer.body = reply->readAll();
    } else {
        answer.kind = HttpAnswer::Kind::notHttp;
    }
    reply->deleteLater();
    co_return answer;
}

QCoro::Task<bool> cancellablePause(std::chrono::milliseconds duration, CancellationToken cancel)
{
    if (cancel.isCancelled())
        co_return false;
    // A coarse timer may fire a few percent early; the pause is a promise of at least `duration`.
    QTimer timer;
    timer.setSingleShot(true);
    timer.setTimerType(Qt::PreciseTimer);
    auto* notifier = qobject_cast<CancellationNotifier*>(cancel.notifier());
    const QMetaObject::Connection onCancel
        = QObject::connect(notifier, &CancellationNotifier::cancelled, &timer, [&timer] { timer.start(0); });
    timer.start(duration);
    co_await qCoro(&timer, &QTimer::timeout);
    QObject::disconnect(onCancel);
    co_return !cancel.isCancelled();
}
