#include "settings/OnboardingController.h"

#include "analytics/AnalyticsManager.h"
#include "capture/ClipboardManager.h"
#include "core/Logging.h"
#include "engines/LocalModelServers.h"
#include "settings/FixedWindow.h"
#include "modes/ModeManager.h"
#include "platform/AccessibilityTrust.h"
#include "settings/OnboardingSuccess.h"
#include "settings/OnboardingTexts.h"
#include "settings/SettingsManager.h"
#include "settings/TitleFont.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QPalette>
#include <QQmlContext>
#include <QQuickView>
#include <QScreen>
#include <QSettings>

OnboardingController::OnboardingController(ModeManager& modes, SettingsManager& settings, AccessibilityTrust& trust,
                                           ClipboardManager& clipboard, AnalyticsManager& analytics,
                                           QSettings& defaults, QObject* parent)
    : QObject(parent)
    , m_modes(modes)
    , m_settings(settings)
    , m_trust(trust)
    , m_clipboard(clipboard)
    , m_analytics(analytics)
    , m_defaults(defaults)
    , m_localServers(std::make_unique<LocalModelServers>())
    , m_trusted(trust.isTrusted())
{
    connect(&m_modes, &ModeManager::modesChanged, this, &OnboardingController::shortcutTextChanged);
    connect(&m_settings, &SettingsManager::hotkeyChanged, this, &OnboardingController::shortcutTextChanged);
    connect(QGuiApplication::clipboard(), &QClipboard::changed, this, [this](QClipboard::Mode mode) {
        if (mode == QClipboard::Clipboard)
            ++m_clipboardChanges;
    });
    m_trustTimer.setInterval(trustPollInterval);
    connect(&m_trustTimer, &QTimer::timeout, this, &OnboardingController::refreshTrust);
    m_clipboardTimer.setInterval(clipboardPollInterval);
    connect(&m_clipboardTimer, &QTimer::timeout, this, &OnboardingController::checkClipboard);
}

OnboardingController::~OnboardingController()
{
    // Gone at once: a window deleted later would outlive what its bindings read.
    if (m_view)
        m_view->disconnect(this);
    m_view.reset();
    delete m_closedView.data();
}

void OnboardingController::show()
{
    if (!m_view)
        build();
    showCentred(*m_view);
    qCInfo(lcSettings) << "Onboarding shown";
    updatePolling();
}

QQuickWindow* OnboardingController::window() const
{
    return m_view.get();
}

void OnboardingController::build()
{
    m_view = makeFixedWindow(QStringLiteral("Welcome to Tembrel"), QSize(width, height));
    m_view->rootContext()->setContextProperty(QStringLiteral("onboarding"), this);
    m_view->rootContext()->setContextProperty(QStringLiteral("localServers"), m_localServers.get());
    loadWindowPage(*m_view, QStringLiteral("qrc:/Tembrel/settings/OnboardingView.qml"));
    connect(m_view.get(), &QWindow::visibleChanged, this, [this](bool visible) {
        if (!visible)
            forgetWindow();
    });
    if (m_onWindowCreated)
        m_onWindowCreated(m_view.get());
}

void OnboardingController::forgetWindow()
{
    if (!m_view)
        return;
    QQuickView* view = m_view.release();
    view->disconnect(this);
    view->hide();
    // Deleted later: this may run inside the window's own close handling.
    view->deleteLater();
    m_closedView = view;
    updatePolling();
}

void OnboardingController::close()
{
    if (m_view)
        m_view->close();
}

void OnboardingController::updatePolling()
{
    // Polls only while the user can see what they would change.
    const bool open = m_view && m_view->isVisible();
    if (open && m_page == permission) {
        if (!m_trustTimer.isActive()) {
            refreshTrust();
            m_trustTimer.start();
        }
    } else {
        m_trustTimer.stop();
    }
    if (open && m_page == tryIt) {
        if (!m_clipboardTimer.isActive()) {
            checkClipboard();
            m_clipboardTimer.start();
        }
    } else {
        m_clipboardTimer.stop();
    }
}

