#pragma once
#include "analytics/PostHogConfig.h"

#include <QNetworkAccessManager>
#include <QObject>
#include <QPointer>
#include <QSet>
#include <QTimer>

class EventQueue;
class QNetworkReply;

/// Sends the analytics queue to the batch endpoint, one batch at a time, oldest events first.
/// Removes what the server took or refused for good, waits with a growing back-off (or as long as
/// "Retry-After" asks) after a temporary failure, and halves a batch the server found too large.
/// Lives on its owner's thread.
class BatchSender : public QObject
{
    Q_OBJECT
public:
    BatchSender(const PostHogConfig& config, EventQueue& queue, QObject* parent = nullptr);
    ~BatchSender() override;

    /// Sends queued batches until the queue is empty, unless paused, busy or waiting to retry.
    void send();
    /// Abandons the request in flight and any retry wait; the queue is left as it is.
    void cancel();
    /// While paused nothing new is sent; resuming cuts a retry wait short and sends at once.
    void setPaused(bool paused);

    [[nodiscard]] bool isPaused() const { return m_paused; }
    [[nodiscard]] bool isSending() const { return !m_reply.isNull(); }
    [[nodiscard]] bool isWaitingToRetry() const { return m_retryTimer.isActive(); }

Q_SIGNALS:
    /// Events left the queue (delivered or dropped); the owner persists it.
    void queueChanged();
    /// Sending stopped for now: the queue is empty, or a retry wait or a pause began.
    void settled();

private:
    void sendNextBatch();
    void onFinished(QNetworkReply* reply, const QSet<QString>& uuids, int count);
    void scheduleRetry(QNetworkReply* reply);
    void batchLeftQueue(const QSet<QString>& uuids, int count);
    [[nodiscard]] QDateTime now() const;

    PostHogConfig m_config;
    QUrl m_url;
    EventQueue& m_queue;
    QNetworkAccessManager m_network;
    QPointer<QNetworkReply> m_reply;
    QTimer m_retryTimer;
    bool m_paused = false;
    int m_failedAttempts = 0;
    // After a 413 the events of the refused batch go out in smaller batches until all of them left.
    int m_splitBatchSize = 0;
    int m_splitEventsLeft = 0;
};
