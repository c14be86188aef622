// Conversions between numbers and texts. Expected texts: the macro runtime's rules, worked by hand.
#include <gtest/gtest.h>

#include "runtime/Number.h"
#include "runtime/Variant.h"

namespace varnex3 {
namespace {

TEST(Number, ParsesWhatTheRuntimeCallsNumeric)
{
    struct Case {
        const char* text;
        std::optional<double> want;
    };
    const Case cases[] = {
        {"12", 12.0},          {"  -1.5 ", -1.5},     {"+.5", 0.5},
        {"1e2", 100.0},        {"1D-2", 0.01},        {"1.", 1.0},
        {"", std::nullopt},    {"abc", std::nullopt}, {"--1", std::nullopt},
        {"+-1", std::nullopt}, {"inf", std::nullopt}, {"nan", std::nullopt},
        {"1 2", std::nullopt}, {"1e", std::nullopt},  {"1e999", std::nullopt},
        {"1e-999", 0.0},       {".", std::nullopt},
    };
    for (const Case& c : cases) EXPECT_EQ(parseNumber(c.text), c.want) << '"' << c.text << '"';
}

TEST(Number, RoundsHalvesToEvenAndRaisesOverflow)
{
    EXPECT_EQ(toLong(2.5), 2);
    EXPECT_EQ(toLong(3.5), 4);
    EXPECT_EQ(toLong(-0.5), 0);
    EXPECT_EQ(toLong(2147483647.4), 2147483647);
    for (double tooLarge : {2147483647.5, -2147483649.0, std::numeric_limits<double>::quiet_NaN()}) {
        try {
            toLong(tooLarge);
            ADD_FAILURE() << tooLarge;
        } catch (const Raised&) {
            EXPECT_EQ(err().number, errors::Overflow);
            caught();
        }
    }
}

TEST(Number, WritesDoublesWithFifteenDigits)
{
    const std::pair<double, const char*> cases[] = {
        {0.1, "0.1"},
        {-0.0, "0"},
        {1e-6, "1E-06"},
        {1e15, "1E+15"},
        {1.0 / 3, "0.333333333333333"},
        {123456789012345.0, "123456789012345"},
        {100.0, "100"},
    };
    for (const auto& [x, want] : cases) EXPECT_EQ(toText(x), want);
}

TEST(Number, FormatsWithPatterns)
{
    struct Case {
        double x;
        const char* pattern;
        const char* want;
    };
    const Case cases[] = {
        {2.5, "0", "3"}, // halves away from zero, unlike conversions
        {-2.5, "0", "-3"},
        {-0.4, "0", "0"},
        {2.5, "0.0#####", "2.5"},
        {3.0, "0.0#####", "3.0"},
        {1.23456789, "0.0#####", "1.234568"},
        {0.9999999, "0.0#####", "1.0"},
        {2e6, "0.0#####E+00", "2.0E+06"},
        {1.5e-7, "0.0#####E+00", "1.5E-07"},
        {9.99999999e120, "0.0#####E+00", "1.0E+121"},
    };
    for (const Case& c : cases) EXPECT_EQ(formatNumber(c.x, c.pattern), c.want) << c.x << " as " << c.pattern;
}

TEST(Variant, EmptyCountsAsZeroAndTextMayBeANumber)
{
    EXPECT_TRUE(isNumeric(Variant{}));
    EXPECT_TRUE(isNumeric(Variant{"1e2"}));
    EXPECT_FALSE(isNumeric(Variant{""}));
    EXPECT_FALSE(isNumeric(Variant{ErrorValue{2007}}));
    EXPECT_EQ(toDouble(Variant{true}), -1.0);
    EXPECT_TRUE(isEmptyText(Variant{}));
    EXPECT_TRUE(isEmptyText(Variant{""}));
    EXPECT_FALSE(isEmptyText(Variant{0.0}));
}

} // namespace
} // namespace varnex3
