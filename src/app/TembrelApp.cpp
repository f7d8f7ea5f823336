#include "app/TembrelApp.h"

#include "analytics/AnalyticsManager.h"
#include "analytics/PostHogClient.h"
#include "analytics/PostHogConfig.h"
#include "app/FixAdapters.h"
#include "app/StatusMenu.h"
#include "app/UpdateController.h"
#include "capture/ClipboardManager.h"
#include "capture/SelectionManager.h"
#include "core/FixCoordinator.h"
#include "core/Logging.h"
#include "diff/DiffUtils.h"
#include "engines/ApiKeyStore.h"
#include "engines/CloudEngine.h"
#include "engines/CustomOpenAIEngine.h"
#include "engines/OfflineEngine.h"
#include "history/HistoryManager.h"
#include "history/HistoryWindowController.h"
#include "modes/HotkeyManager.h"
#include "modes/ModeManager.h"
#include "modes/ShortcutRecording.h"
#include "panel/InlineDiffPanelController.h"
#include "platform/PlatformServices.h"
#include "settings/OnboardingController.h"
#include "settings/SettingsManager.h"
#include "settings/SettingsWindowController.h"
#include "settings/ShortcutAvailability.h"
#include "settings/UsageStatsManager.h"

#include <QCoreApplication>
#include <QQuickStyle>

struct FixNeighbourAdapters
{
    ModeCatalogAdapter modes;
    SelectionAdapter selection;
    ClipboardAdapter clipboard;
    PanelAdapter panel;
    SettingsAdapter settings;
    HistoryAdapter history;
    UsageAdapter usage;
    AnalyticsAdapter analytics;
};

TembrelApp::TembrelApp(std::unique_ptr<PlatformServices> platform, QObject* parent)
    : QObject(parent)
    , m_platform(std::move(platform))
{
    // One look for every window: the controls' style is fixed before the first of them loads,
    // so no window can pick another one by importing it first.
    static const bool styleChosen = [] {
        QQuickStyle::setStyle(QStringLiteral("Fusion"));
        return true;
    }();
    Q_UNUSED(styleChosen);
    m_keyStore = std::make_unique<ApiKeyStore>();
    m_settings = std::make_unique<SettingsManager>(m_defaults, m_keyStore.get());
    // The keyring takes a few hundred milliseconds to answer: the key is read now, not in front
    // of the first fix, and again whenever the custom endpoint is switched on.
    ApiKeyStore* keyStore = m_keyStore.get();
    if (m_settings->useCustomEndpoint())
        keyStore->prefetch();
    connect(m_settings.get(), &SettingsManager::useCustomEndpointChanged, this, [keyStore](bool on) {
        if (on)
            keyStore->refresh();
    });
    m_modes = std::make_unique<ModeManager>(m_defaults);
    m_history = std::make_unique<HistoryManager>(m_defaults, HistoryManager::defaultStoragePath());
    m_usage = std::make_unique<UsageStatsManager>(m_defaults);

    SettingsManager* settings = m_settings.get();
    m_analytics = std::make_unique<AnalyticsManager>(PostHogConfig::fromBuildOptions(),
                                                     [settings] { return settings->analyticsEnabled(); });
    connect(settings, &SettingsManager::analyticsEnabledChanged, m_analytics.get(), &AnalyticsManager::applyConsent);
    AnalyticsManager* analytics = m_analytics.get();
    connect(qApp, &QCoreApplication::aboutToQuit, analytics, [analytics] { analytics->client().shutdown(); });

    m_clipboard = std::make_unique<ClipboardManager>();
    m_clipboard->setSystemClipboard(m_platform->clipboard.get());
    m_selection = std::make_unique<SelectionManager>(*m_platform->keySender, *m_clipboard, *m_platform->workspace);
    m_cloudEngine = std::make_unique<CloudEngine>(CloudEngine::baseUrlFromEnvironment(),
                                                  [analytics] { return analytics->distinctId(); });
    m_offlineEngine = std::make_unique<OfflineEngine>();
    ApiKeyStore* keys = m_keyStore.get();
    m_customEngine = std::make_unique<CustomOpenAIEngine>(
        [settings] {
            return CustomEndpointConfig{settings->customAPIURL(), settings->customModelID(),
                                        settings->isCustomEndpointConfigured()};
        },
        [keys]() { return keys->readKey(); },
        [](const QString& original, const QString& fixed) { return DiffUtils::wordDiff(original, fixed).editCount; });

    m_panel = std::make_unique<InlineDiffPanelController>(*m_platform->workspace, m_platform->keyMonitor.get());
    m_adapters.reset(new FixNeighbourAdapters{
        ModeCatalogAdapter(*m_modes), SelectionAdapter(*m_selection), ClipboardAdapter(*m_clipboard),
        PanelAdapter(*m_panel), SettingsAdapter(*m_settings, *m_history), HistoryAdapter(*m_history),
        UsageAdapter(*m_usage), AnalyticsAdapter(*m_analytics)});
    m_coordinator = std::make_unique<FixCoordinator>(FixNeighbourhood{
        m_adapters->modes, m_adapters->selection, m_adapters->clipboard, *m_cloudEngine, *m_customEngine,
        m_adapters->panel, m_adapters->settings, m_adapters->history, m_adapters->usage, m_adapters->analytics,
        *m_platform->trust, *m_platform->workspace, nullptr, m_offlineEngine.get(), CloudEngine::baseUrlFromEnvironment()});
    FixCoordinator* coordinator = m_coordinator.get();
    m_panel->retryAction = [coordinator] { coordinator->retry(); };
    m_panel->settingsAction = [this] { showSettings(); };
    m_panel->cancelAction = [coordinator] { coordinator->cancel(); };

    m_hotkeys = std::make_unique<HotkeyManager>(*m_platform->shortcuts);
    ShortcutAvailability::instance().setShortcuts(m_platform->shortcuts.get());
    m_hotkeys->onModeTriggered = [this](const QUuid& modeId) { triggerMode(modeId); };

    m_updates = std::make_unique<UpdateController>(*m_settings, m_defaults);
}

