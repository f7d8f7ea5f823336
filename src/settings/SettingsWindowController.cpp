#include "settings/SettingsWindowController.h"

#include "analytics/PostHogConfig.h"
#include "app/BuildConfig.h"
#include "core/Logging.h"
#include "core/TextFormat.h"
#include "settings/FixedWindow.h"
#include "engines/CloudEngine.h"
#include "engines/ConnectionTestState.h"
#include "engines/EngineChoice.h"
#include "engines/LocalModelServers.h"
#include "history/HistoryManager.h"
#include "modes/ModeManager.h"
#include "platform/LoginItem.h"
#include "settings/ModesModel.h"
#include "settings/SettingsManager.h"
#include "settings/SettingsWindowTexts.h"
#include "settings/TitleFont.h"
#include "settings/UserDefaults.h"

#include <QCoreApplication>
#include <QRegularExpression>
#include <QGuiApplication>
#include <QPalette>
#include <QQmlContext>
#include <QQuickView>
#include <QScreen>
#include <QSettings>
#include <QSystemTrayIcon>

namespace {

const QString skipOnboardingKey = QStringLiteral("skipOnboarding");

} // namespace

SettingsWindowController::SettingsWindowController(SettingsManager& settings, ModeManager& modes,
                                                   HistoryManager& history, LoginItem& loginItem,
                                                   QSettings& defaults, QObject* parent)
    : QObject(parent)
    , m_settings(settings)
    , m_modes(modes)
    , m_history(history)
    , m_loginItem(loginItem)
    , m_defaults(defaults)
    , m_modesModel(std::make_unique<ModesModel>(modes))
    , m_connectionTest(std::make_unique<ConnectionTestState>([&modes] { return modes.defaultMode().prompt; }))
    , m_localServers(std::make_unique<LocalModelServers>())
{
    connect(&m_settings, &SettingsManager::customEndpointConfiguredChanged, this,
            &SettingsWindowController::engineDescriptionChanged);
    connect(&m_modes, &ModeManager::modesChanged, this, &SettingsWindowController::shortcutTextChanged);
    connect(&m_settings, &SettingsManager::hotkeyChanged, this, &SettingsWindowController::shortcutTextChanged);
    connect(&m_history, &HistoryManager::entriesChanged, this, &SettingsWindowController::historyChanged);
    m_keySavePause.setSingleShot(true);
    m_keySavePause.setInterval(apiKeySavePauseMs);
    connect(&m_keySavePause, &QTimer::timeout, this, &SettingsWindowController::commitApiKey);
}

SettingsWindowController::~SettingsWindowController()
{
    // Quitting right after typing: the last text still reaches the keyring.
    if (m_keyToWrite)
        m_settings.storeApiKey(*m_keyToWrite);
}

void SettingsWindowController::show(bool fromOnboarding)
{
    if (m_isFromOnboarding != fromOnboarding) {
        m_isFromOnboarding = fromOnboarding;
        Q_EMIT isFromOnboardingChanged();
    }
    if (m_view && fromOnboarding)
        forgetWindow(); // rebuilt, so that the greeting shows
    if (!m_view)
        build();
    showCentred(*m_view);
}

QQuickWindow* SettingsWindowController::window() const
{
    return m_view.get();
}

void SettingsWindowController::build()
{
    m_view = makeFixedWindow(QStringLiteral("Settings"), QSize(width, height));
    QQmlContext* context = m_view->rootContext();
    context->setContextProperty(QStringLiteral("settingsWindow"), this);
    // Fixed when the window is built: bringing the window forward later keeps or lacks the greeting.
    context->setContextProperty(QStringLiteral("showsGreeting"), m_isFromOnboarding);
    context->setContextProperty(QStringLiteral("settings"), &m_settings);
    context->setContextProperty(QStringLiteral("history"), &m_history);
    context->setContextProperty(QStringLiteral("modesModel"), m_modesModel.get());
    context->setContextProperty(QStringLiteral("connectionTest"), m_connectionTest.get());
    context->setContextProperty(QStringLiteral("localServers"), m_localServers.get());
    loadWindowPage(*m_view, QStringLiteral("qrc:/Tembrel/settings/SettingsWindowView.qml"));
    connect(m_view.get(), &QWindow::visibleChanged, this, [this](bool visible) {
        if (!visible)
            forgetWindow();
    });
    // A verdict is about what was entered when the test ran; a new window starts without one.
    m_connectionTest->reset();
    m_apiKeyError.clear();
    Q_EMIT apiKeyErrorChanged();
    loadApiKey();
    if (m_onWindowCreated)
        m_onWindowCreated(m_view.get());
}

