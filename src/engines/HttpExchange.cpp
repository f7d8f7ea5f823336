#include "engines/HttpExchange.h"

#include <memory>
#include <vector>
#include <QCoro/QCoroNetworkReply>
#include <QCoro/QCoroSignal>
#include <QDeadlineTimer>
#include <QIODevice>
#include <QNetworkAccessManager>
#include <QPointer>
#include <QTimer>

namespace {

// Work held back until a request is on the wire; touched on the UI thread only.
std::vector<std::function<void()>>& workWaitingForSend()
{
    static std::vector<std::function<void()>> work;
    return work;
}

// A turn later, so that the network goes on first.
void runWorkWaitingForSend()
{
    if (workWaitingForSend().empty())
        return;
    QTimer::singleShot(0, [] {
        for (const std::function<void()>& work : std::exchange(workWaitingForSend(), {}))
            work();
    });
}

constexpr int maxRedirects = 5;

// Qt numbers its errors by layer: below 200 the connection or a proxy failed, from 200 on the
// server answered (an error status, or an answer the protocol could not make sense of). A body
// that could not be sent again stands for the connection that dropped and made Qt try.
bool isTransportError(QNetworkReply::NetworkError error)
{
    return (error != QNetworkReply::NoError && int(error) < 200)
        || error == QNetworkReply::ContentReSendError;
}

bool keepsMethod(int status)
{
    return status == 307 || status == 308;
}

bool isRedirect(int status)
{
    return status == 301 || status == 302 || status == 303 || keepsMethod(status);
}

// A request body that can be read once. Qt's HTTP layer quietly sends a request again when its
// connection closes before an answer, rewinding the body to do so; refusing the rewind turns that
// into a failure of the one attempt, which the engine then reports or retries in its own name.
// The layer also rewinds on a redirect that keeps the method, even one it is told not to follow;
// that rewind sends nothing and is let through. The answer's status reaches this thread before
// the layer asks to rewind, as both travel through this thread's event queue in order.
class OneShotBody : public QIODevice
{
public:
    explicit OneShotBody(QByteArray data)
        : m_data(std::move(data))
    {
        open(QIODevice::ReadOnly | QIODevice::Unbuffered);
    }

    void setReply(QNetworkReply* reply) { m_reply = reply; }

    bool isSequential() const override { return false; }
    qint64 size() const override { return m_data.size(); }
    bool seek(qint64 position) override
    {
        if (position < m_highWater && !answeredWithRedirect())
            return false;
        return QIODevice::seek(position);
    }
    bool reset() override { return seek(0); }

protected:
    qint64 readData(char* data, qint64 maxSize) override
    {
        const qint64 position = pos();
        const qint64 count = qMin(maxSize, qint64(m_data.size()) - position);
        if (count <= 0)
            return 0;
        std::memcpy(data, m_data.constData() + position, size_t(count));
        m_highWater = qMax(m_highWater, position + count);
        return count;
    }
    qint64 writeData(const char*, qint64) override { return -1; }

private:
    bool answeredWithRedirect() const
    {
        return m_reply && isRedirect(m_reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt());
    }

    QByteArray m_data;
    qint64 m_highWater = 0;
    QPointer<QNetworkReply> m_reply;
};

bool sameOrigin(const QUrl& a, const QUrl& b)
{
    const auto defaultPort = [](const QUrl& url) { return url.scheme().toLower() == u"https" ? 443 : 80; };
    return a.scheme().compare(b.scheme(), Qt::CaseInsensitive) == 0
        && a.host().compare(b.host(), Qt::CaseInsensitive) == 0
        && a.port(defaultPort(a)) == b.port(defaultPort(b));
}

// Why an exchange was ended on this side.
enum class Stop { none, cancelled, deadline, tooLarge };

} // namespace

qint64 HttpLimits::answerLimitFor(qint64 requestBytes)
{
    constexpr qint64 envelope = 1024 * 1024;
    return qMin(maxAnswerBytesCeiling, 4 * qMax<qint64>(requestBytes, 0) + envelope);
}

