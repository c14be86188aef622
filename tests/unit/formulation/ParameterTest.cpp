// The cell and the feasible values of a parameter.
#include <gmock/gmock.h>

#include <vector>

#include "formulation/c_Parameter.h"
#include "support/Expect.h"

namespace varnex3 {
namespace {

class Parameter : public test::LibraryTest {
protected:
    c_Parameter x;

    void fill(const std::vector<double>& given)
    {
        while (x.numFVs() > 0) x.RemoveFV(1);
        for (double v : given) x.AddFV(v);
    }
    std::vector<double> values() const
    {
        std::vector<double> all;
        for (Long i : oneTo(x.numFVs())) all.push_back(x.FeasVals(i));
        return all;
    }
};

TEST_F(Parameter, ListInsertsRemovesAndSorts)
{
    Long index = 0;
    x.AddFV(5.0, index);
    EXPECT_EQ(index, 1);
    x.AddFV(2.0, index);
    EXPECT_EQ(values(), (std::vector{2.0, 5.0}));
    EXPECT_EQ(index, 1);
    index = 7;
    x.AddFV(3.0, index);
    EXPECT_EQ(index, 3);
    index = 2;
    x.AddFV(9.0, index);
    EXPECT_EQ(values(), (std::vector{2.0, 9.0, 5.0, 3.0}));

    x.RemoveFV(0);
    x.RemoveFV(5);
    EXPECT_EQ(x.numFVs(), 4);
    x.RemoveFV(2);
    EXPECT_EQ(values(), (std::vector{2.0, 5.0, 3.0}));
    test::expectRaises(errors::Subscript, [&] { x.FeasVals(4); });
    test::expectRaises(errors::Subscript, [&] { x.FeasVals(0); });

    const std::pair<std::vector<double>, std::vector<double>> sorts[] = {
        {{}, {}},
        {{4.0}, {4.0}},
        {{2.0, 1.0}, {1.0, 2.0}},
        {{1.0, 1.0}, {1.0}},
        {{3.0, 1.0, 3.0, 2.0}, {1.0, 2.0, 3.0}},
    };
    for (const auto& [given, want] : sorts) {
        fill(given);
        x.SortFV();
        EXPECT_EQ(values(), want);
    }
}

// The same questions to a list in order, which is searched by halving, and to lists that are not.
TEST_F(Parameter, FindsValuesInAnyOrder)
{
    const std::vector<double> lists[] = {
        {1.0, 2.0, 4.0, 8.0}, {8.0, 4.0, 2.0, 1.0}, {2.0, 2.0, 5.0, 5.0, 1.0}, {1.0, 1.0, 3.0, 3.0}, {7.0}};
    for (const auto& all : lists) {
        fill(all);
        for (double d = 0.0; d <= 9.0; d += 0.5) {
            const auto found = std::find(all.begin(), all.end(), d);
            EXPECT_EQ(x.FeasValIndex(d), found == all.end() ? 0 : found - all.begin() + 1) << d;
        }
    }
    Long front = 1;
    fill({2.0, 4.0});
    x.AddFV(5.0, front); // no longer in order
    EXPECT_EQ(x.FeasValIndex(5.0), 1);
    x.SortFV();
    EXPECT_EQ(x.FeasValIndex(5.0), 3);
}

TEST_F(Parameter, MakeFeasible)
{
    struct Case {
        const char* kind;
        std::vector<double> values;
        double min, max, d, want;
    };
    using namespace xTypes;
    const Case cases[] = {
        {Discrete, {1.0, 2.0, 4.0}, 1.0, 4.0, 2.9, 2.0},
        {Discrete, {1.0, 2.0, 4.0}, 1.0, 4.0, 3.1, 4.0},
        {Discrete, {1.0, 2.0, 4.0}, 1.0, 4.0, 3.0, 2.0}, // midway goes low
        {Discrete, {1.0, 2.0, 4.0}, 1.0, 4.0, 9.0, 4.0},
        {Discrete, {1.0, 2.0, 4.0}, 1.0, 4.0, 2.0, 2.0},
        {Discrete, {1.0, 2.0, 4.0}, 0.0, 9.0, 8.5, 8.5}, // between no two values
        {Discrete, {4.0, 1.0, 2.0}, 1.0, 4.0, 1.7, 2.0}, // unsorted: the gap 1..2
        {Discrete, {4.0, 1.0, 2.0}, 1.0, 4.0, 3.0, 3.0}, // unsorted: no rising gap around 3
        {Integer, {0.0, 10.0}, 0.0, 10.0, 2.5, 2.0},
        {Integer, {0.0, 10.0}, 0.0, 10.0, 3.5, 4.0},
        {Integer, {0.0, 10.0}, 0.0, 10.0, -3.0, 0.0},
        {Continuous, {0.0, 10.0}, 0.0, 10.0, 2.5, 2.5},
        {Continuous, {0.0, 10.0}, 0.0, 10.0, std::nan(""), 0.0},
        {Continuous, {}, 0.0, 10.0, 12.5, 12.5},
        {Integer, {7.5}, 0.0, 10.0, 2.0, 7.5},
    };
    for (const Case& c : cases) {
        x.xType = c.kind;
        x.SearchMin = c.min;
        x.SearchMax = c.max;
        fill(c.values);
        EXPECT_EQ(x.MakeFeasible(c.d), c.want) << c.kind << ' ' << c.d;
    }
}

TEST_F(Parameter, MeanAndStandardDeviationByKind)
{
    x.mean = sheet.range("A1");
    sheet.set("A1", "2.5");
    sheet.set("A2", 0.5);
    x.stdev = Variant{sheet.range("A2")};
    x.xType = xTypes::Continuous;
    EXPECT_EQ(x.GetMean(), 2.5);
    EXPECT_EQ(x.GetStDev(), 0.5);
    x.xType = xTypes::Noise;
    EXPECT_EQ(x.GetMean(), 0.0);
    EXPECT_EQ(x.GetStDev(), 0.5); // kept as the computed one
    x.xType = xTypes::Constant;
    EXPECT_EQ(x.GetStDev(), 0.0);
    x.SetMean(9.0);
    EXPECT_TRUE(host->calls.empty());

    x.xType = xTypes::Integer;
    sheet.set("A1", "abc");
    EXPECT_EQ(x.GetMean(), 0.0);
    x.stdev = Variant{sheet.range("A3")}; // empty
    EXPECT_EQ(x.GetStDev(), 0.0);
    x.stdev = "abc";
    test::expectRaises(errors::TypeMismatch, [&] { x.GetStDev(); });
    x.SetMean(9.0);
    EXPECT_THAT(host->take(), testing::ElementsAre("Sheet1!$A$1.Value=9"));
    x.Clear();
    test::expectRaises(errors::ObjectNotSet, [&] { x.GetMean(); });
}

} // namespace
} // namespace varnex3
