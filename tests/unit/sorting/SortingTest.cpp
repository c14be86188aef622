// The sorts: the order of ties against the scheme written out plainly, what an exchange moves, and the
// time and stack on ordered data.
#include <gtest/gtest.h>

#include <pthread.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <functional>
#include <limits>
#include <random>
#include <vector>

#include "sorting/Quicksort.h"
#include "sorting/alg_m_Sorting.h"
#include "sorting/alg_m_Util.h"

namespace varnex3::alg_m_Sorting {
namespace {

struct Tagged {
    double key;
    Long tag; // where it stood before
    friend bool operator==(const Tagged&, const Tagged&) = default;
};

struct List {
    std::vector<Tagged>& items; // position i is items[i - 1]
    double key(Long i) const { return items[static_cast<std::size_t>(i - 1)].key; }
    void exchange(Long a, Long b)
    {
        std::swap(items[static_cast<std::size_t>(a - 1)], items[static_cast<std::size_t>(b - 1)]);
    }
};

/// The scheme, step by step.
void plainSort(List list, Long lo, Long hi)
{
    if (lo >= hi) return;
    if (lo == hi - 1) {
        if (list.key(lo) > list.key(hi)) list.exchange(lo, hi);
        return;
    }
    const double pivot = list.key(hi);
    Long i = lo, j = hi;
    for (bool met = false; !met;) {
        while (list.key(i) <= pivot && i < j) ++i;
        while (list.key(j) >= pivot && !(met = i >= j)) --j;
        met = met || i >= j;
        if (!met) list.exchange(i, j);
    }
    if (j < hi) list.exchange(j, hi);
    plainSort(list, lo, j - 1);
    plainSort(list, j + 1, hi);
}

std::vector<Tagged> tagged(Long n, const std::function<double(Long)>& key)
{
    std::vector<Tagged> items;
    for (Long i : oneTo(n)) items.push_back({key(i), i});
    return items;
}

TEST(Quicksort, LeavesTiesWhereTheSchemeLeavesThem)
{
    std::mt19937 random{20240607};
    const auto draw = [&](int values) {
        return static_cast<double>(random() % static_cast<unsigned>(values));
    };
    for (int round = 0; round < 400; ++round) {
        const Long n = 1 + static_cast<Long>(random() % 300);
        const std::function<double(Long)> shapes[] = {
            [&](Long) { return draw(2); },
            [&](Long) { return draw(10); },
            [&](Long) { return draw(1'000'000); },
            [&](Long i) { return std::floor(i / 7.0) + (draw(20) == 0 ? draw(30) : 0.0); }, // nearly sorted
            [&](Long i) { return std::floor(-i / 7.0); },
            [&](Long i) { return std::fabs(i - n / 2.0); },
        };
        const auto& shape = shapes[round % 6];
        const std::vector<Tagged> before = tagged(n, shape);

        std::vector<Tagged> want = before;
        plainSort(List{want}, 1, n);
        for (long long scans : {1'000'000'000LL, 500LL, -1LL}) { // scans only, both, bounds at once
            std::vector<Tagged> got = before;
            List list{got};
            Quicksort<List>(list).sort(1, n, scans);
            ASSERT_TRUE(got == want) << "n = " << n << ", shape " << round % 6 << ", scans " << scans;
        }
    }
}

TEST(Quicksort, EndsOnValuesThatAreNoNumbers)
{
    const double nan = std::numeric_limits<double>::quiet_NaN();
    for (long long scans : {1'000'000LL, -1LL}) {
        std::vector<Tagged> items =
            tagged(200, [&](Long i) { return i % 3 == 0 ? nan : static_cast<double>(i * 37 % 101); });
        List list{items};
        Quicksort<List>(list).sort(1, 200, scans);
        for (std::size_t i = 1; i < items.size(); ++i)
            EXPECT_FALSE(follows(items[i - 1].key, items[i].key)) << "position " << i;
    }
}

/// Runs `work` on a thread with 1 MiB of stack.
void onSmallStack(std::function<void()> work)
{
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, 1 << 20);
    pthread_t thread;
    const auto entry = [](void* argument) -> void* {
        (*static_cast<std::function<void()>*>(argument))();
        return nullptr;
    };
    ASSERT_EQ(pthread_create(&thread, &attributes, entry, &work), 0);
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
}

// A quadratic sort of a million would take hours, a recursion per element overflow the stack.
TEST(Sorting, AMillionOrderedPositionsTakeSecondsAndLittleStack)
{
    constexpr Long n = 1'000'000;
    const std::function<double(Long)> shapes[] = {
        [](Long i) { return static_cast<double>(i); },
        [](Long i) { return static_cast<double>(-i); },
        [](Long) { return 3.0; },
        [](Long i) { return static_cast<double>(i * 7919LL % 2); },
        [](Long i) { return i == n ? 0.5 : static_cast<double>(i); }, // sorted, then one small value
    };
    onSmallStack([&] {
        for (const auto& shape : shapes) {
            Array3<double> A(2, 1, n);
            Array2<double> rows(n, 2);
            for (Long i : oneTo(n)) A(1, 1, i) = A(2, 1, i) = rows(i, 1) = rows(i, 2) = shape(i);
            const auto start = std::chrono::steady_clock::now();
            Sort3D(A, 1, n, 1, true);
            SortRows(rows, 1, n, 2, false);
            EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(60));
            for (Long i : fromTo(2, n)) {
                ASSERT_LE(A(1, 1, i - 1), A(1, 1, i));
                ASSERT_EQ(A(2, 1, i), A(1, 1, i));
                ASSERT_LE(rows(i - 1, 2), rows(i, 2));
            }
        }
    });
}

TEST(Sorting, ExchangesOnlyWhatTravelsWithTheKey)
{
    const auto matrix = [](std::initializer_list<double> values) { // 3 x 3, row by row
        Array2<double> A(3, 3);
        Long n = 0;
        for (double value : values) {
            A(n / 3 + 1, n % 3 + 1) = value;
            ++n;
        }
        return A;
    };
    const Array2<double> start = matrix({3, 10, 2, 1, 20, 3, 2, 30, 1});

    Array2<double> A = start;
    SortRows(A, 1, 3, 1, false);
    EXPECT_EQ(A, matrix({1, 20, 3, 2, 30, 1, 3, 10, 2}));
    A = start;
    SortRows(A, 1, 3, 1, true);
    EXPECT_EQ(A, matrix({1, 10, 2, 2, 20, 3, 3, 30, 1}));
    A = start;
    SortCols(A, 1, 3, 1, false);
    EXPECT_EQ(A, matrix({2, 3, 10, 3, 1, 20, 1, 2, 30}));
    A = start;
    SortCols(A, 2, 3, 1, true); // outside lo..hi nothing moves
    EXPECT_EQ(A, matrix({3, 2, 10, 1, 20, 3, 2, 30, 1}));

    for (bool keyOnly : {true, false}) {
        Array3<double> B(2, 2, 3);
        for (Long i : oneTo(3))
            for (Long j : oneTo(2))
                for (Long k : oneTo(2)) B(k, j, i) = 10.0 * j + k - i;
        Sort3D(B, 1, 3, 2, keyOnly); // descending before: reversed now
        for (Long i : oneTo(3)) {
            EXPECT_EQ(B(1, 2, i), 17.0 + i);
            EXPECT_EQ(B(2, 2, i), 18.0 + i) << "travels with the key";
            EXPECT_EQ(B(1, 1, i), keyOnly ? 11.0 - i : 7.0 + i);
        }
    }
}

TEST(Util, UBoundSafeAnswersZeroWhereThereIsNoBound)
{
    using alg_m_Util::UBoundSafe;
    EXPECT_EQ(UBoundSafe(Array2<double>{}, 1), 0);
    const Array2<double> A(4, 6);
    EXPECT_EQ(UBoundSafe(A), 4);
    EXPECT_EQ(UBoundSafe(A, 2), 6);
    EXPECT_EQ(UBoundSafe(A, 3), 0);
    EXPECT_EQ(UBoundSafe(Array3<double>(2, 3, 4), 3), 4);
    EXPECT_EQ(UBoundSafe(Array1<double>(5), 2), 0);
}

} // namespace
} // namespace varnex3::alg_m_Sorting
