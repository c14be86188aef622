// sorting/Quicksort.h - the one partition scheme of all sorts, for anything that has keys at positions.
//
// The last element is the pivot; the sort is not stable, and the order in which equal keys end up is
// part of the behaviour: which member a later random draw picks depends on it.
#pragma once

#include <bit>
#include <optional>
#include <vector>

#include "sorting/KeyBounds.h"

namespace varnex3::alg_m_Sorting {

/// Sorts a range of an `Items`, which offers
///   double key(Long i)             the key at position i
///   void exchange(Long a, Long b)  exchanges what stands at a and b, keys included
///
/// Plain scans make this pivot rule quadratic on data that is already ordered, reversed, constant or
/// full of ties. When the scans have looked at several times the keys that shuffled data would take, the
/// rest of the range goes on with `KeyBounds` in their place: the same exchanges in the same order,
/// found in logarithmic time each. A partition exchanges no more elements than its smaller side holds,
/// so that all of them together are of the order n log n, and the whole sort n (log n)^2 at worst.
/// The recursion enters the smaller side only: its depth is at most log2 n.
template <class Items>
class Quicksort {
public:
    explicit Quicksort(Items& items) : items_(items) {}

    /// Sorts positions lo..hi.
    void sort(Long lo, Long hi)
    {
        if (lo >= hi) return;
        const long long n = hi - lo + 1LL;
        sort(lo, hi, 100'000 + 4 * n * std::bit_width(static_cast<unsigned long long>(n)));
    }

    /// The same with a given number of keys to look at before the scans give way to the bounds.
    void sort(Long lo, Long hi, long long scans)
    {
        scansLeft_ = scans;
        sortRange(lo, hi);
    }

    /// One partition step over lo..hi; returns the pivot's final position.
    ///
    ///   1. pivot = key(hi). If lo >= hi, return hi.
    ///   2. i = lo; j = hi.
    ///   3. Move i up to the first key above the pivot, but not beyond j.
    ///   4. Move j down to the first key below the pivot, but not beyond i.
    ///   5. If they met, the pivot goes to j: exchange j and hi when j < hi; return j.
    ///   6. Exchange i and j; go to 3.
    Long partition(Long lo, Long hi)
    {
        const double pivot = items_.key(hi);
        if (lo >= hi) return hi;
        Long i = lo, j = hi;
        for (;;) {
            i = up(i, j, pivot);
            j = down(i, j, pivot);
            if (i >= j) break;
            exchange(i, j);
        }
        if (j < hi) exchange(j, hi);
        return j;
    }

private:
    static constexpr Long kShort = 64; // ranges of no more elements are always scanned

    void sortRange(Long lo, Long hi)
    {
        while (lo < hi) {
            if (lo == hi - 1) {
                if (follows(items_.key(lo), items_.key(hi))) items_.exchange(lo, hi);
                return;
            }
            if (!bounds_ && scansLeft_ < 0 && hi - lo >= kShort) return sortWithBounds(lo, hi);
            scansLeft_ -= hi - lo;
            scanning_ = !bounds_ || hi - lo < kShort; // no wider range looks inside a short one again
            const Long p = partition(lo, hi);
            if (p - lo <= hi - p) {
                sortRange(lo, p - 1);
                lo = p + 1;
            } else {
                sortRange(p + 1, hi);
                hi = p - 1;
            }
        }
    }

    void sortWithBounds(Long lo, Long hi)
    {
        std::vector<double> keys;
        keys.reserve(static_cast<std::size_t>(hi - lo) + 1);
        for (Long i = lo; i <= hi; ++i) keys.push_back(items_.key(i));
        bounds_.emplace(lo, keys);
        sortRange(lo, hi);
        bounds_.reset();
        scanning_ = true;
    }

    Long up(Long i, Long j, double pivot) const
    {
        if (!scanning_) return bounds_->firstAbove(i, j, pivot);
        while (i < j && !follows(items_.key(i), pivot)) ++i;
        return i;
    }

    Long down(Long i, Long j, double pivot) const
    {
        if (!scanning_) return bounds_->lastBelow(i, j, pivot);
        while (i < j && !follows(pivot, items_.key(j))) --j;
        return j;
    }

    void exchange(Long a, Long b)
    {
        items_.exchange(a, b);
        if (scanning_) return;
        bounds_->update(a, items_.key(a));
        bounds_->update(b, items_.key(b));
    }

    Items& items_;
    std::optional<KeyBounds> bounds_;
    bool scanning_ = true;
    long long scansLeft_ = 0; // keys that may still be looked at by plain scans
};

} // namespace varnex3::alg_m_Sorting
