// sorting/KeyBounds.cpp - the search climbs from a leaf until a subtree holds an answer, then descends.
#include "sorting/KeyBounds.h"

#include <algorithm>
#include <bit>
#include <limits>

namespace varnex3::alg_m_Sorting {

KeyBounds::KeyBounds(Long first, const std::vector<double>& keys)
    : first_(first), leaves_(std::bit_ceil(keys.size())),
      largest_(2 * leaves_, -std::numeric_limits<double>::infinity()),
      smallest_(2 * leaves_, std::numeric_limits<double>::infinity())
{
    std::copy(keys.begin(), keys.end(), largest_.begin() + static_cast<std::ptrdiff_t>(leaves_));
    std::copy(keys.begin(), keys.end(), smallest_.begin() + static_cast<std::ptrdiff_t>(leaves_));
    for (std::size_t node = leaves_ - 1; node >= 1; --node) refresh(node);
}

void KeyBounds::refresh(std::size_t node)
{
    const std::size_t left = 2 * node, right = left + 1;
    largest_[node] = follows(largest_[right], largest_[left]) ? largest_[right] : largest_[left];
    smallest_[node] = follows(smallest_[left], smallest_[right]) ? smallest_[right] : smallest_[left];
}

Long KeyBounds::firstAbove(Long from, Long to, double v) const
{
    std::size_t node = leaf(from);
    while (!follows(largest_[node], v)) {
        while (node & 1U) node >>= 1; // a right child: its parent's keys are behind us
        if (node == 0) return to;
        ++node;
    }
    while (node < leaves_) {
        node *= 2;
        if (!follows(largest_[node], v)) ++node;
    }
    return std::min(position(node), to);
}

Long KeyBounds::lastBelow(Long from, Long to, double v) const
{
    std::size_t node = leaf(to);
    while (!follows(v, smallest_[node])) {
        while (!(node & 1U)) node >>= 1; // a left child
        if (node == 1) return from;
        --node;
    }
    while (node < leaves_) {
        node = 2 * node + 1;
        if (!follows(v, smallest_[node])) --node;
    }
    return std::max(position(node), from);
}

void KeyBounds::update(Long position, double key)
{
    std::size_t node = leaf(position);
    largest_[node] = smallest_[node] = key;
    for (node /= 2; node >= 1; node /= 2) refresh(node);
}

} // namespace varnex3::alg_m_Sorting