QCoro::Task<HttpAnswer> postJson(
    QNetworkRequest request, QByteArray body, HttpLimits limits, CancellationToken cancel)
{
    HttpAnswer answer;

    request.setHeader(QNetworkRequest::ContentTypeHeader, QByteArrayLiteral("application/json"));
    request.setHeader(QNetworkRequest::ContentLengthHeader, body.size());
    // Like a time-out of the platform's URL loading, this one counts idle time, not total time.
    request.setTransferTimeout(int(limits.idle.count()));
    // Redirects are looked at here, where their origin can be checked before anything is sent.
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::ManualRedirectPolicy);
    const QUrl origin = request.url();
    const QDeadlineTimer deadline(limits.deadline);

    for (int hop = 0;; ++hop) {
        if (cancel.isCancelled()) {
            answer.kind = HttpAnswer::Kind::cancelled;
            answer.failure = HttpAnswer::cancellation();
            co_return answer;
        }
        // A manager of its own per attempt: a connection kept alive from an earlier request can be
        // closed by the server at any moment, and nothing here may be sent twice.
        const std::unique_ptr<QNetworkAccessManager, void (*)(QNetworkAccessManager*)> network(
            new QNetworkAccessManager, [](QNetworkAccessManager* m) { m->deleteLater(); });
        auto* upload = new OneShotBody(body);
        QNetworkReply* reply = network->post(request, upload);
        QObject::connect(reply, &QNetworkReply::requestSent, reply, runWorkWaitingForSend);
        QObject::connect(reply, &QNetworkReply::finished, reply, runWorkWaitingForSend);
        upload->setParent(reply);
        upload->setReply(reply);
        // Holding the network thread back once a little more than the limit is buffered keeps a
        // huge answer from piling up faster than this thread gets to stop it.
        reply->setReadBufferSize(limits.maxAnswerBytes + 64 * 1024);

        Stop stop = Stop::none;
        auto* notifier = qobject_cast<CancellationNotifier*>(cancel.notifier());
        const QMetaObject::Connection onCancel
            = QObject::connect(notifier, &CancellationNotifier::cancelled, reply, [reply, &stop] {
                  stop = Stop::cancelled;
                  reply->abort();
              });
        QTimer deadlineTimer;
        deadlineTimer.setSingleShot(true);
        QObject::connect(&deadlineTimer, &QTimer::timeout, reply, [reply, &stop] {
            stop = Stop::deadline;
            reply->abort();
        });
        deadlineTimer.start(std::chrono::milliseconds(qMax<qint64>(deadline.remainingTime(), 0)));
        const qint64 maxBytes = limits.maxAnswerBytes;
        QObject::connect(reply, &QNetworkReply::downloadProgress, reply,
            [reply, &stop, maxBytes](qint64 received, qint64 total) {
                if (stop == Stop::none && (received > maxBytes || total > maxBytes)) {
                    stop = Stop::tooLarge;
                    reply->abort();
                }
            });

        if (!reply->isFinished())
            co_await reply;
        QObject::disconnect(onCancel);
        deadlineTimer.stop();
        const std::unique_ptr<QNetworkReply, void (*)(QNetworkReply*)> finished(
            reply, [](QNetworkReply* r) { r->deleteLater(); });

        const QVariant status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute);
        switch (stop) {
        case Stop::cancelled:
            answer.kind = HttpAnswer::Kind::cancelled;
            answer.failure = HttpAnswer::cancellation();
            co_return answer;
        case Stop::deadline:
            answer.kind = HttpAnswer::Kind::transportFailure;
            answer.failure = NetworkFailure::fromCode(NetworkFailure::timedOutCode,
                QStringLiteral("The request took longer than %1 s.")
                    .arg(double(limits.deadline.count()) / 1000.0));
            co_return answer;
        case Stop::tooLarge:
            answer.kind = HttpAnswer::Kind::tooLarge;
            co_return answer;
        case Stop::none:
            break;
        }
        if (isTransportError(reply->error())) {
            // Also when a status came first: an answer cut short is no answer. Qt reports its own
            // transfer time-out as an abort, which is how the mapping reads it.
            answer.kind = HttpAnswer::Kind::transportFailure;
            answer.failure = NetworkFailure::fromReplyError(reply->error(), reply->errorString());
            co_return answer;
        }
        if (!status.isValid()) {
            answer.kind = HttpAnswer::Kind::notHttp;
            co_return answer;
        }
        answer.status = status.toInt();
        const QUrl location = reply->attribute(QNetworkRequest::RedirectionTargetAttribute).toUrl();
        if (isRedirect(answer.status) && location.isValid()) {
            const QUrl target = request.url().resolved(location);
            if (!sameOrigin(target, origin)) {
                answer.kind = HttpAnswer::Kind::redirectRefused;
                answer.redirectTarget
                    = target.adjusted(QUrl::RemoveUserInfo | QUrl::RemoveQuery | QUrl::RemoveFragment);
                co_return answer;
            }
            if (keepsMethod(answer.status) && hop < maxRedirects) {
                request.setUrl(target);
                continue;
            }
        }
        answer.kind = HttpAnswer::Kind::http;
        answer.body = reply->readAll();
        co_return answer;
    }
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

void whenNextRequestSent(std::function<void()> work)
{
    workWaitingForSend().push_back(std::move(work));
}
