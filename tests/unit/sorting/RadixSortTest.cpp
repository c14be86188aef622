// sortByKey: the same order as a stable comparison sort, whatever the keys.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>

#include "sorting/RadixSort.h"

namespace varnex3 {
namespace {

using alg_m_Sorting::Keyed;

TEST(RadixSort, AgreesWithAStableSortOnEveryKindOfKey)
{
    std::mt19937_64 bits(1);
    for (int kind = 0; kind < 5; ++kind) {
        for (Long n : {0, 1, 60, 999, 1000, 20000}) {
            std::vector<Keyed> items;
            for (Long i = 0; i < n; ++i) {
                const double u = static_cast<double>(bits() >> 11) / 9007199254740992.0 - 0.5;
                const double keys[] = {u, u * 1e300, std::floor(u * 8.0), 3.0, i % 3 == 0 ? -0.0 : 0.0};
                items.push_back({keys[kind], i});
            }
            std::vector<Keyed> want = items;
            std::stable_sort(want.begin(), want.end(),
                             [](const Keyed& a, const Keyed& b) { return a.key < b.key; });
            alg_m_Sorting::sortByKey(items);
            bool same = true;
            for (std::size_t i = 0; i < items.size(); ++i)
                same = same && items[i].position == want[i].position;
            EXPECT_TRUE(same) << "kind " << kind << ", n " << n;
        }
    }
}

} // namespace
} // namespace varnex3
