#pragma once
#include "app/Appcast.h"

#include <QCoro/QCoroTask>
#include <QNetworkAccessManager>
#include <chrono>

/// What one look at the update feed found.
struct UpdateCheckResult
{
    enum class Outcome {
        updateAvailable, // `item` is newer than the running version
        upToDate,        // nothing newer on the channels asked for
        failed,          // `failure` says why; nothing was decided
    };
    enum class Failure { none, unreachable, httpStatus, malformedFeed };

    Outcome outcome = Outcome::failed;
    std::optional<AppcastItem> item;
    Failure failure = Failure::none;
    QString message;  // for the user when the check failed

    [[nodiscard]] static UpdateCheckResult failedWith(Failure failure, QString message);
};

/// Fetches a Sparkle-format feed and compares its newest release with the running version. Lives
/// on the thread that calls it; downloads and installs nothing.
class UpdateChecker
{
public:
    explicit UpdateChecker(std::chrono::milliseconds timeout = std::chrono::seconds(30));

    /// Reads `feed` and answers whether it offers something newer than `currentVersion` on the
    /// default channel or one of `channels`.
    QCoro::Task<UpdateCheckResult> check(QUrl feed, QString currentVersion, QSet<QString> channels);

    /// The feed the build was configured with; TEMBREL_APPCAST_URL in the environment overrides it.
    /// Empty when there is none: then updates come from the package manager.
    [[nodiscard]] static QUrl configuredFeed();

private:
    QNetworkAccessManager m_network;
    std::chrono::milliseconds m_timeout;
};
