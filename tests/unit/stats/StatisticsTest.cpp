// The normal functions: values in the centre and in both tails, limits of the search, the error trap.
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>

#include "stats/c_Statistics.h"

namespace varnex3 {
namespace {

double relativeError(double got, double want) { return std::fabs(got - want) / std::fabs(want); }

// Expected values: 0.5 erfc(z / sqrt 2) in 50-digit arithmetic.
TEST(Statistics, NormCDFKeepsItsDigitsInBothTails)
{
    struct Case {
        double z;
        bool upperTail;
        double want;
    };
    const Case cases[] = {
        {0.0, false, 0.5},
        {0.0, true, 0.5},
        {0.5, false, 0.691462461274013},
        {-0.5, true, 0.691462461274013},
        {1.96, false, 0.975002104851780},
        {1.96, true, 0.0249978951482204},
        {-1.96, false, 0.0249978951482204},
        {6.0, true, 9.86587645037698e-10}, // far interval: 1 - CDF would lose every digit
        {-6.0, true, 0.999999999013412},
        {37.5, true, 4.60535300958e-308},
    };
    const c_Statistics statistics;
    for (const Case& c : cases)
        EXPECT_LT(relativeError(statistics.normCDF(c.z, c.upperTail), c.want), 1e-11)
            << "z = " << c.z << ", upperTail = " << c.upperTail;
    EXPECT_EQ(statistics.normCDF(0.0), 0.5);
    EXPECT_EQ(statistics.normCDF(39.9, true), 0.0);
    EXPECT_EQ(statistics.normCDF(40.0), 1.0);
    EXPECT_EQ(statistics.normCDF(-40.0), 0.0);
}

TEST(Statistics, NormPDFScalesByMeanAndStDev)
{
    EXPECT_LT(relativeError(c_Statistics{}.NormPDF(0.0), 0.398942280401433), 1e-13);
    EXPECT_LT(relativeError(c_Statistics{}.NormPDF(1.5, 1.0, 2.0), 0.193334058401425), 1e-12);
    EXPECT_EQ(c_Statistics{}.NormPDF(1.5, 1.0, "2"), c_Statistics{}.NormPDF(1.5, 1.0, 2.0));
}

TEST(Statistics, FindZSearchesTheUpperTail)
{
    struct Case {
        Variant target;
        std::int16_t digits;
        double want;
    };
    const Case cases[] = {
        {0.05, 4, 1.6449}, {0.95, 4, -1.6449}, {0.025, 2, 1.96}, {0.5, 3, 0.0}, {1e-309, 2, 37.5},
        {1.0, 2, -8.0},    {"0.05", 1, 1.6},   {"none", 2, 0.0}, {0.3, 0, 0.5},
    };
    for (const Case& c : cases) {
        std::int16_t digits = c.digits;
        EXPECT_DOUBLE_EQ(c_Statistics{}.findZ(c.target, digits), c.want) << c.want;
        EXPECT_EQ(digits, c.digits == 0 ? 1 : c.digits);
    }
    std::int16_t many = 25; // below the spacing of doubles: ends where z stands still
    EXPECT_NEAR(c_Statistics{}.findZ(0.05, many), 1.644853626951472, 1e-14);
}

// Expected value: two blocks of 500 strips, the second below a tenth of the sum.
TEST(Statistics, PassBadIntegratesBeyondTheLimit)
{
    EXPECT_LT(relativeError(c_Statistics{}.PassBad(0.0, 1.0, 2.0, 0.5), 0.00619564262798), 1e-11);
    EXPECT_EQ(c_Statistics{}.PassBad(0.0, 0.0, 2.0, 0.5), 0.0);
    EXPECT_EQ(c_Statistics{}.PassBad(1e9, 1.0, 0.0, 1.0), 0.0);
}

TEST(Statistics, ErrorsCarryTheArguments)
{
    struct Case {
        std::function<double(const c_Statistics&)> call;
        ErrorRecord want;
    };
    const Case cases[] = {
        {[](auto& s) { return s.NormPDF(1.0, 0.5, -2.0); },
         {-2147221124, "quillon NormPDF",
          "Standard deviation can't be negative. x = 1, mean = 0.5, stdev = -2"}},
        {[](auto& s) { return s.NormPDF(1.0, 0.0, 0.0); },
         {11, "quillon NormPDF", "Division by zero. x = 1, mean = 0, stdev = 0"}},
        {[](auto& s) { return s.NormPDF(1.0, 0.0, "wide"); },
         {13, "quillon NormPDF", "Type mismatch. x = 1, mean = 0, stdev = wide"}},
        {[](auto& s) { return s.findZ(1.5); },
         {11, "quillon findZ", "Division by zero. tailTarget = 1.5, digits = 0"}},
        {[](auto& s) { return s.findZ(std::numeric_limits<double>::quiet_NaN()); },
         {11, "quillon findZ", "Division by zero"}},
        {[](auto& s) { return s.PassBad(0.0, 1.0, 2.0, -1.0); },
         {11, "quillon PassBad", "Division by zero. mean = 0, stdev = 1, sl = 2, testsd = -1"}},
    };
    for (const Case& c : cases) {
        EXPECT_THROW(c.call(c_Statistics{}), Raised);
        EXPECT_EQ(err().number, c.want.number);
        EXPECT_EQ(err().source, c.want.source);
        EXPECT_EQ(err().description.substr(0, c.want.description.size()), c.want.description);
        caught();
    }
}

} // namespace
} // namespace varnex3