void SettingsWindowController::forgetWindow()
{
    if (!m_view)
        return;
    commitApiKey();
    QQuickView* view = m_view.release();
    view->disconnect(this);
    view->hide();
    // Deleted later: this may run inside the window's own close handling.
    view->deleteLater();
}

void SettingsWindowController::close()
{
    if (m_view)
        m_view->close();
}

bool SettingsWindowController::launchAtLogin() const
{
    return m_loginItem.status() == LoginItem::Status::enabled;
}

void SettingsWindowController::setLaunchAtLogin(bool enabled)
{
    m_loginItemError.clear();
    if (!m_loginItem.setEnabled(enabled)) {
        m_loginItemError = m_loginItem.lastError();
        qCWarning(lcSettings, "Failed to %s launch at login: %s", enabled ? "enable" : "disable",
                  qUtf8Printable(m_loginItemError));
    }
    Q_EMIT launchAtLoginChanged();
}

QString SettingsWindowController::launchAtLoginProblem() const
{
    // An entry whose program is gone, and that could not be repaired, is reported beside the switch.
    if (m_loginItemError.isEmpty() && m_loginItem.status() == LoginItem::Status::notFound)
        return m_loginItem.lastError();
    return m_loginItemError;
}

bool SettingsWindowController::analyticsBuiltIn() const
{
    return !PostHogConfig::fromBuildOptions().apiKey.isEmpty();
}

QString SettingsWindowController::analyticsHelp() const
{
    return analyticsBuiltIn() ? SettingsWindowTexts::analyticsHelp : SettingsWindowTexts::analyticsNotBuiltIn;
}

QString SettingsWindowController::noTrayHint() const
{
    return QSystemTrayIcon::isSystemTrayAvailable() ? QString() : SettingsWindowTexts::noTrayHint;
}

bool SettingsWindowController::showWelcomeOnLaunch() const
{
    return !UserDefaults::boolValue(m_defaults, skipOnboardingKey);
}

void SettingsWindowController::setShowWelcomeOnLaunch(bool show)
{
    m_defaults.setValue(skipOnboardingKey, !show);
    Q_EMIT showWelcomeOnLaunchChanged();
}

QString SettingsWindowController::shortcutText() const
{
    const Mode primary = m_modes.defaultMode();
    return primary.hotkey.value_or(m_settings.hotkey()).platformDisplayString();
}

QString SettingsWindowController::compositorBindings() const
{
    QStringList lines;
    const QList<Mode> modes = m_modes.enabledModes();
    for (const Mode& mode : modes) {
        if (!mode.hotkey)
            continue;
        // The command line takes a mode's name or id; a name the shell would split goes by id.
        static const QRegularExpression plainName(QStringLiteral("^[A-Za-z0-9_-]+$"));
        const QString argument = plainName.match(mode.name).hasMatch() ? mode.name : mode.id.toString(QUuid::WithoutBraces);
        const QString line = m_session.compositorBinding(mode.hotkey->platformDisplayString(), argument);
        if (!line.isEmpty())
            lines << line;
    }
    if (!lines.isEmpty())
        lines << m_session.compositorWindowRules();
    return lines.join(QLatin1Char('\n'));
}