TembrelApp::~TembrelApp()
{
    // Shortcuts go first so no press arrives while the rest is torn down.
    ShortcutAvailability::instance().setShortcuts(nullptr);
    m_hotkeys.reset();
}

void TembrelApp::start()
{
    m_taskbar.setHidden(m_settings->hideDockIcon());
    connect(m_settings.get(), &SettingsManager::hideDockIconChanged, &m_taskbar, &TaskbarPolicy::setHidden);

    m_statusMenu = std::make_unique<StatusMenu>();
    connect(m_statusMenu.get(), &StatusMenu::checkForUpdatesRequested, m_updates.get(),
            &UpdateController::checkForUpdates);
    connect(m_statusMenu.get(), &StatusMenu::showHistoryRequested, this, &TembrelApp::showHistory);
    connect(m_statusMenu.get(), &StatusMenu::showSettingsRequested, this, &TembrelApp::showSettings);
    connect(m_statusMenu.get(), &StatusMenu::quitRequested, this, &TembrelApp::quit);
    m_statusMenu->show();

    registerHotkeys();
    watchModeShortcuts();
    promptForOnboardingOrTrust();
    reportLaunch();
    m_updates->start();
    qCInfo(lcApp) << "Tembrel is running";
    Q_EMIT started();
}

void TembrelApp::triggerMode(const QUuid& modeId)
{
    m_coordinator->startFix(storedUuidString(modeId));
}

QString TembrelApp::fixWithMode(const QString& nameOrId)
{
    const QString wanted = nameOrId.trimmed();
    const QUuid id = QUuid::fromString(wanted);
    std::optional<Mode> match = id.isNull() ? std::nullopt : m_modes->mode(id);
    if (!match) {
        const QList<Mode>& modes = m_modes->modes();
        const auto named = std::find_if(modes.cbegin(), modes.cend(), [&wanted](const Mode& mode) {
            return mode.name.compare(wanted, Qt::CaseInsensitive) == 0;
        });
        if (named != modes.cend())
            match = *named;
    }
    if (!match) {
        // The built-in modes answer to what they do, so that a line bound in a desktop's
        // keyboard settings reads "tembrel --fix proofread" whatever the mode is called.
        static const QList<std::pair<QString, int>> builtInWords = {
            {QStringLiteral("proofread"), 1}, {QStringLiteral("professional"), 2},
            {QStringLiteral("casual"), 3},    {QStringLiteral("tighten"), 4},
        };
        for (const auto& [word, number] : builtInWords) {
            if (wanted.compare(word, Qt::CaseInsensitive) == 0)
                match = m_modes->mode(ModeCatalogue::builtInId(number));
        }
    }
    if (!match)
        return QStringLiteral("There is no mode called '%1'.").arg(nameOrId);
    if (!match->isEnabled)
        return QStringLiteral("The mode '%1' is turned off in Settings.").arg(match->name);
    qCInfo(lcApp).noquote() << "Fixing the selection with the mode" << match->name << "as asked on the command line";
    triggerMode(match->id);
    return {};
}

