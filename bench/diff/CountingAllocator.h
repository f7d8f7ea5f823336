#pragma once
#include <cstddef>

// Every malloc-family call of the process is counted (operator new, Qt's containers and strings
// all end in malloc), so a benchmark can read the peak heap of one piece of work.
namespace CountingAllocator {

/// Bytes currently allocated.
[[nodiscard]] std::size_t current();

/// Starts a new peak measurement from what is allocated now.
void resetPeak();

/// Highest allocation above the level at the last resetPeak().
[[nodiscard]] std::size_t peakSinceReset();

} // namespace CountingAllocator
