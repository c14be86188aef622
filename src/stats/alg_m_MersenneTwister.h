// stats/alg_m_MersenneTwister.h - the one uniform random stream of the process.
//
// MT19937 with the seeding of its first publication. Every random decision of a search or a simulation
// draws from here, so the order of draws is part of what a seed reproduces. Inventing seeds is
// runtime/Seeds.h's business. Single-threaded: nothing is locked.
#pragma once

#include <array>
#include <cstdint>

#include "runtime/Error.h"

namespace varnex3::alg_m_MersenneTwister {

/// Stands in for the generator, so that a test can script the draws and see their order.
class DrawSource {
public:
    virtual ~DrawSource() = default;
    virtual double next() = 0;     // the next RandDouble, in [0, 1]
    virtual void reseeded(Long) {} // InitRandom was called with this seed
};

/// Installs a source (not owned); null puts the generator back, in the state in which it was left.
void setDrawSource(DrawSource* source);

/// Restarts the stream; seeds s and -s start the same one. No seed is refused: -2147483648 counts as
/// 2147483648, and 0 gives a stream of zeros.
void InitRandom(Long seed);

namespace detail {

inline constexpr Long kWords = 624;
inline constexpr Long kNeverSeeded = kWords + 1;

struct Stream {
    std::array<std::uint32_t, kWords> words{};
    Long position = kNeverSeeded; // of the next word; kWords when the state must be regenerated first
    DrawSource* source = nullptr;
};
inline constinit Stream stream;

void regenerate();
Long drawFromSource();

constexpr std::uint32_t temper(std::uint32_t y)
{
    y ^= y >> 11;
    y ^= (y << 7) & 0x9D2C5680U;
    y ^= (y << 15) & 0xEFC60000U;
    return y ^ (y >> 18);
}

/// y / 2 rounded to the nearest whole number, halves to even. The word 4294967295 alone would give
/// 2147483648, which no Long holds; it gives 2147483647, so that RandDouble stays within [0, 1].
constexpr Long halve(std::uint32_t y)
{
    const std::uint32_t half = y >> 1;
    const std::uint32_t rounded = half + (y & half & 1U);
    return static_cast<Long>(rounded - (rounded >> 31));
}

} // namespace detail

/// The next whole number, 0..2147483647. A stream never seeded starts as if seeded with 4537.
/// @source [MN98]
inline Long RandLong()
{
    detail::Stream& stream = detail::stream;
    if (stream.source) [[unlikely]]
        return detail::drawFromSource();
    if (stream.position >= detail::kWords) detail::regenerate();
    const std::uint32_t word = stream.words[static_cast<std::size_t>(stream.position)];
    ++stream.position;
    return detail::halve(detail::temper(word));
}

/// The next real number on the closed interval [0, 1]; both ends occur.
inline double RandDouble()
{
    if (detail::stream.source) [[unlikely]]
        return detail::stream.source->next();
    return static_cast<double>(RandLong()) / 2147483647.0;
}

} // namespace varnex3::alg_m_MersenneTwister
