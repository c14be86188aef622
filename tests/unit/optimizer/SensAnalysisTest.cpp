// Responses predicted from derivatives: recalculations spent, statistics stored, inputs put back.
#include <algorithm>
#include <cmath>
#include <tuple>

#include "evaluation/alg_m_Evaluation.h"
#include "stats/c_Statistics.h"
#include "unit/optimizer/Search.h"

namespace varnex3::test {
namespace {

using namespace alg_m_Evaluation;

class SensAnalysisTest : public SearchTest {
protected:
    SensAnalysisTest()
    {
        f.Options->Derivs = "Quick";
        addX(xTypes::Continuous, 2.0).stdev = sheet.range("C1");
        sheet.set("C1", 0.1);
        addX(xTypes::Discrete, 3.0).stdev = 0.2;
        addX(xTypes::Constant, 1.0).stdev = 9.0;
        addX(xTypes::Continuous, 1.0).stdev = 0.0;
        addY([](FakeSheet& s) { return s.number("A1") * s.number("A1") * s.number("A2"); }).usl = 11.0;
        addY([](FakeSheet& s) { return s.number("A2"); });
        record();
        host->calls.clear();
    }
    long recalculations() { return std::count(host->calls.begin(), host->calls.end(), "Calculate"); }
};

// y1 = x1^2 x2 at (2, 3): dy = (12, 4), d2y = (6, 0); y2 = x2.
TEST_F(SensAnalysisTest, PropagatesQuicklyAndAccurately)
{
    const double v = 1.2 * 1.2 + 0.8 * 0.8;
    for (const char* derivs : {"Quick", "Accurate"})
        for (Long order : {1, 2}) {
            SCOPED_TRACE(testing::Message() << derivs << ", order " << order);
            f.Options->Derivs = derivs;
            host->calls.clear();
            SensAnalysis_Ys(d, 5, order);
            const double m = order == 2 ? 12.03 : 12.0, tolerance = *derivs == 'Q' ? 1e-6 : 1e-10;
            const double want[] = {
                m, 3.0, std::sqrt(v), 0.2, c_Statistics{}.normCDF((11.0 - m) / std::sqrt(v), true), 0.0};
            for (Long k : oneTo(6)) EXPECT_NEAR(d.genY(5, k), want[k - 1], tolerance) << k;
            EXPECT_TRUE(*derivs != 'Q' || recalculations() == 3 * 2 + 1) << "two inputs vary";
        }
    EXPECT_EQ(sheet.number("A1"), 2.0);
}

TEST_F(SensAnalysisTest, NonConformanceIsOneAtMost)
{
    using Case = std::tuple<Variant, Variant, double, double>; // limits, standard deviation, probability
    f.Options->StoreYs = "No";
    auto& y = *f.ItemY(2);
    const double tail = c_Statistics{}.normCDF(-1.0);
    for (const auto& [lsl, usl, stdev, want] :
         {Case{2.8, 3.2, 0.2, 2 * tail},
          {2.8, sheet.range("D1"), 0.2, tail}, // an empty cell is no limit
          {3.2, 2.8, 0.2, 1.0},
          {3.2, "", 0.0, 1.0},
          {"", 2.8, 0.0, 1.0},
          {3.0, 3.0, 0.0, 0.0}}) {
        f.ItemX(2)->stdev = stdev;
        y.lsl = lsl;
        y.usl = usl;
        SensAnalysis_Ys(d, 7, 1);
        EXPECT_NEAR(d.genY(1, 6), want, 1e-9);
    }
    f.Options->dbg = "SensAnalysis_Ys";
    SensAnalysis_Ys(d, 7, 2);
    EXPECT_EQ(user.boxes[3], "[] calculating Y's, Order 2");
    EXPECT_EQ(user.boxes.back(), "[] SensAnalysys_Ys complete");
}

TEST_F(SensAnalysisTest, QuickDerivativesMoveUpDownAndBackAndKeepANoiseFormula)
{
    f.ItemX(1)->xType = xTypes::Noise;
    sheet.formula("A1", "=C2", [](FakeSheet&) { return 0.0; });
    sheet.formula("B1", "=ln(A1)", [](FakeSheet& s) {
        return s.number("A1") < 0.0 ? Variant{ErrorValue{2036}} : Variant{s.number("A1")};
    });
    Array2<double> derivs1(2, 4, 9.0), derivs2(2, 4, 9.0);
    CalcAllDerivsQuick(d, derivs1, derivs2, {0.1, 0.2, 5.0, 0.0}, 2);
    EXPECT_EQ(host->take(), (Lines{"Sheet1!$A$1.Value=0.0001", "Calculate", "Sheet1!$A$1.Value=-0.0001",
                                   "Calculate", "Sheet1!$A$1.Value=0", "Calculate", "Sheet1!$A$1.Formula==C2",
                                   "Sheet1!$A$2.Value=3.0003", "Calculate", "Sheet1!$A$2.Value=2.9997",
                                   "Calculate", "Sheet1!$A$2.Value=3", "Calculate"}));
    EXPECT_EQ(derivs1(1, 1), 1.0) << "forward, where the value below is an error";
    EXPECT_EQ(derivs2(1, 1), 0.0);
    EXPECT_NEAR(derivs1(2, 2), 1.0, 1e-11);
    for (Long i : {3, 4}) EXPECT_EQ(derivs1(1, i) + derivs2(2, i), 0.0) << "the rest do not vary";

    host->fail("Sheet1!$B$2.Value?", 2);
    expectRaises(1004, "Host\r\nin varnex3.alg_m_Evaluation.CalcAllDerivsQuick at line 3",
                 "The host refuses while computing the derivative of Y2 with respect to X1", [&] {
                     CalcAllDerivsQuick(d, derivs1, derivs2, {0.1, 0.2, 5.0, 0.0}, 2);
                 });
    EXPECT_EQ(host->calls.back(), "Sheet1!$A$1.Formula==C2");
    host->heal();
    host->fail("Sheet1!$B$2.Value?", 1);
    expectRaises(1004, [&] { CalcAllDerivsQuick(d, derivs1, derivs2, {0.0, 0.2, 0.0, 0.0}, 2); });
    EXPECT_EQ(sheet.number("A2"), 3.0);
}

TEST_F(SensAnalysisTest, AccurateDerivativesRunBetweenTheMacrosOfTheRun)
{
    f.Options->Derivs = "Accurate";
    alg_m_XLinterface::hostState().beforeMacro = "Before";
    sheet.formula("A2", "=C2", [](FakeSheet&) { return 3.0; });
    f.ItemX(2)->xType = xTypes::Noise;
    Array2<double> derivs1(2, 4), derivs2(2, 4);
    expectRaises(1004,
                 "Host\r\nin varnex3.c_Derivatives.Deriv at line 2\r\n"
                 "in varnex3.alg_m_Evaluation.CalcAllDerivsAccurate at line 3",
                 "Cannot run the macro 'Before'. Y (cell $B$1) = 12, X (cell $A$2) = 2.4", [&] {
                     CalcAllDerivsAccurate(d, derivs1, derivs2, {0.0, 0.2, 0.0, 0.0}, 1);
                 });
    EXPECT_EQ(host->calls.back(), "Sheet1!$A$2.Formula==C2");
}

TEST_F(SensAnalysisTest, EvaluateGenSelectsTheOrderByTheOption)
{
    for (Long m : oneTo(2))
        for (Long i : oneTo(4)) d.genX(m, i) = i == 1 ? 2.0 : i == 2 ? 3.0 : 1.0;
    f.Options->Stats = statsMethods::FirstOrder;
    alg_m_GeneticAlgorithm::EvaluateGen(d, 1, 1);
    f.Options->Stats = statsMethods::SecondOrder;
    alg_m_GeneticAlgorithm::EvaluateGen(d, 2, 2);
    EXPECT_EQ(d.genY(1, 1), 12.0);
    EXPECT_NEAR(d.genY(2, 1), 12.03, 1e-6);
}

TEST_F(SensAnalysisTest, WarnsOfAStepThatIsTooSmall)
{
    c_Parameter& x = *f.ItemX(1);
    x.Name = "Gap";
    EXPECT_EQ(quickStepWarning(x, 2.0, 1.9), "");
    EXPECT_EQ(quickStepWarning(x, -0.000001, 0.1),
              "The step of the quick derivatives for Gap (1E-10) is below a ten-thousandth of its standard "
              "deviation (0.1): second derivatives may be rounding noise. Use \"Accurate\" derivatives.");
}

} // namespace
} // namespace varnex3::test
