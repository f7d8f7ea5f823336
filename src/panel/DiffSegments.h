#pragma once
#include "diff/DiffSegment.h"
#include "diff/DiffStyledText.h"

#include <QList>
#include <QVariantList>

/// A rendered word diff cut into navigable segments.
struct SegmentedDiff
{
    QList<DiffSegment> segments;
    /// Where each segment starts and ends in the rendered text, in UTF-16 units (text positions).
    QList<QPair<qsizetype, qsizetype>> textRanges;
    /// Number of numbered edits; equals the word diff's edit count.
    int editCount = 0;
    /// Every segment's rich text in order: the whole diff.
    QString html;
};

/// Cuts a styled diff's runs ({text, kind} maps in reading order, kind "removed", "added",
/// "unchanged" or "whitespace") into segments: each edit gets a number, unchanged stretches none.
/// A removed word followed directly by an added one is one edit, a replacement, as the word diff
/// counts it; any other changed word is an edit of its own. The edit numbered `highlightedEdit`
/// is drawn with a stronger tint.
[[nodiscard]] SegmentedDiff segmentDiff(const QVariantList& runs, const DiffColors& colors, int highlightedEdit = -1);
