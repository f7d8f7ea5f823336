#pragma once
#include "platform/SessionInfo.h"

#include <QCoro/QCoroTask>
#include <QObject>
#include <QTimer>
#include <QPointer>
#include <QtQml/qqmlregistration.h>
#include <functional>
#include <memory>
#include <optional>

class ConnectionTestState;
class HistoryManager;
class LocalModelServers;
class LoginItem;
class ModeManager;
class ModesModel;
class QQuickView;
class QQuickWindow;
class QSettings;
class QWindow;
class SettingsManager;

/// The settings window: one at a time, rebuilt with a greeting when onboarding opens it, brought
/// forward as it is otherwise. Also what the window's view binds to beyond the stores themselves.
/// Lives on the UI thread for the whole run.
class SettingsWindowController : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Made by the app")
    Q_PROPERTY(bool isFromOnboarding READ isFromOnboarding NOTIFY isFromOnboardingChanged)
    Q_PROPERTY(bool launchAtLogin READ launchAtLogin WRITE setLaunchAtLogin NOTIFY launchAtLoginChanged)
    Q_PROPERTY(QString launchAtLoginProblem READ launchAtLoginProblem NOTIFY launchAtLoginChanged)
    Q_PROPERTY(bool analyticsBuiltIn READ analyticsBuiltIn CONSTANT)
    Q_PROPERTY(QString analyticsHelp READ analyticsHelp CONSTANT)
    Q_PROPERTY(QString noTrayHint READ noTrayHint CONSTANT)
    Q_PROPERTY(bool showWelcomeOnLaunch READ showWelcomeOnLaunch WRITE setShowWelcomeOnLaunch NOTIFY showWelcomeOnLaunchChanged)
    Q_PROPERTY(QString shortcutText READ shortcutText NOTIFY shortcutTextChanged)
    Q_PROPERTY(QString compositorBindings READ compositorBindings NOTIFY shortcutTextChanged)
    Q_PROPERTY(QString compositorBindingsIntro READ compositorBindingsIntro CONSTANT)
    Q_PROPERTY(QString version READ version CONSTANT)
    Q_PROPERTY(QString titleFontFamily READ titleFontFamily CONSTANT)
    Q_PROPERTY(QString historySummary READ historySummary NOTIFY historyChanged)
    Q_PROPERTY(QString clearHistoryMessage READ clearHistoryMessage NOTIFY historyChanged)
    Q_PROPERTY(QString hideDockIconLabel READ hideDockIconLabel CONSTANT)
    Q_PROPERTY(QString hideDockIconHelp READ hideDockIconHelp CONSTANT)
    Q_PROPERTY(QString exampleApiUrl READ exampleApiUrl CONSTANT)
    Q_PROPERTY(QString apiKeyHelp READ apiKeyHelp CONSTANT)
    Q_PROPERTY(QString apiKey READ apiKey NOTIFY apiKeyChanged)
    Q_PROPERTY(QString apiKeyError READ apiKeyError NOTIFY apiKeyErrorChanged)
    Q_PROPERTY(QString engineDescription READ engineDescription NOTIFY engineDescriptionChanged)

