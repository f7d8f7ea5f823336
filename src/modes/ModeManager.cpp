#include "modes/ModeManager.h"

#include "core/Logging.h"
#include "core/TextFormat.h"
#include "settings/UserDefaults.h"

#include <QSettings>
#include <algorithm>

namespace {
const QString modesKey = QStringLiteral("modes");
// Where undecodable catalogue data is kept before the next save replaces "modes", so the user's
// custom modes can still be recovered by hand.
const QString unreadableModesKey = QStringLiteral("modesUnreadable");
const QString migrationDoneKey = QStringLiteral("modesMigrationComplete");
const QString legacyFlagKey = QStringLiteral("useCustomSystemPrompt");
const QString legacyPromptKey = QStringLiteral("customSystemPrompt");
} // namespace

ModeManager::ModeManager(QSettings& settings, QObject* parent)
    : QObject(parent)
    , m_settings(settings)
{
    assign(load());
    migrateLegacyPrompt();
}

QVariantList ModeManager::modeList() const
{
    QVariantList list;
    list.reserve(m_modes.size());
    for (const Mode& mode : m_modes)
        list.append(QVariant::fromValue(mode));
    return list;
}

QList<Mode> ModeManager::enabledModes() const
{
    QList<Mode> enabled;
    std::copy_if(m_modes.cbegin(), m_modes.cend(), std::back_inserter(enabled),
                 [](const Mode& mode) { return mode.isEnabled; });
    return enabled;
}

Mode ModeManager::defaultMode() const
{
    if (auto primary = mode(ModeCatalogue::builtInId(1)))
        return *primary;
    return ModeCatalogue::defaultModes().first();
}

std::optional<Mode> ModeManager::mode(const QUuid& id) const
{
    for (const Mode& mode : m_modes) {
        if (mode.id == id)
            return mode;
    }
    return std::nullopt;
}

std::optional<Mode> ModeManager::modeUsingHotkey(quint32 keyCode, quint64 modifierFlags,
                                                 const std::optional<QUuid>& excluding) const
{
    for (const Mode& mode : m_modes) {
        if (excluding && mode.id == *excluding)
            continue;
        if (mode.hotkey && mode.hotkey->keyCode == keyCode && mode.hotkey->modifierFlagsRawValue == modifierFlags)
            return mode;
    }
    return std::nullopt;
}

QList<HotkeyConfig> ModeManager::hotkeyConfigs() const
{
    QList<HotkeyConfig> configs;
    configs.reserve(m_modes.size());
    for (const Mode& mode : m_modes)
        configs.append(HotkeyConfig{mode.id, mode.isEnabled, mode.hotkey});
    return configs;
}

QUuid ModeManager::addMode(const QString& name, const QString& prompt, const std::optional<Hotkey>& hotkey)
{
    const Mode mode{QUuid::createUuid(), name, QString(), prompt, hotkey, hotkey.has_value(), false, false,
                    std::nullopt};
    QList<Mode> modes = m_modes;
    modes.append(mode);
    assign(std::move(modes));
    save();
    return mode.id;
}

void ModeManager::updateMode(const Mode& mode)
{
    const auto found = std::find_if(m_modes.cbegin(), m_modes.cend(), [&](const Mode& m) { return m.id == mode.id; });
    if (found == m_modes.cend()) {
        qCCritical(lcModes, "Attempted to update non-existent mode: %s", qUtf8Printable(storedUuidString(mode.id)));
        return;
    }
    QList<Mode> modes = m_modes;
    modes[found - m_modes.cbegin()] = mode;
    assign(std::move(modes));
    save();
}

void ModeManager::deleteMode(const QUuid& id)
{
    const auto found = std::find_if(m_modes.cbegin(), m_modes.cend(), [&](const Mode& m) { return m.id == id; });
    if (found == m_modes.cend() || found->isBuiltIn) {
        qCCritical(lcModes, "Attempted to delete built-in or non-existent mode: %s",
                   qUtf8Printable(storedUuidString(id)));
        return;
    }
    QList<Mode> modes = m_modes;
    modes.removeIf([&](const Mode& m) { return m.id == id; });
    assign(std::move(modes));
    save();
}

void ModeManager::resetAllModes()
{
    assign(ModeCatalogue::defaultModes());
    save();
}

QList<Mode> ModeManager::load()
{
    if (!m_settings.contains(modesKey))
        return ModeCatalogue::defaultModes();
    const std::optional<QByteArray> data = UserDefaults::dataValue(m_settings, modesKey);
    if (!data) {
        // Hand-edited into text, a number or a list: whatever it is, the next save must not be
        // the end of it.
        const QVariant stored = m_settings.value(modesKey);
        qCCritical(lcModes, "Failed to load modes, using defaults: the stored value is %s, not data",
                   stored.typeName() ? stored.typeName() : "of no known type");
        m_settings.setValue(unreadableModesKey, stored);
        qCWarning(lcModes, "Kept the unreadable modes under \"%s\"", qUtf8Printable(unreadableModesKey));
        return ModeCatalogue::defaultModes();
    }

    auto decoded = ModeCatalogue::decode(*data);
    if (const auto* error = std::get_if<ModeDecodeError>(&decoded)) {
        qCCritical(lcModes, "Failed to load modes, using defaults: %s", qUtf8Printable(error->description()));
        m_settings.setValue(unreadableModesKey, *data);
        qCWarning(lcModes, "Kept the unreadable modes under \"%s\"", qUtf8Printable(unreadableModesKey));
        return ModeCatalogue::defaultModes();
    }

    QList<Mode> modes = std::get<QList<Mode>>(std::move(decoded));
    for (const Mode& builtIn : ModeCatalogue::defaultModes()) {
        const bool present = std::any_of(modes.cbegin(), modes.cend(), [&](const Mode& m) { return m.id == builtIn.id; });
        if (present)
            continue;
        const auto firstCustom = std::find_if(modes.cbegin(), modes.cend(), [](const Mode& m) { return !m.isBuiltIn; });
        modes.insert(firstCustom - modes.cbegin(), builtIn);
    }
    return modes;
}

void ModeManager::save()
{
    // Encoding values that came from JSON or from the UI cannot fail here, so the "Failed to
    // save modes" path of the macOS build has no counterpart.
    m_settings.setValue(modesKey, ModeCatalogue::encode(m_modes));
    m_settings.sync();
}

void ModeManager::migrateLegacyPrompt()
{
    if (UserDefaults::boolValue(m_settings, migrationDoneKey))
        return;
    const bool useCustom = UserDefaults::boolValue(m_settings, legacyFlagKey);
    const std::optional<QString> legacyPrompt = UserDefaults::stringValue(m_settings, legacyPromptKey);
    const QUuid primaryId = ModeCatalogue::builtInId(1);
    if (useCustom && legacyPrompt && !TextFormat::isBlank(*legacyPrompt) && mode(primaryId)) {
        QList<Mode> modes = m_modes;
        for (Mode& m : modes) {
            if (m.id == primaryId) {
                m.prompt = *legacyPrompt;
                break;
            }
        }
        assign(std::move(modes));
        save();
        qCInfo(lcModes, "Migrated custom system prompt to Tembrel mode");
    }
    m_settings.setValue(migrationDoneKey, true);
    m_settings.sync();
}

void ModeManager::assign(QList<Mode> modes)
{
    m_modes = std::move(modes);
    Q_EMIT modesChanged();
}
