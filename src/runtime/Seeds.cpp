// runtime/Seeds.cpp - seeds from the clock, or from whoever replaced it.
#include "runtime/Seeds.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <utility>

#include "runtime/Number.h"

namespace varnex3 {
namespace {

std::function<Long()>& source()
{
    static std::function<Long()> installed;
    return installed;
}

/// A uniform value with 24 bits from the clock's nanoseconds, mixed so that close instants lie far apart.
float clockUniform()
{
    auto ticks =
        static_cast<std::uint64_t>(std::chrono::high_resolution_clock::now().time_since_epoch().count());
    ticks ^= ticks >> 33; // finaliser of SplitMix64
    ticks *= 0xFF51AFD7ED558CCDULL;
    ticks ^= ticks >> 33;
    ticks *= 0xC4CEB9FE1A85EC53ULL;
    ticks ^= ticks >> 33;
    return static_cast<float>(ticks >> 40) / 16777216.0F;
}

} // namespace

Long seedFromUniform(float r)
{
    const double seed = roundHalfEven(2147483647.0 * static_cast<double>(r) + 1.0);
    return static_cast<Long>(std::clamp(seed, 1.0, 2147483647.0));
}

Long freshSeed() { return source() ? source()() : seedFromUniform(clockUniform()); }

void setSeedSource(std::function<Long()> installed) { source() = std::move(installed); }

} // namespace varnex3
