#include "analytics/PostHogClient.h"

#include "analytics/BatchPolicy.h"
#include "analytics/BatchSender.h"
#include "analytics/EventQueue.h"
#include "analytics/InstallationState.h"
#include "analytics/SessionTracker.h"
#include "core/Logging.h"

#include <QDir>
#include <QEventLoop>
#include <QMutexLocker>
#include <QNetworkInformation>
#include <QThread>

namespace {
const auto libraryName = QStringLiteral("tembrel-qt");
const auto queueFileName = QStringLiteral("queue.jsonl");
} // namespace

PostHogClient::PostHogClient(PostHogConfig config, QObject* parent)
    : QObject(parent)
    , m_config(std::move(config))
    , m_sessions(std::make_unique<SessionTracker>(m_config.sessionIdleTimeout))
    , m_state(std::make_unique<InstallationState>(m_config.storageDirectory))
    , m_queue(std::make_unique<EventQueue>(QDir(m_config.storageDirectory).filePath(queueFileName), m_config.maxQueueSize))
{
    m_optedOut = m_state->isOptedOut();
    m_configured = !m_config.apiKey.trimmed().isEmpty() && m_config.batchUrl().isValid();
    if (m_config.apiKey.trimmed().isEmpty())
        qCInfo(lcPostHog) << "No analytics project key configured; no event will be queued or sent";
    else if (!m_config.batchUrl().isValid())
        qCWarning(lcPostHog) << "The analytics host is not an http(s) address; no event will be queued or sent";
    if (m_config.captureApplicationLifecycleEvents || m_config.captureScreenViews)
        qCWarning(lcPostHog) << "Automatic lifecycle and screen events are not captured by this client";

    m_saveTimer.setSingleShot(true);
    m_saveTimer.setInterval(0);
    connect(&m_saveTimer, &QTimer::timeout, this, &PostHogClient::saveNow);
    m_flushTimer.setInterval(m_config.flushInterval);
    connect(&m_flushTimer, &QTimer::timeout, this, &PostHogClient::flush);

    if (!m_configured)
        return;
    if (m_optedOut) {
        // Whatever an earlier run left behind must not go out after the user opted out.
        m_queue->clear();
        return;
    }
    m_queue->load();
    startSending();
    if (m_queue->isDirty())
        scheduleSave();
    if (m_queue->size() >= m_config.flushAt)
        QTimer::singleShot(0, this, &PostHogClient::flush);
}

void PostHogClient::startSending()
{
    if (m_sender || m_optedOut.load())
        return;
    m_sender = new BatchSender(m_config, *m_queue, this);
    connect(m_sender, &BatchSender::queueChanged, this, &PostHogClient::scheduleSave);
    m_flushTimer.start();
    if (m_config.followSystemReachability)
        followSystemReachability();
}

PostHogClient::~PostHogClient()
{
    // The sender works on the queue; it goes first.
    delete m_sender;
    m_sender = nullptr;
    if (m_queue->isDirty() && !m_optedOut)
        m_queue->save();
}

QString PostHogClient::distinctId() const
{
    QMutexLocker lock(&m_mutex);
    return m_state->distinctId();
}

void PostHogClient::registerSuperProperties(const QJsonObject& properties)
{
    QMutexLocker lock(&m_mutex);
    for (auto it = properties.begin(); it != properties.end(); ++it)
        m_superProperties.insert(it.key(), it.value());
}

void PostHogClient::capture(const QString& event, const QJsonObject& properties)
{
    if (!m_configured || m_optedOut.load() || event.isEmpty())
        return;
    const quint64 epoch = m_consentEpoch.load();
    const QDateTime time = now();

    QJsonObject merged;
    QString distinctId;
    {
        QMutexLocker lock(&m_mutex);
        merged = m_superProperties;
        distinctId = m_state->distinctId();
        merged.insert(QStringLiteral("$session_id"), m_sessions->sessionIdFor(time));
    }
    for (auto it = properties.begin(); it != properties.end(); ++it)
        merged.insert(it.key(), it.value());
    merged.insert(QStringLiteral("$lib"), libraryName);
    merged.insert(QStringLiteral("$lib_version"), m_config.libraryVersion);

    const QJsonObject record {
        {QStringLiteral("event"), event},
        {QStringLiteral("distinct_id"), distinctId},
        {QStringLiteral("properties"), merged},
        {QStringLiteral("timestamp"), Analytics::isoTimestamp(time)},
        {QStringLiteral("uuid"), Analytics::createUuidV7(time)},
    };
    if (QThread::currentThread() == thread())
        enqueue(record, epoch);
    else
        QMetaObject::invokeMethod(this, [this, record, epoch] { enqueue(record, epoch); }, Qt::QueuedConnection);
}

