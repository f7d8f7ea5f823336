#pragma once
#include "app/TaskbarPolicy.h"
#include "modes/Hotkey.h"

#include <QList>
#include <QObject>
#include <QSettings>
#include <memory>

struct PlatformServices;
class AnalyticsManager;
class ApiKeyStore;
class ClipboardManager;
class CloudEngine;
class CustomOpenAIEngine;
class OfflineEngine;
class FixCoordinator;
class HistoryManager;
class HistoryWindowController;
class HotkeyManager;
class InlineDiffPanelController;
class ModeManager;
class OnboardingController;
class SelectionManager;
class SettingsManager;
class SettingsWindowController;
class StatusMenu;
class UpdateController;
class UsageStatsManager;
struct FixNeighbourAdapters;

/// Owns every long-lived component of the running app and connects them: a shortcut press
/// starts a fix for its mode, the fix reaches the clipboard and the panel. The windows (settings,
/// history, onboarding) connect to its show signals and register with its task-bar policy.
class TembrelApp : public QObject
{
    Q_OBJECT
public:
    explicit TembrelApp(std::unique_ptr<PlatformServices> platform, QObject* parent = nullptr);
    ~TembrelApp() override;

    /// The launch sequence: task-bar policy, tray menu, mode shortcuts (kept registered as they
    /// change), onboarding or the permission prompt, the launch report, then the update schedule.
    void start();

    /// Asks for the settings window (also what launching Tembrel again does).
    void showSettings();
    /// Asks for the history window.
    void showHistory();
    /// Opens the onboarding window; finishing it opens the settings window with its greeting.
    void showOnboarding();
    /// Ends Tembrel through the application's normal exit.
    void quit();
    /// Fixes the current selection with the mode named `nameOrId` (its id, or its name in any
    /// case), exactly as that mode's shortcut does. Returns why not when no enabled mode matches.
    QString fixWithMode(const QString& nameOrId);

    [[nodiscard]] FixCoordinator& coordinator() { return *m_coordinator; }
    [[nodiscard]] InlineDiffPanelController& panel() { return *m_panel; }
    [[nodiscard]] SettingsManager& settings() { return *m_settings; }
    [[nodiscard]] ModeManager& modes() { return *m_modes; }
    [[nodiscard]] HistoryManager& history() { return *m_history; }
    [[nodiscard]] UsageStatsManager& usage() { return *m_usage; }
    [[nodiscard]] AnalyticsManager& analytics() { return *m_analytics; }
    [[nodiscard]] PlatformServices& platform() { return *m_platform; }
    [[nodiscard]] UpdateController& updates() { return *m_updates; }
    [[nodiscard]] CustomOpenAIEngine& customEngine() { return *m_customEngine; }
    /// Windows call `taskbarPolicy().manage(window)` once; it keeps them out of the task bar
    /// whenever "hideDockIcon" is on.
    [[nodiscard]] TaskbarPolicy& taskbarPolicy() { return m_taskbar; }
    /// The tray menu; null before start().
    [[nodiscard]] StatusMenu* statusMenu() { return m_statusMenu.get(); }
    /// The onboarding window's controller; null until onboarding was first shown.
    [[nodiscard]] OnboardingController* onboarding() { return m_onboarding.get(); }

Q_SIGNALS:
    /// The settings window should show itself (not in onboarding mode) and come to the front.
    void showSettingsRequested();
    /// The history window should show itself and come to the front.
    void showHistoryRequested();
    /// The onboarding window should show itself.
    void showOnboardingRequested();
    /// Start-up has reported the launch; the app is fully running.
    void started();

private:
    void triggerMode(const QUuid& modeId);
    void registerHotkeys();
    void watchModeShortcuts();
    void promptForOnboardingOrTrust();
    void reportLaunch();
    void openSettingsWindow(bool fromOnboarding);

    std::unique_ptr<PlatformServices> m_platform;
    QSettings m_defaults;
    std::unique_ptr<ApiKeyStore> m_keyStore;
    std::unique_ptr<SettingsManager> m_settings;
    std::unique_ptr<ModeManager> m_modes;
    std::unique_ptr<HistoryManager> m_history;
    std::unique_ptr<UsageStatsManager> m_usage;
    std::unique_ptr<AnalyticsManager> m_analytics;
    std::unique_ptr<ClipboardManager> m_clipboard;
    std::unique_ptr<SelectionManager> m_selection;
    std::unique_ptr<CloudEngine> m_cloudEngine;
    std::unique_ptr<CustomOpenAIEngine> m_customEngine;
    std::unique_ptr<OfflineEngine> m_offlineEngine;
    std::unique_ptr<InlineDiffPanelController> m_panel;
    std::unique_ptr<FixNeighbourAdapters> m_adapters;
    std::unique_ptr<FixCoordinator> m_coordinator;
    std::unique_ptr<HotkeyManager> m_hotkeys;
    std::unique_ptr<UpdateController> m_updates;
    std::unique_ptr<SettingsWindowController> m_settingsWindow;
    std::unique_ptr<HistoryWindowController> m_historyWindow;
    std::unique_ptr<OnboardingController> m_onboarding;
    TaskbarPolicy m_taskbar;
    std::unique_ptr<StatusMenu> m_statusMenu;
    QList<HotkeyConfig> m_registeredConfigs;
};