void TembrelApp::registerHotkeys()
{
    m_registeredConfigs = m_modes->hotkeyConfigs();
    m_hotkeys->registerModeHotkeys(m_modes->modes());
}

void TembrelApp::watchModeShortcuts()
{
    // While a recorder listens, the keys the user types belong to it: Tembrel's own shortcuts
    // stand aside and come back when it stops.
    connect(&ShortcutRecording::instance(), &ShortcutRecording::activeChanged, this, [this](bool recording) {
        if (recording)
            m_hotkeys->unregisterAll();
        else
            registerHotkeys();
    });
    // The catalogue announces every assignment, also of an identical list; shortcuts are
    // registered again only when what they imply (ids, enabled flags, keys) differs from what was
    // last registered, and then on a later turn of the event loop, after the change is complete.
    connect(m_modes.get(), &ModeManager::modesChanged, this, [this] {
        const QList<HotkeyConfig> configs = m_modes->hotkeyConfigs();
        if (configs == m_registeredConfigs)
            return;
        m_registeredConfigs = configs;
        QMetaObject::invokeMethod(this, [this] {
            if (!ShortcutRecording::instance().isActive())
                registerHotkeys();
        }, Qt::QueuedConnection);
    });
}

void TembrelApp::promptForOnboardingOrTrust()
{
    const bool skipOnboarding = m_defaults.value(QStringLiteral("skipOnboarding"), false).toBool();
    if (!skipOnboarding) {
        // Onboarding asks for the permission itself, on its own page.
        showOnboarding();
        return;
    }
    if (!m_platform->trust->isTrusted()) {
        qCInfo(lcApp).noquote() << "Asking for permission to send keys:" << m_platform->trust->untrustedReason();
        m_platform->trust->requestTrust();
    }
}

void TembrelApp::reportLaunch()
{
    const bool launchAtLogin = m_platform->loginItem && m_platform->loginItem->status() == LoginItem::Status::enabled;
    m_analytics->trackAppLaunched(m_settings->useCustomEndpoint(), m_history->isEnabled(), launchAtLogin);
}

void TembrelApp::showSettings()
{
    openSettingsWindow(false);
    Q_EMIT showSettingsRequested();
}

void TembrelApp::openSettingsWindow(bool fromOnboarding)
{
    // The windows come into being on first use: a user who only fixes text never pays for them.
    if (!m_settingsWindow && m_platform->loginItem) {
        m_settingsWindow = std::make_unique<SettingsWindowController>(*m_settings, *m_modes, *m_history,
                                                                      *m_platform->loginItem, m_defaults);
        TaskbarPolicy* taskbar = &m_taskbar;
        m_settingsWindow->setWindowCreatedHandler([taskbar](QWindow* window) { taskbar->manage(window); });
        m_settingsWindow->setViewHistoryHandler([this] { showHistory(); });
    }
    if (m_settingsWindow)
        m_settingsWindow->show(fromOnboarding);
}

void TembrelApp::showHistory()
{
    if (!m_historyWindow) {
        AnalyticsManager* analytics = m_analytics.get();
        m_historyWindow = std::make_unique<HistoryWindowController>(
            *m_history, *m_modes, [analytics] { return analytics->distinctId(); }, &m_taskbar);
    }
    m_historyWindow->show();
    Q_EMIT showHistoryRequested();
}

void TembrelApp::showOnboarding()
{
    if (!m_onboarding) {
        m_onboarding = std::make_unique<OnboardingController>(*m_modes, *m_settings, *m_platform->trust,
                                                              *m_clipboard, *m_analytics, m_defaults);
        TaskbarPolicy* taskbar = &m_taskbar;
        m_onboarding->setWindowCreatedHandler([taskbar](QWindow* window) { taskbar->manage(window); });
        connect(m_onboarding.get(), &OnboardingController::finished, this, [this] { openSettingsWindow(true); });
    }
    m_onboarding->show();
    Q_EMIT showOnboardingRequested();
}

void TembrelApp::quit()
{
    qCInfo(lcApp) << "Quitting";
    // Settings are written at every change; syncing only flushes what QSettings may still hold in
    // memory. The history's last change may still wait for its write: it is written now.
    m_defaults.sync();
    m_history->flush();
    QCoreApplication::quit();
}
