// bench/Allocations.h - how often the program has asked for memory.
#pragma once

#include <cstddef>

namespace varnex3::bench {

std::size_t allocations();

} // namespace varnex3::bench
