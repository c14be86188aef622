// c_MonteCarlo: the order of a run, its statistics and bounds, ends by error and cancel, ranks, export.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>

#include "Model.h"

namespace varnex3 {
namespace {

using test::FakeSheet;
using test::Lines;
using test::MonteCarloTest;
using testing::Contains;
using testing::HasSubstr;

double x1(FakeSheet& s) { return s.number("A1"); }
double x2(FakeSheet& s) { return s.number("A2"); }

TEST_F(MonteCarloTest, NothingToRunIsFalseAtOnce)
{
    EXPECT_FALSE(mc.RunMC());
    addX("Normal", 0, 1);
    mc.LoadFormulation(f);
    mc.numTrials = 3;
    EXPECT_FALSE(mc.RunMC());
    EXPECT_EQ(mc.numTrials, 3);
    std::string source, cause;
    Long item = 0;
    EXPECT_FALSE(mc.InputsOK(source, item, cause, true));
    EXPECT_EQ(user.boxes, (Lines{"[Corvane] Please define at least one response."}));
}

TEST_F(MonteCarloTest, InputsOKNamesTheFirstBadItem)
{
    addX("Normal", 0, 1);
    addX("Normal", 0, -1);
    addY(x1);
    mc.LoadFormulation(f);
    std::string source, cause;
    Long item = 0;
    EXPECT_FALSE(mc.InputsOK(source, item, cause, true));
    EXPECT_EQ(source, "Parameter");
    EXPECT_EQ(item, 2);
    EXPECT_EQ(user.boxes,
              (Lines{"[Corvane] Standard deviation of the Normal distribution is negative for X 2"}));
    EXPECT_EQ(mc.Xs(3), nullptr);
    EXPECT_EQ(mc.Ys("y1"), f->ItemY(1));
}

TEST_F(MonteCarloTest, HostCallsOfARunInOrder)
{
    sheet.formula("A1", "=10/2", [](FakeSheet&) { return Variant(5.0); });
    addX("Uniform", 0, 1);
    sheet.formula("A1", "=10/2", [](FakeSheet&) { return Variant(5.0); });
    addY(x1);
    f->Options->beforeMacro = "Before";
    mc.SetupMacroName = "Setup";
    Long macroArguments = 0;
    host->macros["Before"] = [](std::span<const Variant>) { return Variant{}; };
    host->macros["Book1.xlsx!Setup"] = [&](std::span<const Variant> arguments) {
        macroArguments = static_cast<Long>(arguments.size());
        EXPECT_EQ(arguments[0].object(), f->Xs);
        return Variant{};
    };
    mc.numTrials = 10;
    mc.sampleSize = 0;
    mc.refreshRate(50);
    host->take();
    ASSERT_TRUE(run(true));
    EXPECT_EQ(mc.numTrials, 50);
    EXPECT_EQ(mc.sampleSize, 50);
    EXPECT_EQ(macroArguments, 2);
    EXPECT_EQ(user.boxes, (Lines{"[] zeroing Y sums", "[] initializing X's", "[] starting trials"}));

    std::vector<std::string> calls = host->take();
    auto isWrite = [](const std::string& line) { return line.rfind("Sheet1!$A$1.Value=", 0) == 0; };
    EXPECT_EQ(std::count_if(calls.begin(), calls.end(), isWrite), 50);
    for (std::string& line : calls)
        if (isWrite(line)) line = "write";
    const Lines begin = {"Calculation=-4135", "ScreenUpdating=False"};
    EXPECT_EQ(Lines(calls.begin(), calls.begin() + 2), begin);
    const Lines firstTrial = {"StatusBar=Creating batch of parameter values.",
                              "StatusBar=Running trial 1 of 50",
                              "write",
                              "Run Before()",
                              "Calculate",
                              "StatusBar=Running trial 2 of 50"};
    EXPECT_EQ(Lines(calls.begin() + 3, calls.begin() + 9), firstTrial);
    const Lines lastTrial = {"StatusBar=Running trial 50 of 50", "write", "ScreenUpdating=True",
                             "Run Before()", "Calculate"};
    const Lines end = {"StatusBar=Calculating contributions to variance...",
                       "StatusBar=Calculating contributions to variance...",
                       "StatusBar=Calculating contributions to variance...",
                       "Sheet1!$A$1.Formula==10/2",
                       "StatusBar=Calculating response statistics...",
                       "ScreenUpdating=True",
                       "StatusBar=False",
                       "Calculation=-4105"};
    const auto tail = calls.end() - 8;
    EXPECT_EQ(Lines(tail, calls.end()), end);
    EXPECT_EQ(Lines(tail - 5, tail), lastTrial);
    EXPECT_FALSE(monteCarloStatusWindow().visible);
}

TEST_F(MonteCarloTest, ARunForTheOptimizerIsSilent)
{
    addX("Uniform", 0, 1);
    addY(x1);
    mc.SetupMacroName = "Missing";
    ASSERT_TRUE(run(false, true));
    EXPECT_EQ(user.windows, Lines{});
    EXPECT_EQ(user.events, 0);
    for (const std::string& line : host->take())
        EXPECT_TRUE(line.rfind("StatusBar", 0) != 0 || line == "StatusBar=False") << line;
}

TEST_F(MonteCarloTest, StatisticsAreThoseOfTheStoredTrials)
{
    addX("Normal", 10, 2);
    addX("Exponential", 1, 0);
    c_Response& y = addY([](FakeSheet& s) { return x1(s) + 3.0 * x2(s); });
    y.lsl = 9.0;
    sheet.set("C1", 16);
    y.usl = sheet.range("C1");
    addY([](FakeSheet&) { return 7.0; });
    mc.numTrials = 500;
    mc.sampleSize = 200;
    ASSERT_TRUE(run());

    const double n = 500;
    double m = 0, m2 = 0, m3 = 0, m4 = 0, low = 0, high = 0;
    for (Long t : oneTo(500)) {
        const double v = mc.yUnsorted(1, t);
        EXPECT_DOUBLE_EQ(v, mc.xUnsorted(1, t) + 3.0 * mc.xUnsorted(2, t));
        EXPECT_EQ(mc.yPassFail(1, t), v >= 9.0 && v <= 16.0 ? 1.0 : 0.0);
        m += v / n;
        low += v < 9.0;
        high += v > 16.0;
    }
    for (Long t : oneTo(500)) {
        const double d = mc.yUnsorted(1, t) - m;
        m2 += d * d, m3 += d * d * d / n, m4 += d * d * d * d / n;
    }
    const double s = std::sqrt(m2 / (n - 1));
    const double want[] = {m, s, m3 / (s * s * s), m4 / (s * s * s * s)};
    for (Long k : oneTo(4)) {
        EXPECT_NEAR(mc.yStats(1, k), want[k - 1], 1e-9) << k;
        EXPECT_NEAR(mc.accurateStats(1, k), want[k - 1], 1e-12) << k;
        EXPECT_FALSE(mc.statsDiffer(1, k)) << k;
    }
    EXPECT_EQ(mc.ySums(1, 5), low);
    EXPECT_EQ(mc.ySums(1, 6), high);
    EXPECT_GT(low * high, 0.0);
    EXPECT_DOUBLE_EQ(mc.yStats(1, 6), (low + high) / n);
    EXPECT_LT(mc.yStats(1, 5), mc.yStats(1, 6));
    EXPECT_GT(mc.yStats(1, 7), mc.yStats(1, 6));

    EXPECT_EQ(mc.yStats(2, 1), 7.0); // a whole number: exactly no spread
    for (Long k : {2, 3, 4}) EXPECT_EQ(mc.yStats(2, k), 0.0);
    EXPECT_EQ(mc.RankCorrelations(1, 2), 0.0);

    mc.SortYs();
    for (Long t : fromTo(2, 500)) EXPECT_LE(mc.ySorted(1, t - 1), mc.ySorted(1, t));
    EXPECT_EQ(mc.ySorted(1, 1), mc.yMin(1));
    EXPECT_EQ(mc.ySorted(1, 500), mc.yMax(1));
    for (Long t : oneTo(500))
        EXPECT_EQ(mc.yPassFail(1, t), mc.ySorted(1, t) >= 9.0 && mc.ySorted(1, t) <= 16.0 ? 1.0 : 0.0);

    const double outside[] = {mc.yStats(0, 1),      mc.yStats(1, 8),           mc.ySums(3, 1),
                              mc.ySorted(1, 501),   mc.yUnsorted(1, 501),      mc.xUnsorted(3, 1),
                              mc.VarContribs(3, 1), mc.RankCorrelations(1, 0), mc.ySorted(0, 1)};
    for (double value : outside) EXPECT_EQ(value, 0.0);
}

TEST_F(MonteCarloTest, SameSeedSameTrialsAndASeedIsMadeUpWhenThereIsNone)
{
    addX("Normal", 0, 1);
    addY(x1);
    auto trials = [&] {
        EXPECT_TRUE(run());
        std::vector<double> values;
        for (Long t : oneTo(mc.LastTrial())) values.push_back(mc.yUnsorted(1, t));
        return values;
    };
    const auto first = trials();
    EXPECT_EQ(trials(), first);
    setSeedSource([] { return 4711; });
    mc.randSeed = 0;
    EXPECT_NE(trials(), first);
    EXPECT_EQ(mc.randSeed, 4711);
}

// Prescribed power sums lose the spread: standard deviation 1 about 1e8, and a constant 0.1.
TEST_F(MonteCarloTest, LostDigitsAreNoticed)
{
    addX("Normal", 0, 1);
    addY([](FakeSheet& s) { return 1e8 + x1(s); });
    addY([](FakeSheet&) { return 0.1; });
    mc.numTrials = mc.sampleSize = 1000;
    ASSERT_TRUE(run());
    EXPECT_NEAR(mc.accurateStats(1, 2), 1.0, 0.01);
    EXPECT_NEAR(mc.accurateStats(1, 4), 3.0, 0.1);
    EXPECT_TRUE(mc.statsDiffer(1, 4));
    EXPECT_EQ(mc.accurateStats(2, 2), 0.0);
    EXPECT_GT(mc.yStats(2, 2), 0.0);
    EXPECT_TRUE(mc.statsDiffer(2, 2));
    EXPECT_FALSE(mc.statsDiffer(1, 1));
}

TEST_F(MonteCarloTest, LimitsOfAResponse)
{
    addX("Discrete", std::make_shared<const Array1<double>>(Array1<double>{1, 2, 3, 4}), Variant{});
    c_Response& y = addY(x1);
    y.lsl = 2.0; // a value on a limit passes
    y.usl = 3.0;
    ASSERT_TRUE(run());
    EXPECT_EQ(mc.ySums(1, 5), 25.0);
    EXPECT_EQ(mc.ySums(1, 6), 25.0);

    y.lsl = "none"; // not a number: no limit
    y.usl = sheet.range("C9");
    ASSERT_TRUE(run());
    EXPECT_EQ(mc.yStats(1, 6), 0.0);

    y.lsl = 3.5; // the lower limit above the upper one
    y.usl = 1.5;
    EXPECT_FALSE(run());
    EXPECT_THAT(errorWindow().Label1, HasSubstr("LSL greater than USL for Y 1 (Output 1)"));
    EXPECT_EQ(mc.ySums(1, 5) + mc.ySums(1, 6), 150.0); // 2 and 3 count on both sides
}

TEST_F(MonteCarloTest, BadLimitAndResponseCellsEndTheRun)
{
    addX("Uniform", 0, 1);
    sheet.set("A1", 42);
    c_Response& y = addY(x1);
    Long calculations = 0; // two a trial: the fake host keeps the first definition's place too
    sheet.formula("B1", "=model1", [&](FakeSheet& s) -> Variant {
        return ++calculations > 120 ? Variant(ErrorValue{2007}) : Variant(x1(s));
    });
    calculations = 0;
    EXPECT_FALSE(run());
    EXPECT_EQ(mc.LastTrial(), 60);
    EXPECT_EQ(mc.yUnsorted(1, 61), 0.0);
    EXPECT_NE(mc.trialX(1), mc.xUnsorted(1, 60)); // the values that made the error
    EXPECT_EQ(sheet.number("A1"), 42.0);
    EXPECT_EQ(host->calculation, host::kCalculationAutomatic);
    EXPECT_TRUE(host->screenUpdating);
    EXPECT_EQ(errorWindow().Label1.substr(0, 84),
              "Error 513:  Error in cell value\r\nRunMC\r\nin varnex3.c_MonteCarlo.RunMC at line 1406\r\n");

    sheet.formula("B1", "=model1", [](FakeSheet& s) { return Variant(x1(s)); });
    sheet.set("C1", "wide");
    y.usl = sheet.range("C1");
    EXPECT_FALSE(run());
    EXPECT_THAT(errorWindow().Label1, HasSubstr("Error 515:  Non-numeric cell value\r\nRunMC"));
}

TEST_F(MonteCarloTest, ADrawThatFailsEndsTheRunInSilence)
{
    c_Parameter& x = addX("Uniform", 0, sheet.range("C1"));
    sheet.set("C1", 1);
    sheet.set("A1", 42);
    x.dist->Item(1)->Dynamic = true;
    Long calculations = 0;
    addY([&](FakeSheet& s) {
        if (++calculations == 70) s.set("C1", -1);
        return x1(s);
    });
    calculations = 0;
    EXPECT_FALSE(run());
    EXPECT_EQ(mc.LastTrial(), 70);
    EXPECT_EQ(errorWindow().Label1, "");
    EXPECT_EQ(sheet.number("A1"), 42.0);
    EXPECT_EQ(host->calculation, host::kCalculationAutomatic);
}

TEST_F(MonteCarloTest, CancelEndsTheRunAndKeepsTheTrialsDone)
{
    addX("Uniform", 0, 1);
    addY(x1);
    sheet.set("A1", 42);
    user.onEvents = [](Long call) {
        if (call == 31) monteCarloStatusWindow().CancelButton_Click(); // the batch and 30 trials
    };
    EXPECT_FALSE(run());
    EXPECT_EQ(mc.LastTrial(), 30);
    EXPECT_NE(mc.xUnsorted(1, 30), 0.0);
    EXPECT_THAT(errorWindow().Label1, HasSubstr("Error 18:  User interrupt occurred\r\n"));
    EXPECT_EQ(sheet.number("A1"), 42.0);
    EXPECT_FALSE(monteCarloStatusWindow().visible);
    user.onEvents = {};
    EXPECT_TRUE(run());
    mc.Clear();
    EXPECT_FALSE(mc.CompleteEarly(true)); // nothing is left of any run
}

// One batch of millions of trials takes long to draw: Cancel is noticed on the way, with no status step.
TEST_F(MonteCarloTest, CancelWhileALargeBatchIsDrawn)
{
    for (int i = 0; i < 3; ++i) addX("Uniform", 0, 1);
    addY(x1);
    sheet.set("A1", 42);
    mc.numTrials = mc.sampleSize = 1000000;
    mc.LoadFormulation(f);
    mc.ClearCorrelations();
    struct Case {
        bool lhs, correlated;
        Long atCall; // after that of the status step
    };
    // 3 million draws; as many exchanges of the shuffle before them; the sorts of the induction
    for (const Case& c : {Case{false, false, 3}, Case{true, false, 6}, Case{false, true, 6}}) {
        SCOPED_TRACE(c.atCall);
        mc.useLHS = c.lhs;
        mc.useCorrelations = c.correlated;
        user.events = 0;
        user.onEvents = [&c](Long call) {
            if (call == c.atCall) monteCarloStatusWindow().CancelButton_Click();
        };
        host->take();
        EXPECT_FALSE(mc.RunMC());
        EXPECT_EQ(mc.LastTrial(), 0);
        EXPECT_THAT(errorWindow().Label1,
                    HasSubstr("varnex3.alg_m_LatinHypercube.CreateInputMatrix at line " +
                              std::to_string(c.correlated ? 3
                                             : c.lhs      ? 2
                                                          : 1)));
        const Lines calls = host->take();
        EXPECT_EQ(std::count_if(calls.begin(), calls.end(),
                                [](const std::string& line) { return line.rfind("StatusBar=C", 0) == 0; }),
                  1);
        EXPECT_EQ(sheet.number("A1"), 42.0);
    }
}

TEST_F(MonteCarloTest, AConstantKeepsItsCellAndParametersFollowTheCalculationSequence)
{
    addX("Uniform", 0, 1).xType = xTypes::Constant;
    sheet.set("A1", 5);
    addX("Uniform", 0, 1);
    addX("Uniform", 0, 1);
    f->CalcSequence(2, 3);
    f->CalcSequence(3, 2);
    f->RecalcFlags(2, true);
    addY([](FakeSheet& s) { return x1(s) * x2(s); });
    ASSERT_TRUE(run());
    std::vector<std::string> calls = host->take();
    for (std::string& line : calls) line = line.substr(0, line.find('='));
    EXPECT_THAT(calls, testing::Not(Contains("Sheet1!$A$1.Value")));
    const auto first = std::find(calls.begin(), calls.end(), "Sheet1!$A$3.Value");
    EXPECT_EQ(Lines(first, first + 4),
              (Lines{"Sheet1!$A$3.Value", "Calculate", "Sheet1!$A$2.Value", "Calculate"}));
    EXPECT_EQ(mc.xUnsorted(1, 17), 5.0);
}

/// Midranks by counting, and their product-moment correlation: what the tie-corrected formula must equal.
double rankCorrelation(const std::vector<double>& a, const std::vector<double>& b)
{
    auto ranks = [](const std::vector<double>& v) {
        std::vector<double> r;
        for (double x : v) {
            double below = 0, same = 0;
            for (double other : v) below += other < x, same += other == x;
            r.push_back(below + (same + 1.0) / 2.0);
        }
        return r;
    };
    const auto ra = ranks(a), rb = ranks(b);
    const double mean = (static_cast<double>(a.size()) + 1.0) / 2.0;
    double ab = 0, aa = 0, bb = 0;
    for (std::size_t i = 0; i < ra.size(); ++i) {
        ab += (ra[i] - mean) * (rb[i] - mean);
        aa += (ra[i] - mean) * (ra[i] - mean);
        bb += (rb[i] - mean) * (rb[i] - mean);
    }
    return ab / std::sqrt(aa * bb);
}

TEST_F(MonteCarloTest, RankCorrelationsOfTheLastFullBatchAndContributionsOfAll)
{
    addX("Normal", 0, 1);
    addX("Uniform", 0, 1);
    addX("Normal", 3, 0); // never changes
    addY([](FakeSheet& s) { return std::floor(2.0 * x1(s)) + x2(s) * x2(s); });
    addY([](FakeSheet& s) { return std::floor(2.0 * x1(s)); }); // many ties
    addY([](FakeSheet& s) { return -x1(s); });
    mc.numTrials = 149;
    mc.sampleSize = 50;
    ASSERT_TRUE(run());

    auto batch = [&](Long first, bool isX, Long k) {
        std::vector<double> values;
        for (Long t : fromTo(first, first + 49))
            values.push_back(isX ? mc.xUnsorted(k, t) : mc.yUnsorted(k, t));
        return values;
    };
    for (Long y : oneTo(3)) {
        double shares[2] = {0, 0}, total = 0;
        for (Long x : oneTo(2)) // the third batch has 49 trials and adds nothing
            EXPECT_NEAR(mc.RankCorrelations(x, y), rankCorrelation(batch(51, true, x), batch(51, false, y)),
                        1e-13);
        for (Long first : {1, 51}) {
            const double r1 = rankCorrelation(batch(first, true, 1), batch(first, false, y));
            const double r2 = rankCorrelation(batch(first, true, 2), batch(first, false, y));
            shares[0] += r1 * r1 / (r1 * r1 + r2 * r2);
            shares[1] += r2 * r2 / (r1 * r1 + r2 * r2);
        }
        total = shares[0] + shares[1];
        EXPECT_NEAR(mc.VarContribs(1, y), shares[0] / total, 1e-13);
        EXPECT_NEAR(mc.VarContribs(2, y), shares[1] / total, 1e-13);
        EXPECT_EQ(mc.RankCorrelations(3, y), 0.0);
    }
    EXPECT_EQ(mc.RankCorrelations(1, 3), -1.0);
}

// A million trials, sorted twice, on data that is already sorted: neither quadratic nor deep.
TEST_F(MonteCarloTest, AlreadySortedResponsesAreSortedAgain)
{
    host->record = test::Record::Nothing;
    addX("Uniform", 0, 1);
    addY(x1);
    mc.numTrials = mc.sampleSize = 100000;
    ASSERT_TRUE(run(false, true));
    mc.SortYs();
    const double median = mc.ySorted(1, 50000);
    mc.SortYs();
    EXPECT_EQ(mc.ySorted(1, 50000), median);
    EXPECT_NEAR(median, 0.5, 1e-4);
}

TEST(ConfidenceBounds, ThreeCases)
{
    struct Case {
        Long n, x;
        double alpha, low, high;
    };
    const Case cases[] = {
        {1000, 0, 0.05, 0.0, 0.002991249545095296}, // 1 - 0.05^(1/1000)
        {1000, 3, 0.05, 0.0, 0.003 + std::sqrt(0.003 * 0.997 / 50.0)},
        {1000, 5, 0.05, 0.005 - 1.96 * std::sqrt(0.005 * 0.995 / 1000),
         0.005 + 1.96 * std::sqrt(0.005 * 0.995 / 1000)},
        {1000, 996, 0.05, 0.996 - std::sqrt(0.996 * 0.004 / 50.0), 1.0},
        {50, 50, 0.05, 1.0, 1.0},
        {50, 1, 0.5, 0.0, 0.02 + std::sqrt(0.02 * 0.98 / 25.0)},
    };
    for (const Case& c : cases) {
        EXPECT_NEAR(c_MonteCarlo::minPNC(c.n, c.x, c.alpha), c.low, 1e-12) << c.x;
        EXPECT_NEAR(c_MonteCarlo::maxPNC(c.n, c.x, c.alpha), c.high, 1e-12) << c.x;
    }
}

TEST(MonteCarloSettings, OutOfRangeValuesAreReplaced)
{
    c_MonteCarlo mc;
    EXPECT_EQ(mc.alpha(), 0.0);
    for (double level : {1.5, -1.0, 0.0, 1.0}) {
        mc.alpha(level);
        EXPECT_EQ(mc.alpha(), 0.05);
    }
    mc.refreshRate(0);
    EXPECT_EQ(mc.refreshRate(), 1000);
    EXPECT_EQ(mc.yStats(1, 1) + mc.VarContribs(1, 1) + mc.ySorted(1, 1) + mc.xUnsorted(1, 1), 0.0);
}

} // namespace
} // namespace varnex3