void OnboardingController::goToPage(int index)
{
    if (index < 0 || index >= pageCount() || index == m_page)
        return;
    m_page = index;
    qCInfo(lcSettings) << "Onboarding page" << m_page;
    Q_EMIT currentPageChanged();
    updatePolling();
}

void OnboardingController::refreshTrust()
{
    const bool trusted = m_trust.isTrusted();
    if (trusted == m_trusted)
        return;
    m_trusted = trusted;
    Q_EMIT trustedChanged();
}

QString OnboardingController::untrustedReason() const
{
    return m_trusted ? QString() : m_trust.untrustedReason();
}

QString OnboardingController::sessionNote() const
{
    return m_trust.sessionNote();
}

void OnboardingController::openSystemSettings()
{
    m_trust.requestTrust();
    refreshTrust();
}

void OnboardingController::checkClipboard()
{
    if (m_clipboardChanges == m_lastSeenClipboardChange)
        return;
    m_lastSeenClipboardChange = m_clipboardChanges;
    if (m_succeeded)
        return;
    const std::optional<QString> text = m_clipboard.readPlainText();
    if (text && OnboardingSuccess::clipboardTextIsFixed(*text))
        succeed("through the clipboard");
}

void OnboardingController::copyPlainText(const QString& text)
{
    QGuiApplication::clipboard()->setText(text);
}

void OnboardingController::setPastedText(const QString& text)
{
    if (text == m_pastedText)
        return;
    const bool wasFixed = OnboardingSuccess::pastedTextIsFixed(m_pastedText);
    m_pastedText = text;
    Q_EMIT pastedTextChanged();
    if (!wasFixed && OnboardingSuccess::pastedTextIsFixed(text))
        succeed("in the paste area");
}

void OnboardingController::succeed(const char* how)
{
    // Told each time, also after the clipboard was first: the paste is what the user sees.
    qCInfo(lcSettings) << "Onboarding: the fixed sentence arrived" << how;
    if (m_succeeded)
        return;
    m_succeeded = true;
    Q_EMIT succeededChanged();
}

void OnboardingController::finish()
{
    m_defaults.setValue(QStringLiteral("skipOnboarding"), true);
    // The next launch, maybe after a crash, must not show onboarding again.
    m_defaults.sync();
    m_analytics.trackOnboardingCompleted(m_trust.isTrusted());
    qCInfo(lcSettings) << "Onboarding finished";
    close();
    Q_EMIT finished();
}

QString OnboardingController::shortcutText() const
{
    const Mode primary = m_modes.defaultMode();
    return primary.hotkey.value_or(m_settings.hotkey()).platformDisplayString();
}

QString OnboardingController::titleFontFamily()
{
    return ::titleFontFamily();
}

QString OnboardingController::sampleSentence()
{
    return OnboardingSuccess::sampleSentence;
}

QString OnboardingController::permissionTitle()
{
    return OnboardingTexts::permissionTitle;
}

QString OnboardingController::permissionIntro()
{
    return OnboardingTexts::permissionIntro;
}

QStringList OnboardingController::howToEnable()
{
    return OnboardingTexts::howToEnable;
}

QString OnboardingController::grantedDetail()
{
    return OnboardingTexts::grantedDetail;
}

QString OnboardingController::unavailableTitle()
{
    return OnboardingTexts::unavailableTitle;
}

QString OnboardingController::pastePlaceholder()
{
    return OnboardingTexts::pastePlaceholder;
}

void OnboardingController::useLocalServer(const QString& baseUrl, const QString& model)
{
    m_settings.setCustomAPIURL(baseUrl);
    m_settings.setCustomModelID(model);
    m_settings.setUseCustomEndpoint(true);
}