public:
    static constexpr int width = 400;
    static constexpr int height = 450;

    /// The stores must outlive the controller. `defaults` holds "skipOnboarding"; the connection
    /// test sends the prompt of `modes`' default mode.
    SettingsWindowController(SettingsManager& settings, ModeManager& modes, HistoryManager& history,
                             LoginItem& loginItem, QSettings& defaults, QObject* parent = nullptr);
    ~SettingsWindowController() override;

    /// Opens the window, or brings the open one forward; from onboarding it is rebuilt with the greeting.
    void show(bool fromOnboarding = false);
    /// Called with every new window, e.g. to keep it out of the task bar when the user asked so.
    void setWindowCreatedHandler(std::function<void(QWindow*)> handler) { m_onWindowCreated = std::move(handler); }
    /// What "View History" does: open the history window.
    void setViewHistoryHandler(std::function<void()> handler) { m_onViewHistory = std::move(handler); }

    /// The open window, or null.
    [[nodiscard]] QQuickWindow* window() const;
    [[nodiscard]] ConnectionTestState& connectionTest() { return *m_connectionTest; }
    /// The model servers found on this computer, and the models of the endpoint being edited.
    [[nodiscard]] LocalModelServers& localServers() { return *m_localServers; }
    /// Which engine fixes text now, in words.
    [[nodiscard]] QString engineDescription() const;

    [[nodiscard]] bool isFromOnboarding() const { return m_isFromOnboarding; }
    [[nodiscard]] bool launchAtLogin() const;
    void setLaunchAtLogin(bool enabled);
    /// Why launching at login is off although asked for, or failed to change; empty otherwise.
    [[nodiscard]] QString launchAtLoginProblem() const;
    /// Whether this build can send usage data at all: only a build with an analytics key can.
    [[nodiscard]] bool analyticsBuiltIn() const;
    [[nodiscard]] QString analyticsHelp() const;
    /// Where the desktop has no tray, how to come back to this window; empty otherwise.
    [[nodiscard]] QString noTrayHint() const;
    [[nodiscard]] bool showWelcomeOnLaunch() const;
    void setShowWelcomeOnLaunch(bool show);
    /// The primary mode's shortcut as this platform writes it.
    [[nodiscard]] QString shortcutText() const;
    /// Where the compositor keeps shortcuts to itself (sway, Hyprland), the configuration line that
    /// binds each enabled mode's shortcut to `tembrel --fix`; empty elsewhere.
    [[nodiscard]] QString compositorBindings() const;
    [[nodiscard]] QString compositorBindingsIntro() const;
    [[nodiscard]] QString version() const;
    [[nodiscard]] QString titleFontFamily() const;
    /// "3 tembrels, 12 edits saved".
    [[nodiscard]] QString historySummary() const;
    [[nodiscard]] QString clearHistoryMessage() const;
    [[nodiscard]] QString hideDockIconLabel() const;
    [[nodiscard]] QString hideDockIconHelp() const;
    [[nodiscard]] QString exampleApiUrl() const;
    [[nodiscard]] QString apiKeyHelp() const;
    /// The key as read from the keyring when the window was built, then as typed.
    [[nodiscard]] QString apiKey() const { return m_apiKey; }
    /// Why the keyring refused the last save; empty when it worked.
    [[nodiscard]] QString apiKeyError() const { return m_apiKeyError; }

    /// The text of the key field: saved to the keyring once typing pauses or the field is
    /// committed, an empty text deleting the item. Saves run one after another, so the keyring
    /// ends with the last text typed.
    Q_INVOKABLE void setApiKeyText(const QString& key);
    /// Saves the key typed so far now (Enter, leaving the field, testing, closing the window).
    Q_INVOKABLE void commitApiKey();
    /// How long typing must pause before the key is saved.
    static constexpr int apiKeySavePauseMs = 800;
    Q_INVOKABLE void viewHistory();
    /// Empties the history (after the user confirmed).
    Q_INVOKABLE void clearHistory();
    Q_INVOKABLE void close();

Q_SIGNALS:
    void isFromOnboardingChanged();
    void launchAtLoginChanged();
    void showWelcomeOnLaunchChanged();
    void shortcutTextChanged();
    void engineDescriptionChanged();
    void historyChanged();
    void apiKeyChanged();
    void apiKeyErrorChanged();

private:
    void build();
    SessionInfo m_session = SessionInfo::detect();
    void forgetWindow();
    QCoro::Task<> loadApiKey();
    QCoro::Task<> writeApiKeys();

    SettingsManager& m_settings;
    ModeManager& m_modes;
    HistoryManager& m_history;
    LoginItem& m_loginItem;
    QSettings& m_defaults;
    std::unique_ptr<ModesModel> m_modesModel;
    std::unique_ptr<ConnectionTestState> m_connectionTest;
    std::unique_ptr<LocalModelServers> m_localServers;
    std::unique_ptr<QQuickView> m_view;
    std::function<void(QWindow*)> m_onWindowCreated;
    std::function<void()> m_onViewHistory;
    bool m_isFromOnboarding = false;
    QString m_loginItemError;
    QString m_apiKey;
    QString m_apiKeyError;
    std::optional<QString> m_keyToWrite;
    bool m_writingKey = false;
    QTimer m_keySavePause;
};
