#include "settings/ModesModel.h"

#include "modes/ModeManager.h"

ModesModel::ModesModel(ModeManager& modes, QObject* parent)
    : QAbstractListModel(parent)
    , m_modes(modes)
{
    for (const Mode& mode : m_modes.modes())
        m_ids.append(mode.id);
    connect(&m_modes, &ModeManager::modesChanged, this, &ModesModel::onModesChanged);
}

int ModesModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : int(m_modes.modes().size());
}

QVariant ModesModel::data(const QModelIndex& index, int role) const
{
    if (!index.isValid() || index.row() >= m_modes.modes().size())
        return {};
    const Mode& mode = m_modes.modes().at(index.row());
    switch (role) {
    case ModeIdRole:
        return mode.idString();
    case NameRole:
    case Qt::DisplayRole:
        return mode.name;
    case DescriptionRole:
        return mode.description;
    case PromptRole:
        return mode.prompt;
    case HasHotkeyRole:
        return mode.hasHotkey();
    case HotkeyRole:
        return QVariant::fromValue(mode.hotkeyOrNone());
    case IsEnabledRole:
        return mode.isEnabled;
    case IsBuiltInRole:
        return mode.isBuiltIn;
    case HasDefaultPromptRole:
        return mode.hasDefaultPrompt();
    case DefaultPromptRole:
        return mode.defaultPromptOrEmpty();
    default:
        return {};
    }
}

QHash<int, QByteArray> ModesModel::roleNames() const
{
    return {
        {ModeIdRole, "modeId"},
        {NameRole, "name"},
        {DescriptionRole, "description"},
        {PromptRole, "prompt"},
        {HasHotkeyRole, "hasHotkey"},
        {HotkeyRole, "hotkey"},
        {IsEnabledRole, "isEnabled"},
        {IsBuiltInRole, "isBuiltIn"},
        {HasDefaultPromptRole, "hasDefaultPrompt"},
        {DefaultPromptRole, "defaultPrompt"},
    };
}

void ModesModel::onModesChanged()
{
    QList<QUuid> ids;
    for (const Mode& mode : m_modes.modes())
        ids.append(mode.id);
    if (ids == m_ids) {
        // Same rows: refresh them in place rather than rebuilding every delegate, which would take
        // the focus and the cursor away from a prompt being typed.
        if (!ids.isEmpty())
            Q_EMIT dataChanged(index(0), index(int(ids.size()) - 1));
    } else {
        beginResetModel();
        m_ids = ids;
        endResetModel();
    }
    Q_EMIT catalogueChanged();
}

template<typename Edit>
void ModesModel::edit(const QString& modeId, Edit&& change)
{
    std::optional<Mode> mode = m_modes.mode(QUuid::fromString(modeId));
    if (!mode)
        return;
    change(*mode);
    m_modes.updateMode(*mode);
}

void ModesModel::setName(const QString& modeId, const QString& name)
{
    edit(modeId, [&](Mode& mode) { mode.name = name; });
}

void ModesModel::setPrompt(const QString& modeId, const QString& prompt)
{
    edit(modeId, [&](Mode& mode) { mode.prompt = prompt; });
}

void ModesModel::setEnabled(const QString& modeId, bool enabled)
{
    edit(modeId, [&](Mode& mode) { mode.isEnabled = enabled; });
}

void ModesModel::setHotkey(const QString& modeId, quint32 keyCode, quint64 modifierFlags)
{
    edit(modeId, [&](Mode& mode) { mode.hotkey = Hotkey{keyCode, modifierFlags}; });
}

void ModesModel::addMode(const QString& name, const QString& prompt, bool hasHotkey, quint32 keyCode,
                         quint64 modifierFlags)
{
    m_modes.addMode(name, prompt, hasHotkey ? std::optional(Hotkey{keyCode, modifierFlags}) : std::nullopt);
}

void ModesModel::deleteMode(const QString& modeId)
{
    m_modes.deleteMode(QUuid::fromString(modeId));
}

void ModesModel::resetAllModes()
{
    m_modes.resetAllModes();
}

std::optional<QString> ModesModel::modeNameUsing(const Hotkey& hotkey, const QString& excludingModeId) const
{
    const QUuid excluding = QUuid::fromString(excludingModeId);
    const auto other = m_modes.modeUsingHotkey(hotkey.keyCode, hotkey.modifierFlagsRawValue,
                                               excluding.isNull() ? std::nullopt : std::optional(excluding));
    if (!other)
        return std::nullopt;
    return other->name;
}
