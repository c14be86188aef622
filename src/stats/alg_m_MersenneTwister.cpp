// stats/alg_m_MersenneTwister.cpp - seeding and regeneration of the state; a draw itself is inline.
#include "stats/alg_m_MersenneTwister.h"

#include "runtime/Number.h"

namespace varnex3::alg_m_MersenneTwister {
namespace detail {
namespace {

constexpr Long kDefaultSeed = 4537;
constexpr std::size_t kOffset = 397; // of the recurrence

/// The word `middle` steps on, twisted by the upper bit of one word and the lower 31 of the next.
std::uint32_t twisted(std::uint32_t middle, std::uint32_t upper, std::uint32_t lower)
{
    constexpr std::uint32_t table[] = {0, 0x9908B0DFU};
    const std::uint32_t y = (upper & 0x80000000U) | (lower & 0x7FFFFFFFU);
    return middle ^ (y >> 1) ^ table[y & 1U];
}

void seed(Long value)
{
    auto& words = stream.words;
    const auto bits = static_cast<std::uint32_t>(value);
    words[0] = value < 0 ? 0U - bits : bits;
    for (std::size_t i = 1; i < words.size(); ++i) words[i] = 69069U * words[i - 1];
    stream.position = kWords;
}

} // namespace

void regenerate()
{
    if (stream.position == kNeverSeeded) seed(kDefaultSeed);
    auto& w = stream.words;
    constexpr std::size_t last = kWords - 1;
    for (std::size_t k = 0; k < kWords - kOffset; ++k) w[k] = twisted(w[k + kOffset], w[k], w[k + 1]);
    for (std::size_t k = kWords - kOffset; k < last; ++k)
        w[k] = twisted(w[k + kOffset - kWords], w[k], w[k + 1]);
    w[last] = twisted(w[kOffset - 1], w[last], w[0]);
    stream.position = 0;
}

Long drawFromSource() { return toLong(stream.source->next() * 2147483647.0); }

} // namespace detail

void InitRandom(Long seed)
{
    if (detail::stream.source) return detail::stream.source->reseeded(seed);
    detail::seed(seed);
}

void setDrawSource(DrawSource* source) { detail::stream.source = source; }

} // namespace varnex3::alg_m_MersenneTwister
