// Rounding against whole-number arithmetic, which knows no binary noise.
#include "sheet/functions/Rounding.h"

#include <gtest/gtest.h>

namespace varnex3::sheet {
namespace {

TEST(Rounding, AgreesWithWholeNumbersForEveryThreePlaceDecimal)
{
    for (int k = 0; k <= 1000000; ++k) {
        const double x = k / 1000.0; // the double nearest to the decimal
        ASSERT_EQ(roundPlaces(x, 2), (k + 5) / 10 / 100.0) << k;
        ASSERT_EQ(roundPlaces(-x, 2), -((k + 5) / 10 / 100.0)) << k;
        ASSERT_EQ(roundPlacesOutward(x, 2), (k + 9) / 10 / 100.0) << k;
        ASSERT_EQ(roundPlacesInward(x, 2), k / 10 / 100.0) << k;
    }
}

TEST(Rounding, OverlooksNoiseOfArithmeticButNotRealDifferences)
{
    EXPECT_EQ(roundPlaces(3.3 - 2.2 - 1.1 + 0.5, 0), 1.0); // 0.49999999999999956
    EXPECT_EQ(roundPlacesOutward(0.1 + 0.2, 1), 0.3);      // 0.30000000000000004
    EXPECT_EQ(noisyFloor(0.3 / 0.1), 3.0);                 // 2.9999999999999996
    EXPECT_EQ(noisyCeil(1.1 * 100.0), 110.0);              // 110.00000000000001
    EXPECT_EQ(roundPlaces(2.4999999999, 0), 2.0);
    EXPECT_EQ(noisyFloor(2.9999999999), 2.0);
    EXPECT_EQ(noisyCeil(3.0000000001), 4.0);
}

TEST(Rounding, LeavesNumbersWithoutSuchDigitsAlone)
{
    for (const double x : {1e300, -1e300, 4503599627370497.0, 9007199254740993.0, 5e-324}) {
        EXPECT_EQ(roundPlaces(x, 400), x);
        EXPECT_EQ(roundPlacesInward(x, 330), x);
    }
    EXPECT_EQ(roundPlaces(4503599627370497.0, 3), 4503599627370497.0);
    EXPECT_EQ(roundPlaces(1e300, -400), 0.0);
    EXPECT_EQ(roundPlaces(6e299, -300), 1e300);
}

} // namespace
} // namespace varnex3::sheet
