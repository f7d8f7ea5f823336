#include "analytics/AnalyticsManager.h"

#include "analytics/AnalyticsVocabulary.h"
#include "analytics/PostHogClient.h"
#include "core/Logging.h"

AnalyticsManager::AnalyticsManager(PostHogConfig config, ConsentCheck analyticsEnabled, QObject* parent)
    : QObject(parent)
    , m_analyticsEnabled(std::move(analyticsEnabled))
{
    config.captureApplicationLifecycleEvents = false;
    config.captureScreenViews = false;
    m_client = std::make_unique<PostHogClient>(std::move(config));
    m_client->registerSuperProperties({
        {QString::fromLatin1(Analytics::keyEnvironment), Analytics::environmentName()},
        {QString::fromLatin1(Analytics::keyPlatform), Analytics::platformName()},
    });
    applyConsent();
}

AnalyticsManager::~AnalyticsManager() = default;

bool AnalyticsManager::enabled() const
{
    return m_analyticsEnabled && m_analyticsEnabled();
}

void AnalyticsManager::applyConsent()
{
    if (enabled())
        m_client->optIn();
    else
        m_client->optOut();
}

void AnalyticsManager::trackAppLaunched(bool customEndpointEnabled, bool historyEnabled, bool launchAtLogin)
{
    capture(QString::fromLatin1(Analytics::eventAppLaunched), {
        {QString::fromLatin1(Analytics::keyCustomEndpointEnabled), customEndpointEnabled},
        {QString::fromLatin1(Analytics::keyHistoryEnabled), historyEnabled},
        {QString::fromLatin1(Analytics::keyLaunchAtLogin), launchAtLogin},
    });
}

void AnalyticsManager::trackOnboardingCompleted(bool grantedAccessibility)
{
    capture(QString::fromLatin1(Analytics::eventOnboardingCompleted), {
        {QString::fromLatin1(Analytics::keyGrantedAccessibility), grantedAccessibility},
    });
}

void AnalyticsManager::trackFixFailed(bool customEndpointInUse, int failureCategory)
{
    capture(QString::fromLatin1(Analytics::eventFixFailed), {
        {QString::fromLatin1(Analytics::keyEndpointType), Analytics::endpointType(customEndpointInUse)},
        {QString::fromLatin1(Analytics::keyErrorType), Analytics::failureCategoryText(failureCategory)},
    });
}

void AnalyticsManager::capture(const QString& event, const QJsonObject& properties)
{
    // Checked at every call as well as through the client's opt-out, so a disabled setting holds
    // even before consent reached the client.
    if (!enabled())
        return;
    m_client->capture(event, properties);
}

QString AnalyticsManager::distinctId() const
{
    return m_client->distinctId();
}
