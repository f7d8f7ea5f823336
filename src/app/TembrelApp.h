#pragma once
#include <QObject>
#include <QSettings>
#include <memory>

struct PlatformServices;
class AnalyticsManager;
class ApiKeyStore;
class ClipboardManager;
class CloudEngine;
class CustomOpenAIEngine;
class FixCoordinator;
class HistoryManager;
class HotkeyManager;
class InlineDiffPanelController;
class ModeManager;
class SelectionManager;
class SettingsManager;
class UsageStatsManager;
struct FixNeighbourAdapters;

/// Owns every long-lived component of the running app and connects them: a shortcut press
/// starts a fix for its mode, the fix reaches the clipboard and the panel.
class TembrelApp : public QObject
{
    Q_OBJECT
public:
    explicit TembrelApp(std::unique_ptr<PlatformServices> platform, QObject* parent = nullptr);
    ~TembrelApp() override;

    /// Registers the shortcuts of the current modes and keeps them registered as modes change.
    void start();

    [[nodiscard]] FixCoordinator& coordinator() { return *m_coordinator; }
    [[nodiscard]] InlineDiffPanelController& panel() { return *m_panel; }

private:
    void registerHotkeys();

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
    std::unique_ptr<InlineDiffPanelController> m_panel;
    std::unique_ptr<FixNeighbourAdapters> m_adapters;
    std::unique_ptr<FixCoordinator> m_coordinator;
    std::unique_ptr<HotkeyManager> m_hotkeys;
};
