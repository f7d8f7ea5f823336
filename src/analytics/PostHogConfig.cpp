#include "analytics/PostHogConfig.h"

#include "app/BuildConfig.h"

#include <QStandardPaths>
#include <QUrl>

namespace {

QString overridden(const char* variable, const char* builtIn)
{
    // A variable that is set wins even when empty: an empty key switches analytics off for a run.
    if (qEnvironmentVariableIsSet(variable))
        return qEnvironmentVariable(variable).trimmed();
    return QString::fromUtf8(builtIn).trimmed();
}

} // namespace

PostHogConfig PostHogConfig::fromBuildOptions()
{
    PostHogConfig config;
    config.apiKey = overridden("TEMBREL_POSTHOG_KEY", BuildConfig::posthogKey);
    config.host = overridden("TEMBREL_POSTHOG_HOST", BuildConfig::posthogHost);
    if (config.host.isEmpty())
        config.host = QString::fromUtf8(BuildConfig::posthogHost);
    config.storageDirectory = defaultStorageDirectory();
    config.libraryVersion = QString::fromUtf8(BuildConfig::version);
    return config;
}

QString PostHogConfig::defaultStorageDirectory()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation)
        + QStringLiteral("/Tembrel/analytics");
}

QUrl PostHogConfig::batchUrl() const
{
    QString base = host.trimmed();
    while (base.endsWith(QLatin1Char('/')))
        base.chop(1);
    const QUrl url(base + QStringLiteral("/batch/"), QUrl::StrictMode);
    const QString scheme = url.scheme();
    if (!url.isValid() || url.host().isEmpty() || (scheme != QLatin1String("https") && scheme != QLatin1String("http")))
        return {};
    return url;
}
