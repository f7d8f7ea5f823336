#pragma once
#include <QObject>
#include <QPointer>
#include <QStringList>
#include <QTimer>
#include <QtQml/qqmlregistration.h>
#include <chrono>
#include <functional>
#include <memory>

class AccessibilityTrust;
class AnalyticsManager;
class ClipboardManager;
class ModeManager;
class QQuickView;
class QQuickWindow;
class LocalModelServers;
class QSettings;
class QWindow;
class SettingsManager;

/// The onboarding window and what its pages bind to: welcome, the permission to send keys, and a
/// first real fix of a sample sentence. Polls trust while the permission page shows and the
/// clipboard while the try-it page shows. Lives on the UI thread; the app makes it on first launch.
class OnboardingController : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Made by the app")
    Q_PROPERTY(int currentPage READ currentPage NOTIFY currentPageChanged)
    Q_PROPERTY(int pageCount READ pageCount CONSTANT)
    Q_PROPERTY(bool trusted READ isTrusted NOTIFY trustedChanged)
    Q_PROPERTY(QString untrustedReason READ untrustedReason NOTIFY trustedChanged)
    Q_PROPERTY(QString sessionNote READ sessionNote NOTIFY trustedChanged)
    Q_PROPERTY(bool succeeded READ succeeded NOTIFY succeededChanged)
    Q_PROPERTY(QString pastedText READ pastedText WRITE setPastedText NOTIFY pastedTextChanged)
    Q_PROPERTY(QString shortcutText READ shortcutText NOTIFY shortcutTextChanged)
    Q_PROPERTY(QString titleFontFamily READ titleFontFamily CONSTANT)
    Q_PROPERTY(QString sampleSentence READ sampleSentence CONSTANT)
    Q_PROPERTY(QString permissionTitle READ permissionTitle CONSTANT)
    Q_PROPERTY(QString permissionIntro READ permissionIntro CONSTANT)
    Q_PROPERTY(QStringList howToEnable READ howToEnable CONSTANT)
    Q_PROPERTY(QString grantedDetail READ grantedDetail CONSTANT)
    Q_PROPERTY(QString unavailableTitle READ unavailableTitle CONSTANT)
    Q_PROPERTY(QString pastePlaceholder READ pastePlaceholder CONSTANT)

public:
    enum Page { welcome = 0, permission = 1, tryIt = 2 };
    static constexpr int width = 480;
    static constexpr int height = 520;
    static constexpr std::chrono::milliseconds trustPollInterval{500};
    static constexpr std::chrono::milliseconds clipboardPollInterval{300};

    /// Everything given must outlive the controller. `defaults` receives "skipOnboarding".
    OnboardingController(ModeManager& modes, SettingsManager& settings, AccessibilityTrust& trust,
                         ClipboardManager& clipboard, AnalyticsManager& analytics, QSettings& defaults,
                         QObject* parent = nullptr);
    ~OnboardingController() override;

    /// Opens the window (built on first use), centred and in front.
    void show();
    /// The open window, or null.
    [[nodiscard]] QQuickWindow* window() const;
    /// Called with every new window, e.g. to keep it out of the task bar when the user asked so.
    void setWindowCreatedHandler(std::function<void(QWindow*)> handler) { m_onWindowCreated = std::move(handler); }

    [[nodiscard]] int currentPage() const { return m_page; }
    [[nodiscard]] static int pageCount() { return 3; }
    [[nodiscard]] bool isTrusted() const { return m_trusted; }
    [[nodiscard]] QString untrustedReason() const;
    /// What works in this session and what to do about the rest; empty where everything works.
    [[nodiscard]] QString sessionNote() const;
    [[nodiscard]] bool succeeded() const { return m_succeeded; }
    [[nodiscard]] QString pastedText() const { return m_pastedText; }
    /// What the user has in the paste area; a fixed sentence there is a success.
    void setPastedText(const QString& text);
    /// The primary mode's shortcut as this platform writes it.
    [[nodiscard]] QString shortcutText() const;
    [[nodiscard]] static QString titleFontFamily();
    [[nodiscard]] static QString sampleSentence();
    [[nodiscard]] static QString permissionTitle();
    [[nodiscard]] static QString permissionIntro();
    [[nodiscard]] static QStringList howToEnable();
    [[nodiscard]] static QString grantedDetail();
    [[nodiscard]] static QString unavailableTitle();
    [[nodiscard]] static QString pastePlaceholder();

    /// Shows page `index`; out-of-range indexes are ignored.
    Q_INVOKABLE void goToPage(int index);
    Q_INVOKABLE void next() { goToPage(m_page + 1); }
    Q_INVOKABLE void back() { goToPage(m_page - 1); }
    /// Copies a selection of the sample as the plain sentence it is, without the page's styling.
    Q_INVOKABLE static void copyPlainText(const QString& text);
    /// "Open Settings": asks the system to show its permission prompt, where it has one.
    Q_INVOKABLE void openSystemSettings();
    /// "Let's Go": remembers that onboarding is done, reports it, closes the window and announces
    /// `finished` (the app then opens the settings window with its greeting).
    Q_INVOKABLE void finish();
    /// Closes the window without finishing: onboarding shows again at the next launch.
    Q_INVOKABLE void close();
    /// Points the custom endpoint at a model server found on this computer and switches it on.
    Q_INVOKABLE void useLocalServer(const QString& baseUrl, const QString& model);
    /// The model servers found on this computer.
    [[nodiscard]] LocalModelServers& localServers() { return *m_localServers; }

Q_SIGNALS:
    void currentPageChanged();
    void trustedChanged();
    void succeededChanged();
    void pastedTextChanged();
    void shortcutTextChanged();
    void finished();

private:
    void build();
    void forgetWindow();
    void updatePolling();
    void refreshTrust();
    void checkClipboard();
    void succeed(const char* how);

    ModeManager& m_modes;
    SettingsManager& m_settings;
    AccessibilityTrust& m_trust;
    ClipboardManager& m_clipboard;
    AnalyticsManager& m_analytics;
    QSettings& m_defaults;
    std::unique_ptr<QQuickView> m_view;
    std::unique_ptr<LocalModelServers> m_localServers;
    QPointer<QQuickView> m_closedView;
    std::function<void(QWindow*)> m_onWindowCreated;
    QTimer m_trustTimer;
    QTimer m_clipboardTimer;
    int m_page = welcome;
    bool m_trusted = false;
    bool m_succeeded = false;
    QString m_pastedText;
    // Qt tells when the clipboard changes owner; counting those notices stands in for a change count.
    quint64 m_clipboardChanges = 0;
    quint64 m_lastSeenClipboardChange = 0;
};
