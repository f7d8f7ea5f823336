#pragma once
#include "diff/Change.h"

#include <QString>

/// The word diff written the plain way: both tokenisers character by character and a full
/// (n+1) x (m+1) table of 64-bit integers with its backtrack. Tests and benchmarks hold the
/// product's diff to it; it is deliberately independent of the product's own helpers.
namespace ReferenceWordDiff {

[[nodiscard]] DiffComputation wordDiff(const QString &original, const QString &fixed);

} // namespace ReferenceWordDiff
