// Writing members into the workbook, reading responses, and the order of host calls.
#include <memory>

#include "evaluation/alg_m_Evaluation.h"
#include "stats/c_Distribution.h"
#include "unit/optimizer/Search.h"

namespace varnex3::test {
namespace {

using namespace alg_m_GeneticAlgorithm;

class EvaluationTest : public SearchTest {};

TEST_F(EvaluationTest, ValuesOutsideTheLimitsDoNotConform)
{
    double value = 0.0;
    auto& y = addY([&](FakeSheet&) { return value; });
    sheet.set("C2", 5.0);
    record();
    struct Case {
        Variant lsl, usl;
        double v;
        double want;
    };
    for (const Case& c : {Case{2.0, 5.0, 2.0, 0},
                          {2.0, 5.0, 5.0, 0},
                          {2.0, 5.0, 1.999, 1},
                          {2.0, 5.0, 5.001, 1},
                          {Variant{}, "", 1e9, 0},
                          {sheet.range("C1"), sheet.range("C2"), -1e9, 0},
                          {sheet.range("C1"), sheet.range("C2"), 6.0, 1}}) {
        y.lsl = c.lsl;
        y.usl = c.usl;
        value = c.v;
        host->Calculate();
        alg_m_Evaluation::Deterministic_Ys(d, 3);
        EXPECT_EQ(rowOf(d.genY, 3), (std::vector<double>{c.v, 0.0, c.want})) << c.v;
    }
    sheet.set("C1", "none");
    expectRaises(515, "Deterministic_Ys\r\nin varnex3.alg_m_Evaluation.Deterministic_Ys at line 3",
                 "Non-numeric cell value", [&] { alg_m_Evaluation::Deterministic_Ys(d, 3); });
}

TEST_F(EvaluationTest, WritesInCalculationOrderAndRecalculatesBeforeFlaggedParameters)
{
    addX(xTypes::Continuous, 1);
    addX(xTypes::Constant, 2);
    addX(xTypes::Noise, 3);
    f.CalcSequence(1, 3);
    f.CalcSequence(3, 1);
    f.RecalcFlags(1, true);
    addY([](FakeSheet& s) { return s.number("A1") + s.number("A2") + s.number("A3"); });
    f.Options->StoreYs = "No";
    record();
    d.genCount = 4;
    for (Long m : fromTo(2, 3))
        for (Long j : oneTo(3)) d.genX(m, j) = 10.0 * m + j;
    f.Options->dbg = "EvaluateGen";
    EvaluateGen(d, 2, 3);
    EXPECT_EQ(host->take(), (Lines{"ScreenUpdating=False", "StatusBar=Evaluating generation 4, member 2 ",
                                   "Sheet1!$A$3.Value=23", "Calculate", "Sheet1!$A$1.Value=21", "Calculate",
                                   "StatusBar=Evaluating generation 4, member 3 ", "Sheet1!$A$3.Value=33",
                                   "Calculate", "Sheet1!$A$1.Value=31", "Calculate", "ScreenUpdating=True"}));
    EXPECT_EQ(rowOf(d.genY, 1), (std::vector<double>{31 + 2 + 33, 0, 0})) << "the last member's";
    EXPECT_EQ(d.summary.evaluations, 2);
    user.boxes.resize(4);
    EXPECT_EQ(user.boxes, (Lines{"[] EvaluateGen", "[] writing X's for member 2",
                                 "[] Recalculating for member 2", "[] Calculating Y's; No Statistics"}));
}

TEST_F(EvaluationTest, NoiseThatDependsOnCellsIsRefreshed)
{
    auto& x = addX(xTypes::Noise, 3);
    x.needsRecalc = true;
    auto component = std::make_shared<c_Distribution>();
    component->DistType("Normal");
    component->param1(8.5);
    component->param2(0.5);
    x.dist->Add(component);
    addY([](FakeSheet& s) { return s.number("A1"); });
    record();
    EvaluateGen(d, 1, 1);
    EXPECT_EQ(host->take(),
              (Lines{"ScreenUpdating=False", "StatusBar=Evaluating generation 0, member 1 ", "Calculate",
                     "Sheet1!$A$1.Value=8.5", "Calculate", "ScreenUpdating=True"}));
    EXPECT_DOUBLE_EQ(d.genX(1, 1), 8.5) << "the mean of the distribution";
    component->param2(-1.0);
    std::string problem;
    component->ParamsOK(problem);
    expectRaises(519, "EvaluateGen\r\nin varnex3.alg_m_GeneticAlgorithm.EvaluateGen at line 32", problem,
                 [&] { EvaluateGen(d, 1, 1); });
    EXPECT_FALSE(host->screenUpdating) << "left to the caller";
}

} // namespace
} // namespace varnex3::test
