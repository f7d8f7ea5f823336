#pragma once

// Moving between numbered edits wraps around at both ends, deliberately: "previous" on the first
// edit goes to the last, "next" on the last goes to the first.

/// The edit shown after "previous" from `index`, out of `total` edits.
[[nodiscard]] constexpr int previousEditIndex(int index, int total) noexcept
{
    return index < 1 ? total - 1 : index - 1;
}

/// The edit shown after "next" from `index`, out of `total` edits.
[[nodiscard]] constexpr int nextEditIndex(int index, int total) noexcept
{
    return index >= total - 1 ? 0 : index + 1;
}