QString SettingsWindowController::compositorBindingsIntro() const
{
    const bool hyprland = m_session.desktopName.compare(QLatin1String("Hyprland"), Qt::CaseInsensitive) == 0;
    return QStringLiteral("%1 keeps shortcuts to itself. Add these lines to %2 and reload it:")
        .arg(m_session.desktopName.isEmpty() ? QStringLiteral("Your compositor") : m_session.desktopName,
             hyprland ? QStringLiteral("~/.config/hypr/hyprland.conf") : QStringLiteral("~/.config/sway/config"));
}

QString SettingsWindowController::version() const
{
    const QString version = QCoreApplication::applicationVersion();
    return version.isEmpty() ? QString::fromUtf8(BuildConfig::version) : version;
}

QString SettingsWindowController::titleFontFamily() const
{
    return ::titleFontFamily();
}

QString SettingsWindowController::historySummary() const
{
    return TextFormat::plural(m_history.count(), QStringLiteral("tembrel")) + QStringLiteral(", ")
           + TextFormat::plural(m_history.totalEdits(), QStringLiteral("edit")) + QStringLiteral(" saved");
}

QString SettingsWindowController::clearHistoryMessage() const
{
    return QStringLiteral("Delete all ") + TextFormat::plural(m_history.count(), QStringLiteral("tembrel"))
           + QStringLiteral(" from history? This can't be undone.");
}

QString SettingsWindowController::hideDockIconLabel() const
{
    return SettingsWindowTexts::hideDockIconLabel;
}

QString SettingsWindowController::hideDockIconHelp() const
{
    return SettingsWindowTexts::hideDockIconHelp;
}

QString SettingsWindowController::exampleApiUrl() const
{
    return SettingsWindowTexts::exampleApiUrl;
}

QString SettingsWindowController::engineDescription() const
{
    return ::engineDescription(chooseEngine(m_settings.isCustomEndpointConfigured(), CloudEngine::baseUrlFromEnvironment()));
}

QString SettingsWindowController::apiKeyHelp() const
{
    return SettingsWindowTexts::apiKeyHelp;
}

void SettingsWindowController::viewHistory()
{
    if (m_onViewHistory)
        m_onViewHistory();
}

void SettingsWindowController::clearHistory()
{
    m_history.clearAll();
}

QCoro::Task<> SettingsWindowController::loadApiKey()
{
    QPointer<SettingsWindowController> self(this);
    const std::optional<QString> key = co_await m_settings.apiKey();
    if (!self)
        co_return; // the keyring answered after the controller was gone
    // Typing while the keyring answered wins over what it had.
    if (m_keyToWrite || m_writingKey)
        co_return;
    m_apiKey = key.value_or(QString());
    Q_EMIT apiKeyChanged();
}

void SettingsWindowController::setApiKeyText(const QString& key)
{
    // Each keyring write is a round trip to another process, and some keyrings prompt or log on
    // every one: a key is saved once it is typed, not once per key press.
    m_apiKey = key;
    m_keyToWrite = key;
    m_keySavePause.start();
}

void SettingsWindowController::commitApiKey()
{
    m_keySavePause.stop();
    if (m_keyToWrite && !m_writingKey)
        writeApiKeys();
}

QCoro::Task<> SettingsWindowController::writeApiKeys()
{
    // One keyring job at a time: jobs started together may finish in any order, and the item
    // must end up holding the last text typed.
    m_writingKey = true;
    // Typing again meanwhile waits for its own pause.
    while (m_keyToWrite && !m_keySavePause.isActive()) {
        const QString key = *std::exchange(m_keyToWrite, std::nullopt);
        QPointer<SettingsWindowController> self(this);
        const std::optional<ApiKeyStoreError> error = co_await m_settings.setApiKey(key);
        if (!self)
            co_return;
        const QString message = error ? error->message() : QString();
        if (message != m_apiKeyError) {
            m_apiKeyError = message;
            Q_EMIT apiKeyErrorChanged();
        }
    }
    m_writingKey = false;
}
