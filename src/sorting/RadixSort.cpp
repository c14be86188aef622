// sorting/RadixSort.cpp - least-significant-digit radix sort of doubles by their bit patterns.
#include "sorting/RadixSort.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>

namespace varnex3::alg_m_Sorting {
namespace {

constexpr std::size_t kFew = 1000; // fewer items are compared: counting digits would cost more
constexpr unsigned kDigitBits = 11;
constexpr std::size_t kDigits = 6, kValues = std::size_t{1} << kDigitBits; // 6 * 11 bits cover 64

/// An unsigned number that orders as the double does: negative ones are turned round, 0 is one value.
std::uint64_t ordered(double key)
{
    const auto bits = std::bit_cast<std::uint64_t>(key == 0.0 ? 0.0 : key);
    constexpr std::uint64_t kSign = std::uint64_t{1} << 63;
    return (bits & kSign) ? ~bits : bits | kSign;
}

std::size_t digit(std::uint64_t bits, std::size_t d)
{
    return static_cast<std::size_t>(bits >> (kDigitBits * d)) & (kValues - 1);
}

} // namespace

void sortByKey(std::vector<Keyed>& items)
{
    if (items.size() < kFew) {
        std::stable_sort(items.begin(), items.end(),
                         [](const Keyed& a, const Keyed& b) { return a.key < b.key; });
        return;
    }
    std::vector<std::array<std::size_t, kValues>> counts(kDigits); // of each value of each digit
    for (const Keyed& item : items) {
        const std::uint64_t bits = ordered(item.key);
        for (std::size_t d = 0; d < kDigits; ++d) ++counts[d][digit(bits, d)];
    }
    std::vector<Keyed> other(items.size());
    for (std::size_t d = 0; d < kDigits; ++d) {
        std::array<std::size_t, kValues>& next = counts[d];
        if (next[digit(ordered(items.front().key), d)] == items.size()) continue; // all the same
        std::size_t start = 0;
        for (std::size_t& count : next) {
            const std::size_t here = count;
            count = start;
            start += here;
        }
        for (const Keyed& item : items) other[next[digit(ordered(item.key), d)]++] = item;
        items.swap(other);
    }
}

} // namespace varnex3::alg_m_Sorting
