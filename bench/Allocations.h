// bench/Allocations.h - how often the program has asked for memory, and how much of it.
#pragma once

#include <cstddef>

namespace varnex3::bench {

std::size_t allocations();

/// Bytes in use, and the most since the last reset. Room that was asked for and not yet written to counts.
std::size_t liveBytes();
std::size_t peakBytes();
void resetPeak();

} // namespace varnex3::bench
