#include "app/UpdateChecker.h"
#include "app/BuildConfig.h"
#include "app/SparkleVersion.h"
#include "core/Logging.h"

#include <QCoro/QCoroNetworkReply>
#include <QNetworkReply>
#include <memory>

UpdateCheckResult UpdateCheckResult::failedWith(Failure failure, QString message)
{
    UpdateCheckResult result;
    result.outcome = Outcome::failed;
    result.failure = failure;
    result.message = std::move(message);
    return result;
}

UpdateChecker::UpdateChecker(std::chrono::milliseconds timeout)
    : m_timeout(timeout)
{
}

QUrl UpdateChecker::configuredFeed()
{
    const QString configured = qEnvironmentVariableIsSet("TEMBREL_APPCAST_URL")
                                   ? qEnvironmentVariable("TEMBREL_APPCAST_URL")
                                   : QString::fromUtf8(BuildConfig::appcastUrl);
    return QUrl(configured.trimmed());
}

QCoro::Task<UpdateCheckResult> UpdateChecker::check(QUrl feed, QString currentVersion, QSet<QString> channels)
{
    QNetworkRequest request(feed);
    request.setTransferTimeout(int(m_timeout.count()));
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::NoLessSafeRedirectPolicy);
    std::unique_ptr<QNetworkReply> reply(m_network.get(request));
    if (!reply->isFinished())
        co_await reply.get();

    const QVariant status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute);
    if (reply->error() != QNetworkReply::NoError && !status.isValid()) {
        qCWarning(lcUpdates) << "Update check failed:" << reply->errorString();
        co_return UpdateCheckResult::failedWith(
            UpdateCheckResult::Failure::unreachable,
            QStringLiteral("Tembrel could not reach the update server (%1).").arg(reply->errorString()));
    }
    if (status.toInt() != 200) {
        qCWarning(lcUpdates) << "Update feed answered with status" << status.toInt();
        co_return UpdateCheckResult::failedWith(
            UpdateCheckResult::Failure::httpStatus,
            QStringLiteral("The update server answered with status %1.").arg(status.toInt()));
    }

    const auto parsed = Appcast::parse(reply->readAll());
    if (const auto* error = std::get_if<AppcastError>(&parsed)) {
        qCWarning(lcUpdates) << "Update feed unreadable:" << error->message();
        co_return UpdateCheckResult::failedWith(UpdateCheckResult::Failure::malformedFeed, error->message());
    }

    UpdateCheckResult result;
    result.outcome = UpdateCheckResult::Outcome::upToDate;
    const std::optional<AppcastItem> newest = std::get<Appcast>(parsed).newestItem(channels);
    if (newest && SparkleVersion::compare(newest->version, currentVersion) > 0) {
        result.outcome = UpdateCheckResult::Outcome::updateAvailable;
        result.item = newest;
    }
    qCInfo(lcUpdates).noquote() << "Update check:"
                                << (result.item ? QStringLiteral("version %1 available").arg(newest->version)
                                                : QStringLiteral("up to date"));
    co_return result;
}
