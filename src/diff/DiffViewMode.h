#pragma once
#include <QList>
#include <QString>

/// What a diff view shows: the styled diff, or one of the two texts plain.
enum class DiffViewMode {
    Diff,
    Original,
    Fixed,
};

/// The label of a mode in the mode switch.
[[nodiscard]] inline QString diffViewModeLabel(DiffViewMode mode)
{
    switch (mode) {
    case DiffViewMode::Diff: return QStringLiteral("Diff");
    case DiffViewMode::Original: return QStringLiteral("Original");
    case DiffViewMode::Fixed: return QStringLiteral("Tembreled");
    }
    return {};
}

/// Every mode, in the order the mode switch lists them.
[[nodiscard]] inline QList<DiffViewMode> allDiffViewModes()
{
    return {DiffViewMode::Diff, DiffViewMode::Original, DiffViewMode::Fixed};
}
