// Deviations, scores, rank fitness, and the order that the scores give a generation.
#include <limits>

#include "optimizer/SortGen.h"
#include "unit/optimizer/Search.h"

namespace varnex3::test {
namespace {

using namespace alg_m_GeneticAlgorithm;
using Values = std::vector<double>;

class ScoringTest : public SearchTest {};

TEST_F(ScoringTest, DeviationIsRelativeExceptAgainstZero)
{
    struct Case {
        double v;
        const char* oper;
        double t;
        double want;
    };
    for (const Case& c : {Case{12, "<=", 10, 0.2},
                          {10, "<=", 10, 0},
                          {0.5, "<=", 0, 0.5},
                          {8, ">=", 10, 0.2},
                          {10, ">=", 10, 0},
                          {1, "=", 2, 0.5},
                          {2, "=", 2, 0},
                          {-3, "=", -2, 0.5},
                          {5, "<", 1, 0}})
        EXPECT_DOUBLE_EQ(computeDeviation(c.v, c.oper, c.t), c.want) << c.v << c.oper << c.t;
}

TEST_F(ScoringTest, GoalsAddUpWithinTheirPriority)
{
    for ([[maybe_unused]] int j : {1, 2}) addY([](FakeSheet&) { return 0.0; });
    addC(1, "Mean", "<=", 10.0);
    addC(2, "pnc", "<=", 0.0);
    addG(1, "Mean", "=", 10.0, 2, 1.0);
    addG(2, "StDev", "=", 2.0, 2, 3.0);
    sheet.set("C1", 4.0);
    addG(2, "Mean", ">=", sheet.range("C1"), 3, 0.5);
    record();
    d.cSource = {1, 2};
    d.gSource = {1, 2, 2};
    const Values statistics = {12, 2, 0.1, 1, 0, 0.25}; // means, standard deviations, non-conformances
    for (bool stored : {true, false}) {
        f.Options->StoreYs = stored ? "Yes" : "No";
        d.genY.fill(-1);
        std::copy(statistics.begin(), statistics.end(), d.genY.row(stored ? 7 : 1).begin());
        d.genP.fillRow(7, 99.0);
        ComputePLevels(d, 7);
        EXPECT_DOUBLE_EQ(d.genP(7, 1), 0.2 + 0.25);
        EXPECT_EQ(d.genP(7, 2), 0.0);
        EXPECT_DOUBLE_EQ(d.genP(7, 3), 0.2 * 1 + 0.5 * 3);
        EXPECT_DOUBLE_EQ(d.genP(7, 4), 0.5 * 0.5);
    }
}

TEST_F(ScoringTest, BadCellsAndPrioritiesStopTheRun)
{
    addY([](FakeSheet&) { return 0.0; });
    auto& goal = addG(1, "Mean", "=", 1.0);
    record();
    const std::string trail = "\r\nin varnex3.alg_m_GeneticAlgorithm.ComputePLevels at line 4";
    sheet.set("C1", -1.0);
    goal.Weight = sheet.range("C1");
    expectRaises(517, "ComputePLevels" + trail, "Negative cell value", [&] { ComputePLevels(d, 1); });
    EXPECT_EQ(host->take(), (Lines{"Book1.xlsx.Activate", "Sheet1.Activate", "Sheet1!$C$1.Select"}));
    goal.Target = sheet.range("C2");
    expectRaises(515, "ComputePLevels" + trail, "Non-numeric cell value", [&] { ComputePLevels(d, 1); });
    goal.Target = 1.0;
    goal.Priority = 4;
    expectRaises(9, "varnex3" + trail, "Subscript out of range", [&] { ComputePLevels(d, 1); });
}

TEST_F(ScoringTest, FitnessFallsEvenlyWithTheRank)
{
    record();
    EXPECT_NEAR(calcFitness(d, 1), 1.0, 1e-15);
    EXPECT_EQ(calcFitness(d, 20), 0.01);
    EXPECT_DOUBLE_EQ(calcFitness(d, 10), 0.01 + 10 * 0.99 / 19);
}

TEST_F(ScoringTest, SortsByScoreAndBreaksTiesByTheNext)
{
    addX(xTypes::Constant, 0);
    addY([](FakeSheet&) { return 0.0; });
    f.Options->dbg = "SortGen";
    for (bool stored : {true, false}) {
        f.Options->StoreYs = stored ? "Yes" : "No";
        record();
        d.genCount = 5;
        const Values scores[] = {{3, 0, 0, 0}, {1, 2, 9, 1}, {2, 5, 0, 0}, {1, 2, 9, 0}, {1, 1, 9, 9}};
        for (Long m : oneTo(5)) {
            std::copy(scores[m - 1].begin(), scores[m - 1].end(), d.genP.row(m).begin());
            d.genX(m, 1) = m;
            if (stored) d.genY(m, 1) = 10 * m;
        }
        user.boxes.clear();
        host->take();
        alg_m_Sorting::SortGen(d, 1, 1, 5);
        const Values order = {5, 4, 2, 3, 1};
        for (Long m : oneTo(5)) {
            const double from = order[static_cast<std::size_t>(m - 1)];
            EXPECT_EQ(d.genX(m, 1), from);
            EXPECT_TRUE(!stored || d.genY(m, 1) == 10 * from);
            EXPECT_EQ(rowOf(d.genP, m), scores[static_cast<int>(from) - 1]);
        }
    }
    EXPECT_EQ(host->take(), Lines(4, "StatusBar=Sorting generation 5 "));
    EXPECT_EQ(
        user.boxes,
        (Lines{"[] Sorting column 1 of4\rFrom row 1 to row 5", "[] Duplicates found in col 1 from1 to 3",
               "[] Sorting column 2 of4\rFrom row 1 to row 3", "[] Duplicates found in col 2 from2 to 3",
               "[] Sorting column 3 of4\rFrom row 2 to row 3", "[] Duplicates found in col 3 from2 to 3",
               "[] Sorting column 4 of4\rFrom row 2 to row 3"}));
}

} // namespace
} // namespace varnex3::test
