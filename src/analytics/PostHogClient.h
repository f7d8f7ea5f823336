#pragma once
#include "analytics/PostHogConfig.h"

#include <QJsonObject>
#include <QMutex>
#include <QObject>
#include <QTimer>
#include <atomic>
#include <memory>

class BatchSender;
class EventQueue;
class InstallationState;
class SessionTracker;

/// Tembrel's client of the PostHog capture API: turns captures into events, keeps them in a queue
/// on disk and sends them in gzip batches to the host's "/batch/" endpoint on its own schedule.
/// The object lives on the thread that created it (the UI thread in the app); capture, opt-in,
/// opt-out, super properties and the distinct id may be used from any thread.
class PostHogClient : public QObject
{
    Q_OBJECT
public:
    explicit PostHogClient(PostHogConfig config, QObject* parent = nullptr);
    ~PostHogClient() override;

    /// Whether a project key and a usable host are configured; without them nothing is queued or sent.
    [[nodiscard]] bool isConfigured() const { return m_configured; }
    /// The installation's anonymous id, the same in every run.
    [[nodiscard]] QString distinctId() const;

    /// Properties merged into every later event (an event's own properties win).
    void registerSuperProperties(const QJsonObject& properties);
    /// Queues one event; returns at once. Does nothing when opted out or not configured.
    void capture(const QString& event, const QJsonObject& properties = {});

    /// Sending resumes for events captured from now on.
    void optIn();
    /// Stops queuing and sending at once and discards the events already queued.
    void optOut();
    [[nodiscard]] bool isOptedOut() const { return m_optedOut.load(); }

    /// Starts sending what is queued without waiting for the schedule (a retry wait still holds).
    void flush();
    /// Flushes and waits, at most the configured quit time-out, for the queue to go out; saves it.
    /// Call on the owner thread when the application quits.
    void shutdown();

    /// Pauses sending while false; the app feeds it from QNetworkInformation.
    void setNetworkReachable(bool reachable);
    [[nodiscard]] bool isNetworkReachable() const;

    /// Events waiting in the queue (owner thread).
    [[nodiscard]] int queuedCount() const;

private:
    void startSending();
    void enqueue(const QJsonObject& event, quint64 consentEpoch);
    void discardQueue();
    void scheduleSave();
    void saveNow();
    void followSystemReachability();
    [[nodiscard]] QDateTime now() const;

    PostHogConfig m_config;
    bool m_configured = false;
    std::atomic<bool> m_optedOut {false};
    // Raised by every opt-out, so that a capture still on its way from another thread when the
    // user opted out is dropped even if they opted in again before it arrived.
    std::atomic<quint64> m_consentEpoch {0};

    mutable QMutex m_mutex; // guards the super properties, the session tracker and the persisted state
    QJsonObject m_superProperties;
    std::unique_ptr<SessionTracker> m_sessions;
    std::unique_ptr<InstallationState> m_state;

    std::unique_ptr<EventQueue> m_queue;
    BatchSender* m_sender = nullptr;
    QTimer m_flushTimer;
    QTimer m_saveTimer;
};
