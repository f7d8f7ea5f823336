#include "analytics/BatchSender.h"

#include "analytics/BatchPolicy.h"
#include "analytics/EventQueue.h"
#include "analytics/Gzip.h"
#include "core/Logging.h"

#include <QNetworkReply>
#include <QNetworkRequest>

using Analytics::BatchOutcome;

BatchSender::BatchSender(const PostHogConfig& config, EventQueue& queue, QObject* parent)
    : QObject(parent)
    , m_config(config)
    , m_url(config.batchUrl())
    , m_queue(queue)
{
    m_retryTimer.setSingleShot(true);
    connect(&m_retryTimer, &QTimer::timeout, this, &BatchSender::send);
}

BatchSender::~BatchSender()
{
    cancel();
}

void BatchSender::send()
{
    if (m_paused || isSending() || isWaitingToRetry() || !m_url.isValid())
        return;
    if (m_queue.isEmpty()) {
        Q_EMIT settled();
        return;
    }
    sendNextBatch();
}

void BatchSender::cancel()
{
    m_retryTimer.stop();
    m_failedAttempts = 0;
    m_splitBatchSize = 0;
    m_splitEventsLeft = 0;
    if (QNetworkReply* reply = m_reply.data()) {
        m_reply.clear();
        reply->disconnect(this);
        reply->abort();
        reply->deleteLater();
    }
}

void BatchSender::setPaused(bool paused)
{
    if (m_paused == paused)
        return;
    m_paused = paused;
    qCInfo(lcPostHog) << (paused ? "Network unreachable, analytics sending paused" : "Network back, analytics sending resumed");
    if (paused) {
        Q_EMIT settled();
        return;
    }
    // The failures were most likely the missing network; start over with a short wait.
    m_retryTimer.stop();
    m_failedAttempts = 0;
    send();
}

void BatchSender::sendNextBatch()
{
    int size = qMax(1, m_config.maxBatchSize);
    if (m_splitEventsLeft > 0)
        size = qMin(size, m_splitBatchSize);
    const QList<QJsonObject> events = m_queue.front(size);

    QSet<QString> uuids;
    for (const QJsonObject& event : events)
        uuids.insert(event.value(QLatin1String("uuid")).toString());

    const std::optional<QByteArray> body = Analytics::gzipCompress(Analytics::batchBody(m_config.apiKey, events, now()));
    if (!body) {
        qCWarning(lcPostHog) << "Cannot compress an analytics batch; dropping its" << events.size() << "event(s)";
        batchLeftQueue(uuids, int(events.size()));
        send();
        return;
    }

    QNetworkRequest request(m_url);
    request.setHeader(QNetworkRequest::ContentTypeHeader, QByteArrayLiteral("application/json"));
    request.setRawHeader("Content-Encoding", "gzip");
    request.setHeader(QNetworkRequest::UserAgentHeader, QByteArray("tembrel-qt/" + m_config.libraryVersion.toLatin1()));
    request.setTransferTimeout(int(m_config.requestTimeout.count()));

    QNetworkReply* reply = m_network.post(request, *body);
    m_reply = reply;
    const int count = int(events.size());
    connect(reply, &QNetworkReply::finished, this, [this, reply, uuids, count] { onFinished(reply, uuids, count); });
}

void BatchSender::onFinished(QNetworkReply* reply, const QSet<QString>& uuids, int count)
{
    reply->deleteLater();
    if (m_reply != reply)
        return;
    m_reply.clear();

    const QVariant statusAttribute = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute);
    const int status = statusAttribute.isValid() ? statusAttribute.toInt() : 0;
    switch (Analytics::classifyStatus(status)) {
    case BatchOutcome::Delivered:
        qCDebug(lcPostHog) << "Sent" << count << "analytics event(s)";
        m_failedAttempts = 0;
        batchLeftQueue(uuids, count);
        break;
    case BatchOutcome::Drop:
        qCWarning(lcPostHog) << "The analytics service refused a batch with status" << status << "- dropping its"
                             << count << "event(s)";
        m_failedAttempts = 0;
        batchLeftQueue(uuids, count);
        break;
    case BatchOutcome::Split:
        m_failedAttempts = 0;
        if (count <= 1) {
            qCWarning(lcPostHog) << "A single analytics event is too large to send; dropping it";
            batchLeftQueue(uuids, count);
        } else {
            m_splitBatchSize = count / 2;
            m_splitEventsLeft = qMax(m_splitEventsLeft, count);
        }
        break;
    case BatchOutcome::Retry:
        scheduleRetry(reply);
        return;
    }
    send();
}

void BatchSender::scheduleRetry(QNetworkReply* reply)
{
    ++m_failedAttempts;
    std::chrono::milliseconds delay = Analytics::backoffDelay(m_failedAttempts, m_config.retryInitialDelay, m_config.retryMaxDelay);
    if (const auto asked = Analytics::parseRetryAfter(reply->rawHeader("Retry-After"), now()))
        delay = qMax(delay, qMin(*asked, m_config.retryAfterCeiling));
    const QVariant status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute);
    if (status.isValid())
        qCInfo(lcPostHog) << "Analytics batch answered" << status.toInt() << "- retrying in" << delay.count() << "ms";
    else
        qCInfo(lcPostHog) << "Analytics batch failed:" << reply->error() << "- retrying in" << delay.count() << "ms";
    m_retryTimer.start(delay);
    Q_EMIT settled();
}

void BatchSender::batchLeftQueue(const QSet<QString>& uuids, int count)
{
    if (m_splitEventsLeft > 0) {
        m_splitEventsLeft -= count;
        if (m_splitEventsLeft <= 0)
            m_splitBatchSize = 0;
    }
    m_queue.remove(uuids);
    Q_EMIT queueChanged();
}

QDateTime BatchSender::now() const
{
    return m_config.clock ? m_config.clock() : QDateTime::currentDateTimeUtc();
}
