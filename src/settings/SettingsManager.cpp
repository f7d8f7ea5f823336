#include "settings/SettingsManager.h"

#include "core/TextFormat.h"
#include "engines/ApiKeyStore.h"
#include "settings/UserDefaults.h"

#include <QJsonDocument>
#include <QSettings>

namespace {
const QString useCustomEndpointKey = QStringLiteral("useCustomEndpoint");
const QString customAPIURLKey = QStringLiteral("customAPIURL");
const QString customModelIDKey = QStringLiteral("customModelID");
const QString hotkeyKey = QStringLiteral("hotkey");
const QString analyticsEnabledKey = QStringLiteral("analyticsEnabled");
const QString receiveBetaUpdatesKey = QStringLiteral("receiveBetaUpdates");
const QString hideDockIconKey = QStringLiteral("hideDockIcon");

std::optional<Hotkey> decodeHotkey(const QByteArray& data)
{
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(data, &error);
    if (error.error != QJsonParseError::NoError)
        return std::nullopt;
    return Hotkey::fromJson(document.object());
}
} // namespace

SettingsManager::SettingsManager(QSettings& settings, ApiKeyStore* keyStore, QObject* parent)
    : QObject(parent)
    , m_settings(settings)
    , m_keyStore(keyStore)
{
    m_useCustomEndpoint = UserDefaults::boolValue(m_settings, useCustomEndpointKey);
    m_customAPIURL = UserDefaults::stringValue(m_settings, customAPIURLKey).value_or(QString());
    m_customModelID = UserDefaults::stringValue(m_settings, customModelIDKey).value_or(QString());
    // Bad hotkey data is neither reported nor removed: it stays until the hotkey is next written.
    const std::optional<QByteArray> hotkeyData = UserDefaults::dataValue(m_settings, hotkeyKey);
    m_hotkey = (hotkeyData ? decodeHotkey(*hotkeyData) : std::nullopt).value_or(defaultHotkey());
    m_analyticsEnabled = UserDefaults::strictBool(m_settings, analyticsEnabledKey).value_or(true);
    m_receiveBetaUpdates = UserDefaults::boolValue(m_settings, receiveBetaUpdatesKey);
    m_hideDockIcon = UserDefaults::boolValue(m_settings, hideDockIconKey);
}

void SettingsManager::store(const QString& key, const QVariant& value)
{
    m_settings.setValue(key, value);
    m_settings.sync();
}

bool SettingsManager::isCustomEndpointConfigured() const
{
    return m_useCustomEndpoint && !TextFormat::isBlank(m_customAPIURL);
}

void SettingsManager::setUseCustomEndpoint(bool value)
{
    m_useCustomEndpoint = value;
    store(useCustomEndpointKey, value);
    Q_EMIT useCustomEndpointChanged(value);
    Q_EMIT customEndpointConfiguredChanged();
}

void SettingsManager::setCustomAPIURL(const QString& value)
{
    m_customAPIURL = value;
    store(customAPIURLKey, value);
    Q_EMIT customAPIURLChanged(value);
    Q_EMIT customEndpointConfiguredChanged();
}

void SettingsManager::setCustomModelID(const QString& value)
{
    m_customModelID = value;
    store(customModelIDKey, value);
    Q_EMIT customModelIDChanged(value);
}

void SettingsManager::setHotkey(const Hotkey& value)
{
    m_hotkey = value;
    store(hotkeyKey, QJsonDocument(value.toJson()).toJson(QJsonDocument::Compact));
    Q_EMIT hotkeyChanged(value);
    if (m_onHotkeyChanged)
        m_onHotkeyChanged(value);
}

void SettingsManager::setAnalyticsEnabled(bool value)
{
    m_analyticsEnabled = value;
    store(analyticsEnabledKey, value);
    Q_EMIT analyticsEnabledChanged(value);
}

void SettingsManager::setReceiveBetaUpdates(bool value)
{
    m_receiveBetaUpdates = value;
    store(receiveBetaUpdatesKey, value);
    Q_EMIT receiveBetaUpdatesChanged(value);
}

void SettingsManager::setHideDockIcon(bool value)
{
    m_hideDockIcon = value;
    store(hideDockIconKey, value);
    Q_EMIT hideDockIconChanged(value);
}

QCoro::Task<std::optional<QString>> SettingsManager::apiKey() const
{
    if (!m_keyStore)
        co_return std::nullopt;
    co_return co_await m_keyStore->readKey();
}

QCoro::Task<std::optional<ApiKeyStoreError>> SettingsManager::setApiKey(std::optional<QString> key)
{
    // The key store removes the item for a blank key, so no value and empty text both delete.
    std::optional<ApiKeyStoreError> error;
    if (m_keyStore)
        error = co_await m_keyStore->setKey(key.value_or(QString()));
    Q_EMIT apiKeyChanged();
    co_return error;
}

void SettingsManager::storeApiKey(const QString& key)
{
    QCoro::connect(setApiKey(key), this, [](const std::optional<ApiKeyStoreError>&) {});
}
