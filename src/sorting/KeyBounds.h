// sorting/KeyBounds.h - finds the next key above or below a value without looking at every key.
//
// A tree of the largest and smallest keys of halves, quarters and so on of a range of positions.
#pragma once

#include <cstddef>
#include <vector>

#include "runtime/Error.h"

namespace varnex3::alg_m_Sorting {

/// a sorts after b: a > b, and a value that is no number sorts after all numbers. Without that rule
/// such a value would be neither above nor below a pivot and no partition would end.
inline bool follows(double a, double b) { return !(a <= b) && b == b; }

class KeyBounds {
public:
    /// @param first  position of the first of `keys`
    KeyBounds(Long first, const std::vector<double>& keys);

    /// The first position of from..to whose key follows v; `to` when none does.
    Long firstAbove(Long from, Long to, double v) const;
    /// The last position of from..to whose key v follows; `from` when none is.
    Long lastBelow(Long from, Long to, double v) const;
    /// The key at a position has changed.
    void update(Long position, double key);

private:
    std::size_t leaf(Long position) const { return leaves_ + static_cast<std::size_t>(position - first_); }
    Long position(std::size_t leaf) const { return first_ + static_cast<Long>(leaf - leaves_); }
    void refresh(std::size_t node);

    // Node 1 is the root, node n has the children 2n and 2n + 1, the leaves start at leaves_.
    Long first_;
    std::size_t leaves_;
    std::vector<double> largest_;
    std::vector<double> smallest_;
};

} // namespace varnex3::alg_m_Sorting
