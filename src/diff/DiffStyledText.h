#pragma once
#include "diff/Change.h"

#include <QColor>
#include <QString>
#include <QVariantList>

/// The colours one diff palette paints with.
struct DiffColors
{
    QColor text;     ///< every word's text colour
    QColor removal;  ///< tint and strike line of removed words
    QColor addition; ///< tint of added words
};

/// Where a styled diff is shown; each place has its own colours.
enum class DiffPaletteKind {
    History, ///< the history window: the system's red and green
    Panel,   ///< the result panel: the panel's own red and green
};

/// The colours of a palette in the light or dark appearance.
[[nodiscard]] DiffColors diffColors(DiffPaletteKind palette, bool dark);

/// A diff styled for display: rich text, the same runs as data, and the edit count.
struct StyledDiff
{
    QString html;
    QVariantList runs;
    qint64 editCount = 0;
};

/// Styles changes: removed words struck through on a red tint, added words on a green tint,
/// unchanged words plain, whitespace runs never tinted. Pure; safe on any thread.
[[nodiscard]] StyledDiff styleDiff(const DiffComputation &diff, const DiffColors &colors);

/// Where the removed runs sit in the text a view shows: {start, end} maps of text positions
/// (UTF-16 units, a line break counting one), for views that draw the strike lines themselves.
[[nodiscard]] QVariantList strikeRanges(const QVariantList &runs);

/// Background tint opacity of removed and added words.
inline constexpr double kDiffTintOpacity = 0.15;
/// Opacity of the strike line through removed words.
inline constexpr double kDiffStrikeOpacity = 0.6;
