#pragma once
#include "modes/Hotkey.h"

#include <QAbstractListModel>
#include <QtQml/qqmlregistration.h>

class ModeManager;

/// The mode catalogue as the settings window's modes section shows and edits it. Rows follow the
/// catalogue; an edit of one mode updates its row in place, so an editor being typed in keeps its
/// focus. Every edit goes through ModeManager::updateMode.
class ModesModel : public QAbstractListModel
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Made by the settings window")

public:
    enum Role {
        ModeIdRole = Qt::UserRole + 1,
        NameRole,
        DescriptionRole,
        PromptRole,
        HasHotkeyRole,
        HotkeyRole,
        IsEnabledRole,
        IsBuiltInRole,
        HasDefaultPromptRole,
        DefaultPromptRole,
    };

    explicit ModesModel(ModeManager& modes, QObject* parent = nullptr);

    [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override;
    [[nodiscard]] QHash<int, QByteArray> roleNames() const override;

    Q_INVOKABLE void setName(const QString& modeId, const QString& name);
    Q_INVOKABLE void setPrompt(const QString& modeId, const QString& prompt);
    Q_INVOKABLE void setEnabled(const QString& modeId, bool enabled);
    Q_INVOKABLE void setHotkey(const QString& modeId, quint32 keyCode, quint64 modifierFlags);
    /// Appends a custom mode; `hasHotkey` false adds it without a shortcut (and so disabled).
    Q_INVOKABLE void addMode(const QString& name, const QString& prompt, bool hasHotkey, quint32 keyCode,
                             quint64 modifierFlags);
    Q_INVOKABLE void deleteMode(const QString& modeId);
    Q_INVOKABLE void resetAllModes();

    /// The name of the first mode other than `excludingModeId` (which may be empty) that uses the
    /// shortcut, if any.
    [[nodiscard]] std::optional<QString> modeNameUsing(const Hotkey& hotkey, const QString& excludingModeId) const;

Q_SIGNALS:
    /// Any change of the catalogue, so shortcut warnings can be checked again.
    void catalogueChanged();

private:
    void onModesChanged();
    template<typename Edit>
    void edit(const QString& modeId, Edit&& change);

    ModeManager& m_modes;
    QList<QUuid> m_ids;
};
