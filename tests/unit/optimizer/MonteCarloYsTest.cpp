// MonteCarlo_Ys: a member's statistics by simulation, alone and within an optimization.
#include <gtest/gtest.h>

#include <cmath>
#include <memory>

#include "Search.h"
#include "evaluation/alg_m_Evaluation.h"
#include "stats/c_Distribution.h"

namespace varnex3 {
namespace {

using test::FakeSheet;
using test::Lines;

class MonteCarloYs : public test::SearchTest {
protected:
    MonteCarloYs()
    {
        addX(xTypes::Continuous, 5.0, {0.0, 10.0}).stdev = 0.1;
        c_Parameter& noise = addX(xTypes::Noise, 0.0);
        auto d1 = std::make_shared<c_Distribution>();
        d1->DistType("Uniform");
        d1->param1(-1.0);
        d1->param2(1.0);
        noise.dist->Add(d1);
        c_Response& y = addY([](FakeSheet& s) { return Variant(s.number("A1") + s.number("A2")); });
        y.lsl = 6.0;
        monteCarlo.numTrials = monteCarlo.sampleSize = 200;
        monteCarlo.randSeed = 3;
        monteCarlo.useLHS = true;
        monteCarlo.alpha(0.05);
        monteCarlo.XLApplication(host);
        monteCarlo.LoadFormulation(Ref<c_Formulation>(&f, [](c_Formulation*) {}));
    }

    OptimizationRun& withMembers()
    {
        OptimizationRun& run = record();
        run.mc = &monteCarlo;
        run.genX(1, 1) = 5.0;
        run.genX(2, 1) = 9.0;
        run.genX(1, 2) = run.genX(2, 2) = 77.0; // noise: not written
        return run;
    }
};

TEST_F(MonteCarloYs, FillsTheMembersRowFromItsOwnSimulation)
{
    OptimizationRun& run = withMembers();
    for (Long member : {1, 2}) alg_m_Evaluation::MonteCarlo_Ys(run, member);
    // uniform on -1..1 beside a normal of 0.1: variance 1/3 + 0.01
    EXPECT_NEAR(run.genY(1, 1), 5.0, 1e-2);
    EXPECT_NEAR(run.genY(1, 2), std::sqrt(1.0 / 3.0 + 0.01), 1e-2);
    EXPECT_GT(run.genY(1, 3), 0.97); // nearly all below 6
    EXPECT_NEAR(run.genY(2, 1), 9.0, 1e-2);
    EXPECT_NEAR(run.genY(2, 3), 1.0 - std::pow(0.05, 1.0 / 200.0), 1e-14); // none failed: not 0
    // common random numbers: the same deviations about another mean
    EXPECT_NEAR(run.genY(2, 1) - run.genY(1, 1), 4.0, 1e-12);
    EXPECT_EQ(sheet.number("A1"), 9.0);
    EXPECT_EQ(sheet.number("A2"), 0.0);
}

TEST_F(MonteCarloYs, WithoutStoredYsTheOnlyRowHoldsTheLatest)
{
    f.Options->StoreYs = "No";
    f.Options->dbg = "MonteCarlo_Ys";
    OptimizationRun& run = withMembers();
    alg_m_Evaluation::MonteCarlo_Ys(run, 2);
    EXPECT_NEAR(run.genY(1, 1), 9.0, 1e-2);
    EXPECT_EQ(user.boxes, (Lines{"[] MonteCarlo_Ys for member 2", "[] zeroing Y sums", "[] initializing X's",
                                 "[] starting trials"}));
}

TEST_F(MonteCarloYs, AFailedRunFailsTheMember)
{
    std::static_pointer_cast<c_Distribution>(f.ItemX(2)->dist->Item(1))->param1("low");
    OptimizationRun& run = withMembers();
    const ErrorRecord record = test::raisedBy([&] { alg_m_Evaluation::MonteCarlo_Ys(run, 1); });
    EXPECT_EQ(record.number, 519);
    EXPECT_EQ(record.source, "MonteCarlo_Ys\r\nin varnex3.alg_m_Evaluation.MonteCarlo_Ys at line 6");
    EXPECT_EQ(record.description, "");
}

// The lowest mean with at most 5 % below the limit of 6. Every simulation restarts the stream, so that the
// operators see the same draws in every generation: the search gets near the optimum of about 7, not to it.
TEST_F(MonteCarloYs, OptimizesOnTheNonConformance)
{
    f.Options->Stats = statsMethods::MonteCarlo;
    f.Options->MaxGens = 15;
    addC(1, "pnc", "<=", 0.05);
    addG(1, "Mean", "<=", 0.0);
    ASSERT_TRUE(optimize());
    const double best = sheet.number("A1");
    EXPECT_LT(best, 9.0);
    ASSERT_TRUE(monteCarlo.RunMC(false, true));
    EXPECT_NEAR(monteCarlo.yStats(1, 1), best, 1e-2);
    EXPECT_LE(monteCarlo.yStats(1, 7), 0.05);
}

} // namespace
} // namespace varnex3
