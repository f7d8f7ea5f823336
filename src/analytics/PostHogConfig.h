#pragma once
#include <QDateTime>
#include <QString>
#include <QUrl>
#include <chrono>
#include <functional>

/// Everything the analytics client is set up with. The defaults are the production schedule;
/// tests shorten the intervals and point the storage and host at their own.
struct PostHogConfig
{
    QString apiKey;                     // the project key; empty: nothing is queued or sent
    QString host;                       // ingestion base address; batches go to host + "/batch/"
    QString storageDirectory;           // distinct id, opt-out flag and the event queue live here
    QString libraryVersion;             // "$lib_version" of every event

    // The client captures no automatic events at all; the switches record the application's
    // choice so that turning one on is a visible decision, and the client refuses it (logged).
    bool captureApplicationLifecycleEvents = false;
    bool captureScreenViews = false;

    std::chrono::milliseconds flushInterval {std::chrono::seconds(30)};
    int flushAt = 20;                   // queued events that trigger a send without waiting
    int maxQueueSize = 1000;            // beyond this the oldest events are dropped
    int maxBatchSize = 50;
    std::chrono::milliseconds retryInitialDelay {std::chrono::seconds(5)};
    std::chrono::milliseconds retryMaxDelay {std::chrono::minutes(5)};
    std::chrono::milliseconds retryAfterCeiling {std::chrono::hours(1)};
    std::chrono::milliseconds requestTimeout {std::chrono::seconds(30)};
    std::chrono::milliseconds sessionIdleTimeout {std::chrono::minutes(30)};
    std::chrono::milliseconds quitFlushTimeout {std::chrono::seconds(2)};

    bool followSystemReachability = true; // pause while QNetworkInformation reports no network
    std::function<QDateTime()> clock;       // current time in UTC; empty: the system clock

    /// The production configuration: key and host from the build options, overridden by the
    /// environment variables TEMBREL_POSTHOG_KEY and TEMBREL_POSTHOG_HOST when they are set.
    [[nodiscard]] static PostHogConfig fromBuildOptions();

    /// Tembrel's data folder for analytics: GenericDataLocation + "/Tembrel/analytics".
    [[nodiscard]] static QString defaultStorageDirectory();

    /// The batch endpoint derived from `host`; invalid when the host is not an http(s) address.
    [[nodiscard]] QUrl batchUrl() const;
};
