#pragma once
#include "analytics/PostHogConfig.h"

#include <QJsonObject>
#include <QObject>
#include <functional>
#include <memory>
#include <optional>

class PostHogClient;

/// The application's only door to analytics: sets the client up once, follows the user's
/// consent and offers one operation per event. The fix coordinator builds "tembrel_completed"
/// itself from the shared vocabulary and sends it through `capture`.
/// The app constructs one and hands it to the coordinator, the shell and the settings store.
/// Every operation first asks the consent check and does nothing when it says no; operations may
/// be called from any thread as long as the consent check may.
class AnalyticsManager : public QObject
{
    Q_OBJECT
public:
    using ConsentCheck = std::function<bool()>;

    /// Sets the client up with `config` (automatic captures off), registers the super properties
    /// and applies consent. `analyticsEnabled` reads the user's analytics setting.
    AnalyticsManager(PostHogConfig config, ConsentCheck analyticsEnabled, QObject* parent = nullptr);
    ~AnalyticsManager() override;

    /// Opts the client in or out according to the setting; call whenever the setting is written.
    void applyConsent();

    /// "app_launched", once per launch when start-up has finished.
    void trackAppLaunched(bool customEndpointEnabled, bool historyEnabled, bool launchAtLogin);
    /// "onboarding_completed", when the user finishes onboarding.
    void trackOnboardingCompleted(bool grantedAccessibility);
    /// "tembrel_failed", when a fix ends in an error shown to the user; `failureCategory` is the
    /// pipeline's category code.
    void trackFixFailed(bool customEndpointInUse, int failureCategory);
    /// Captures any event with these properties (bool, integer or text values), consent permitting.
    void capture(const QString& event, const QJsonObject& properties);

    /// The installation's anonymous id, for the cloud service's header and the trace text.
    [[nodiscard]] QString distinctId() const;
    /// The client underneath, for the app's quit hook and reachability wiring.
    [[nodiscard]] PostHogClient& client() { return *m_client; }

private:
    [[nodiscard]] bool enabled() const;

    ConsentCheck m_analyticsEnabled;
    std::unique_ptr<PostHogClient> m_client;
};
