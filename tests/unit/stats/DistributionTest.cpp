// c_Distribution: quantiles, moments, densities, truncation, data families, Johnson fits, reasons.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "stats/c_Distribution.h"
#include "support/Expect.h"

namespace varnex3 {
namespace {

using test::expectRaises;

c_Distribution component(const std::string& family, std::initializer_list<Variant> params)
{
    c_Distribution d;
    d.DistType(family);
    auto next = params.begin();
    if (params.size() > 0) d.param1(*next++);
    if (params.size() > 1) d.param2(*next++);
    if (params.size() > 2) d.param3(*next++);
    if (params.size() > 3) d.param4(*next);
    return d;
}

Variant list(std::initializer_list<double> values) { return std::make_shared<const Array1<double>>(values); }

double relativeError(double got, double want)
{
    return want == 0.0 ? std::fabs(got) : std::fabs(got / want - 1.0);
}

struct Reference {
    const char* family;
    double params[4];
    double quantiles[8];
    double mean, stdev;
};
constexpr double kProbabilities[8] = {1e-12, 1e-6, 0.01, 0.3, 0.5, 0.9, 1 - 1e-6, 1 - 1e-12};
const Reference kReferences[] = {
#include "DistributionReference.inc"
};

c_Distribution component(const Reference& r)
{
    const Family& family = *findFamily(r.family);
    c_Distribution d;
    d.DistType(r.family);
    d.param1(r.params[0]);
    d.param2(r.params[1]);
    if (!family.parameters[2].text.empty()) d.param3(r.params[2]);
    if (!family.parameters[3].text.empty()) d.param4(r.params[3]);
    return d;
}

TEST(Distribution, QuantilesAndMomentsAgreeWithHighPrecisionArithmetic)
{
    for (const Reference& r : kReferences) {
        c_Distribution d = component(r);
        for (int i = 0; i < 8; ++i)
            EXPECT_LT(relativeError(d.RandVal(kProbabilities[i]), r.quantiles[i]), 1e-10)
                << r.family << " at " << kProbabilities[i];
        EXPECT_LT(relativeError(d.mean(), r.mean), 1e-10) << r.family;
        EXPECT_LT(relativeError(d.stdev(), r.stdev), 1e-10) << r.family;
    }
}

TEST(Distribution, EveryFamilyOfNumbersHasAReferenceRow)
{
    for (const Family* family : families()) {
        bool found = !family->pdf || family->name == "Johnson";
        for (const Reference& r : kReferences) found = found || family->name == r.family;
        EXPECT_TRUE(found) << family->name;
    }
}

TEST(Distribution, DensityIsTheSlopeOfTheDistributionFunctionWhichInvertsTheQuantile)
{
    for (const Reference& r : kReferences) {
        for (bool cut : {false, true}) {
            c_Distribution d = component(r);
            if (cut) { // on both sides, as its own quantiles lie
                const double low = d.RandVal(0.2), high = d.RandVal(0.95);
                d.LTL(low);
                d.UTL(high);
            }
            for (double p : {0.05, 0.4, 0.6, 0.97}) {
                const double x = d.RandVal(p), h = 1e-5 * d.stdev();
                EXPECT_NEAR(d.cdf(x), p, 1e-11) << r.family;
                EXPECT_LT(relativeError(d.pdf(x, false, {}), (d.cdf(x + h) - d.cdf(x - h)) / (2 * h)), 1e-4)
                    << r.family << " at " << p;
            }
        }
    }
}

TEST(Distribution, EndsAreFiniteAndBoundedByTheSupportAndTheLimits)
{
    constexpr double half = 0.5 / 2147483647.0; // half a step of the random stream
    for (const Reference& r : kReferences) {
        c_Distribution d = component(r);
        const Support ends = findFamily(r.family)->support([&] {
            FamilyValues f;
            std::copy(r.params, r.params + 4, f.v.begin());
            findFamily(r.family)->problem(f);
            return f;
        }());
        EXPECT_EQ(d.RandVal(0.0), std::isinf(ends.lower) ? d.RandVal(half) : ends.lower) << r.family;
        EXPECT_LT(relativeError(d.RandVal(1.0), std::isinf(ends.upper) ? d.RandVal(1.0 - half) : ends.upper),
                  1e-7)
            << r.family;
        d.LTL(r.quantiles[3]);
        EXPECT_EQ(d.RandVal(0.0), r.quantiles[3]) << r.family;
        EXPECT_GE(d.RandVal(1e-17), r.quantiles[3]) << r.family;
    }
    c_Distribution d = component("Normal", {0, 1});
    expectRaises(errors::InvalidCall, [&] { d.RandVal(1.5); });
    expectRaises(errors::InvalidCall, [&] { d.RandVal(std::nan("")); });
}

// A truncated normal far in the upper tail keeps its digits. Expected: 50-digit arithmetic,
// the z with half of the upper tail of 8 above it.
TEST(Distribution, TruncationInAFarTailKeepsItsDigits)
{
    c_Distribution d = component("Normal", {0, 1});
    d.LTL(8.0);
    EXPECT_LT(relativeError(d.RandVal(0.5), 8.0849110073915441), 1e-12);
    c_Distribution mirrored = component("Normal", {0, 1});
    mirrored.UTL(-8.0);
    EXPECT_EQ(mirrored.RandVal(0.5), -d.RandVal(0.5));
}

TEST(Distribution, DiscreteTakesTheFirstValueThatReachesTheProbability)
{
    c_Distribution d =
        component("Discrete", {list({3, 1, 2, 9}), list({1, 2, 1, 0})}); // 1: 50 %, 2: 25 %, 3: 25 %
    const std::pair<double, double> draws[] = {{0.0, 1},  {0.5, 1},  {0.500001, 2},
                                               {0.75, 2}, {0.76, 3}, {1.0, 3}};
    for (const auto& [p, want] : draws) EXPECT_EQ(d.RandVal(p), want) << p;
    EXPECT_DOUBLE_EQ(d.mean(), 1.75);
    EXPECT_DOUBLE_EQ(d.stdev(), std::sqrt(0.6875));
    d.LTL(2.0); // a limit on a value keeps it
    EXPECT_EQ(d.RandVal(0.0), 2.0);
    EXPECT_EQ(d.RandVal(0.5), 2.0);
    EXPECT_EQ(d.RandVal(0.51), 3.0);
}

TEST(Distribution, EmpiricalInterpolatesBetweenTheSortedData)
{
    c_Distribution d = component("Empirical", {list({4, 1, 2, 2, 7})});
    const std::pair<double, double> draws[] = {{0.0, 1},  {0.125, 1.5}, {0.3, 2}, {0.5, 2},
                                               {0.75, 4}, {0.9, 5.8},   {1.0, 7}};
    for (const auto& [p, want] : draws) EXPECT_DOUBLE_EQ(d.RandVal(p), want) << p;
    EXPECT_DOUBLE_EQ(d.mean(), (1.5 + 2.0 + 3.0 + 5.5) / 4.0);
    EXPECT_DOUBLE_EQ(d.cdf(2.0), 0.5);
    d.LTL(2.0);
    EXPECT_EQ(d.RandVal(0.2), 2.0); // the tie at 2 holds a third of what is left
    EXPECT_GT(d.RandVal(0.4), 2.0);
}

TEST(Distribution, AZeroSpreadIsAPoint)
{
    for (c_Distribution d : {component("Normal", {5, 0}), component("Uniform", {5, 5})})
        for (double p : {0.0, 0.3, 1.0}) EXPECT_EQ(d.RandVal(p), 5.0);
    c_Distribution outside = component("Normal", {5, 0});
    outside.LTL(6.0);
    std::string reason;
    EXPECT_FALSE(outside.ParamsOK(reason));
    EXPECT_EQ(reason, "No probability lies between the truncation limits");
}

/// Moments of a component from its quantiles: integrals over the normal score by the trapezoidal rule.
std::array<double, 4> shapeOf(c_Distribution& d)
{
    std::array<double, 4> m{};
    auto central = [&](int power, double mean) {
        double sum = 0.0;
        for (int i = -3500; i <= 3500; ++i) {
            const double z = i * 0.002;
            const Probability p = normalProbability(z);
            const double x = findFamily(d.DistType()) ? d.RandVal(p.below) : 0.0;
            sum += 0.002 * normalDensity(z) * std::pow(x - mean, power);
        }
        return sum;
    };
    m[0] = central(1, 0.0);
    m[1] = std::sqrt(central(2, m[0]));
    m[2] = central(3, m[0]) / std::pow(m[1], 3);
    m[3] = central(4, m[0]) / std::pow(m[1], 4);
    return m;
}

TEST(Distribution, JohnsonFitReturnsTheMomentsItWasGiven)
{
    struct Case {
        double skewness, kurtosis;
        double tolerance; // of the kurtosis: the far tails beyond the sum's reach
    };
    const Case cases[] = {
        {0, 3, 1e-9},
        {0, 2.2, 1e-8},
        {0, 1.9, 1e-8},
        {0.5, 2.6, 1e-8}, // SN, SB
        {-0.8, 3.4, 1e-8},
        {1.2, 4.9, 1e-8},
        {0, 3.8, 1e-5},
        {-0.7, 4.2, 1e-5}, // SB, SB, SU, SU
        {0.614294761986663, 3.678365777175437, 1e-5},
        {1e-3, 3.0, 1e-6},
        {0.9, 4.8, 1e-4}, // SL of sd 0.2, near SN
    };
    for (const Case& c : cases) {
        c_Distribution d = component("Johnson", {10, 2, c.skewness, c.kurtosis});
        const std::array<double, 4> got = shapeOf(d);
        SCOPED_TRACE(testing::Message() << "skewness " << c.skewness << ", kurtosis " << c.kurtosis);
        EXPECT_NEAR(got[0], 10.0, 1e-8);
        EXPECT_NEAR(got[1], 2.0, 1e-7);
        EXPECT_NEAR(got[2], c.skewness, 1e-5);
        EXPECT_NEAR(got[3], c.kurtosis, 10 * c.tolerance);
        EXPECT_NEAR(d.mean(), 10.0, 1e-9);
        EXPECT_NEAR(d.stdev(), 2.0, 1e-9);
    }
}

TEST(Distribution, ParamsOKNamesTheParameterAndLeavesAGoodTextAlone)
{
    struct Case {
        c_Distribution d;
        const char* reason;
    };
    auto limited = [](double lower, double upper) {
        c_Distribution d = component("Uniform", {0, 1});
        d.LTL(lower);
        d.UTL(upper);
        return d;
    };
    Case cases[] = {
        {component("Norm", {1, 2}), "Distribution type \"Norm\" is not recognized"},
        {component("Normal", {1, -2}), "Standard deviation of the Normal distribution is negative"},
        {component("Normal", {1}), "Standard deviation of the Normal distribution is missing"},
        {component("Weibull", {"abc", 2}), "Shape of the Weibull distribution is not a number"},
        {component("Gamma", {2, 0}), "Scale of the Gamma distribution must be greater than 0"},
        {component("Triangular", {1, 7, 5}),
         "Most likely value is outside minimum and maximum (Triangular distribution)"},
        {component("Johnson", {0, 1, 2, 4.9}),
         "Kurtosis is not greater than skewness squared plus 1 (Johnson distribution)"},
        {component("Discrete", {list({1, 2}), list({1})}),
         "Weights are not as many as the values (Discrete distribution)"},
        {component("Empirical", {list({1})}), "Data must have at least two values (Empirical distribution)"},
        {component("Lognormal", {0, 200}), "Values of the Lognormal distribution are too large for a cell"},
        {limited(2, 3), "No probability lies between the truncation limits"},
        {limited(0.7, 0.3), "Lower truncation limit is above the upper one"},
    };
    for (Case& c : cases) {
        std::string reason;
        EXPECT_FALSE(c.d.ParamsOK(reason));
        EXPECT_EQ(reason, c.reason);
        expectRaises(errors::InvalidCall, "c_Distribution", c.reason, [&] { c.d.RandVal(0.5); });
    }
    std::string untouched = "kept";
    EXPECT_TRUE(component("Student t", {3}).ParamsOK(untouched)); // location 0, scale 1
    EXPECT_EQ(untouched, "kept");
}

// Expected values: 50-digit arithmetic; 1e-300 is far beyond what a batch can hold.
TEST(NormalQuantile, KeepsItsDigitsInBothTails)
{
    const std::pair<double, double> cases[] = {{0.5, 0.0},
                                               {0.075, -1.4395314709384563},
                                               {0.01, -2.3263478740408411},
                                               {1e-12, -7.0344838253011317},
                                               {1e-20, -9.2623400897984076},
                                               {1e-300, -37.047096299361199}};
    for (const auto& [p, z] : cases) {
        EXPECT_LT(relativeError(normalQuantile({p, 1.0 - p}), z), 1e-15) << p;
        EXPECT_EQ(normalQuantile({1.0 - p, p}), -normalQuantile({p, 1.0 - p})) << p;
    }
}

} // namespace
} // namespace varnex3
