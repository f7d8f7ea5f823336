#pragma once
#include <QtGlobal>

#include <span>
#include <vector>

/// Bytes of table rows kept whole; above this, rows are recomputed in blocks.
inline constexpr qsizetype kLcsRowBudget = 4 * 1024 * 1024;

/// One step of the backtrack through the longest-common-subsequence table.
enum class LcsStep : quint8 {
    Match,      ///< both words kept
    Substitute, ///< original word replaced by the fixed word
    Insert,     ///< fixed word added
    Delete,     ///< original word removed
};

/// Walks back from the end of two word sequences exactly as the full LCS table's backtrack does
/// (match, then substitution, then insertion over deletion on equality), without building the
/// table: rows are kept as bit vectors, 64 cells per machine word, and recomputed in blocks from
/// checkpoints when all of them would not fit a small budget. Words are small non-negative ids
/// (tables are sized by the largest); equal ids are equal words, and a negative id in `fixed`
/// equals nothing. Steps come back in backtrack order, from
/// the end of both sequences toward their start. Row storage above `rowBudgetBytes` switches to
/// blocks of about sqrt(n) rows recomputed from checkpoints.
[[nodiscard]] std::vector<LcsStep> lcsBacktrack(std::span<const int> original, std::span<const int> fixed,
                                                qsizetype rowBudgetBytes = kLcsRowBudget);