void PostHogClient::enqueue(const QJsonObject& event, quint64 consentEpoch)
{
    if (m_optedOut.load() || consentEpoch != m_consentEpoch.load() || !m_sender)
        return;
    m_queue->append(event);
    scheduleSave();
    if (m_queue->size() >= m_config.flushAt)
        flush();
}

void PostHogClient::optIn()
{
    {
        QMutexLocker lock(&m_mutex);
        if (!m_state->isOptedOut() && !m_optedOut.load())
            return;
        m_state->setOptedOut(false);
    }
    m_optedOut = false;
    qCInfo(lcPostHog) << "Analytics opted in";
    if (!m_configured)
        return;
    // Started opted out: the sending machinery is built on the first opt-in.
    if (QThread::currentThread() == thread())
        startSending();
    else
        QMetaObject::invokeMethod(this, &PostHogClient::startSending, Qt::QueuedConnection);
}

void PostHogClient::optOut()
{
    m_optedOut = true;
    ++m_consentEpoch;
    {
        QMutexLocker lock(&m_mutex);
        m_state->setOptedOut(true);
    }
    qCInfo(lcPostHog) << "Analytics opted out; queued events discarded";
    if (QThread::currentThread() == thread())
        discardQueue();
    else
        QMetaObject::invokeMethod(this, &PostHogClient::discardQueue, Qt::QueuedConnection);
}

void PostHogClient::discardQueue()
{
    if (m_sender)
        m_sender->cancel();
    m_saveTimer.stop();
    m_queue->clear();
}

void PostHogClient::flush()
{
    if (QThread::currentThread() != thread()) {
        QMetaObject::invokeMethod(this, &PostHogClient::flush, Qt::QueuedConnection);
        return;
    }
    if (m_sender && !m_optedOut.load())
        m_sender->send();
}

void PostHogClient::shutdown()
{
    m_flushTimer.stop();
    if (m_sender && !m_optedOut.load() && !m_queue->isEmpty() && !m_sender->isPaused()
        && !m_sender->isWaitingToRetry()) {
        QEventLoop loop;
        QTimer deadline;
        deadline.setSingleShot(true);
        connect(&deadline, &QTimer::timeout, &loop, &QEventLoop::quit);
        connect(m_sender, &BatchSender::settled, &loop, &QEventLoop::quit);
        deadline.start(m_config.quitFlushTimeout);
        m_sender->send();
        if (m_sender->isSending())
            loop.exec();
        m_sender->cancel();
    }
    saveNow();
}

void PostHogClient::setNetworkReachable(bool reachable)
{
    if (QThread::currentThread() != thread()) {
        QMetaObject::invokeMethod(this, [this, reachable] { setNetworkReachable(reachable); }, Qt::QueuedConnection);
        return;
    }
    if (m_sender)
        m_sender->setPaused(!reachable);
}

bool PostHogClient::isNetworkReachable() const
{
    return !m_sender || !m_sender->isPaused();
}

int PostHogClient::queuedCount() const
{
    return m_queue->size();
}

void PostHogClient::scheduleSave()
{
    // Captures tend to come in bursts; one write per turn of the event loop is enough.
    if (!m_saveTimer.isActive())
        m_saveTimer.start();
}

void PostHogClient::saveNow()
{
    m_saveTimer.stop();
    if (!m_optedOut.load() && m_queue->isDirty())
        m_queue->save();
}

void PostHogClient::followSystemReachability()
{
    if (!QNetworkInformation::loadBackendByFeatures(QNetworkInformation::Feature::Reachability)) {
        qCDebug(lcPostHog) << "No network information backend; sending without waiting for reachability";
        return;
    }
    QNetworkInformation* info = QNetworkInformation::instance();
    const auto apply = [this](QNetworkInformation::Reachability reachability) {
        setNetworkReachable(reachability != QNetworkInformation::Reachability::Disconnected);
    };
    apply(info->reachability());
    connect(info, &QNetworkInformation::reachabilityChanged, this, apply);
}

QDateTime PostHogClient::now() const
{
    return m_config.clock ? m_config.clock() : QDateTime::currentDateTimeUtc();
}
