#pragma once
#include "engines/ApiKeyStore.h"
#include "modes/Hotkey.h"

#include <QCoro/QCoroTask>
#include <QObject>
#include <functional>
#include <optional>

class QSettings;

/// The user's choices, each backed by a key in the user's settings and written at once. Lives on
/// the UI thread; the app creates one and hands it to whoever needs it. Side effects of a change
/// (analytics consent, task-bar presence, launch at login) are applied by whoever listens.
class SettingsManager : public QObject
{
    Q_OBJECT
    Q_PROPERTY(bool useCustomEndpoint READ useCustomEndpoint WRITE setUseCustomEndpoint NOTIFY useCustomEndpointChanged)
    Q_PROPERTY(QString customAPIURL READ customAPIURL WRITE setCustomAPIURL NOTIFY customAPIURLChanged)
    Q_PROPERTY(QString customModelID READ customModelID WRITE setCustomModelID NOTIFY customModelIDChanged)
    Q_PROPERTY(Hotkey hotkey READ hotkey WRITE setHotkey NOTIFY hotkeyChanged)
    Q_PROPERTY(bool analyticsEnabled READ analyticsEnabled WRITE setAnalyticsEnabled NOTIFY analyticsEnabledChanged)
    Q_PROPERTY(bool receiveBetaUpdates READ receiveBetaUpdates WRITE setReceiveBetaUpdates NOTIFY receiveBetaUpdatesChanged)
    Q_PROPERTY(bool hideDockIcon READ hideDockIcon WRITE setHideDockIcon NOTIFY hideDockIconChanged)
    Q_PROPERTY(bool isCustomEndpointConfigured READ isCustomEndpointConfigured NOTIFY customEndpointConfiguredChanged)

public:
    /// Reads every value from `settings` (which must outlive the manager). `keyStore` keeps the API
    /// key in the keyring; it is not owned and may be null (then there is never a key). Applies no
    /// side effects.
    explicit SettingsManager(QSettings& settings, ApiKeyStore* keyStore = nullptr, QObject* parent = nullptr);

    [[nodiscard]] bool useCustomEndpoint() const { return m_useCustomEndpoint; }
    [[nodiscard]] QString customAPIURL() const { return m_customAPIURL; }
    [[nodiscard]] QString customModelID() const { return m_customModelID; }
    [[nodiscard]] Hotkey hotkey() const { return m_hotkey; }
    /// True unless an explicit false is stored.
    [[nodiscard]] bool analyticsEnabled() const { return m_analyticsEnabled; }
    [[nodiscard]] bool receiveBetaUpdates() const { return m_receiveBetaUpdates; }
    [[nodiscard]] bool hideDockIcon() const { return m_hideDockIcon; }
    /// The custom endpoint is switched on and its URL is not blank: the test that picks the engine.
    [[nodiscard]] bool isCustomEndpointConfigured() const;

    void setUseCustomEndpoint(bool value);
    void setCustomAPIURL(const QString& value);
    void setCustomModelID(const QString& value);
    /// Stores the hotkey, then calls the hotkey callback when one is installed.
    void setHotkey(const Hotkey& value);
    /// Stores the consent; analyticsEnabledChanged tells the analytics manager to apply it.
    void setAnalyticsEnabled(bool value);
    void setReceiveBetaUpdates(bool value);
    /// Stores the value; the app shell listens to hideDockIconChanged and applies it.
    void setHideDockIcon(bool value);

    /// Installed by whoever wants to hear of a new hotkey directly (nobody does today).
    void setOnHotkeyChanged(std::function<void(const Hotkey&)> callback) { m_onHotkeyChanged = std::move(callback); }

    /// The custom endpoint's API key from the keychain, or nothing.
    QCoro::Task<std::optional<QString>> apiKey() const;
    /// Saves a key, or deletes the item for empty text or nothing; then sends apiKeyChanged, also
    /// when the keyring failed. Nothing back means it worked.
    QCoro::Task<std::optional<ApiKeyStoreError>> setApiKey(std::optional<QString> key);
    /// For QML: the same as setApiKey, started without waiting.
    Q_INVOKABLE void storeApiKey(const QString& key);

    /// Key and default of the stored hotkey: Command+Shift+S.
    [[nodiscard]] static Hotkey defaultHotkey() { return Hotkey::commandShift(1); }

Q_SIGNALS:
    // Each is sent on every write, also when the value did not change: a write is a user's act.
    void useCustomEndpointChanged(bool value);
    void customAPIURLChanged(const QString& value);
    void customModelIDChanged(const QString& value);
    void hotkeyChanged(const Hotkey& value);
    void analyticsEnabledChanged(bool enabled);
    void receiveBetaUpdatesChanged(bool value);
    void hideDockIconChanged(bool hidden);
    void customEndpointConfiguredChanged();
    /// The keychain item was written or deleted (also when the keychain failed).
    void apiKeyChanged();

private:
    void store(const QString& key, const QVariant& value);

    QSettings& m_settings;
    ApiKeyStore* m_keyStore;
    std::function<void(const Hotkey&)> m_onHotkeyChanged;
    bool m_useCustomEndpoint = false;
    QString m_customAPIURL;
    QString m_customModelID;
    Hotkey m_hotkey;
    bool m_analyticsEnabled = true;
    bool m_receiveBetaUpdates = false;
    bool m_hideDockIcon = false;
};
