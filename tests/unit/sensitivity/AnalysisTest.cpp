// Sensitivity analysis: the indexed arrays, derivatives for a set of inputs, propagation, and warnings.
#include "sensitivity/c_sa_Analysis.h"

#include <cmath>
#include <tuple>
#include <vector>

#include "stats/c_Statistics.h"
#include "support/Expect.h"

namespace varnex3::test {
namespace {

class AnalysisTest : public LibraryTest {
protected:
    /// A response of that value; inputs of those standard deviations and derivatives.
    struct Input {
        double stdev, derivative1, derivative2;
    };
    void analyse(double response, const std::vector<Input>& inputs)
    {
        sheet.set("B1", response);
        ins.Clear();
        ins.y = sheet.range("B1");
        for (const Input& input : inputs) {
            const Long i = ins.CountX() + 1;
            ins.xStDevs(i, input.stdev);
            ins.Derivs1(i, input.derivative1);
            ins.derivs2(i, input.derivative2);
        }
        outs = {};
        analysis.SensitivityAnalysis(ins, outs);
    }

    const c_sa_Analysis analysis{};
    c_sa_Input ins;
    c_sa_Output outs;
};

TEST_F(AnalysisTest, IndexedArraysGrowOnPutAndAnswerNothingOutside)
{
    ins.xStDevs(3, 0.5);
    ins.xNames(1, "length");
    ins.xStDevs(0, 9.0);
    EXPECT_EQ(ins.CountX(), 3);
    EXPECT_EQ(ins.xStDevs(3), 0.5);
    EXPECT_EQ(ins.xStDevs(0), 0.0);
    EXPECT_EQ(ins.xNames(4), "");
    EXPECT_TRUE(ins.resizeArrays(0).isEmpty());
    ins.resizeArrays(1);
    ins.resizeArrays(3);
    EXPECT_EQ(ins.xStDevs(3), 0.0) << "shrinking forgets";
    EXPECT_EQ(ins.xNames(1), "length");
    ins.y = sheet.range("B1");
    ins.Clear();
    EXPECT_EQ(ins.CountX(), 0);
    EXPECT_EQ(ins.y, nullptr);
}

TEST_F(AnalysisTest, TolerancesBecomeStandardDeviations)
{
    EXPECT_EQ(analysis.EstimateStDev(0.3, 3, false, false), 0.3 / 3);
    EXPECT_EQ(analysis.EstimateStDev(5, 3, true, false, 10), 0.5 / 3);
    EXPECT_EQ(analysis.EstimateStDev(5, 3, true, false, -10), 0.5 / 3);
    EXPECT_EQ(analysis.EstimateStDev(5, 3, true, false), 0.0);
    EXPECT_EQ(analysis.EstimateStDev(1, 0, false, true), 1 / std::sqrt(3.0));
    EXPECT_EQ(analysis.EstimateStDev(1, 0, false, false), 0.0);
}

TEST_F(AnalysisTest, DerivativesOfEveryInput)
{
    sheet.set("A1", 2.0);
    sheet.set("A2", 0.0);
    sheet.formula("B1", "=A1^2*(A2+3)",
                  [](FakeSheet& s) { return s.number("A1") * s.number("A1") * (s.number("A2") + 3.0); });
    Array1<double> derivs1(5, 9.0), derivs2;
    analysis.CalcDerivatives({sheet.range("A1"), sheet.range("A2")}, sheet.range("B1"), derivs1, derivs2, "",
                             "", "CalcDerivatives");
    ASSERT_EQ(derivs1.size(), 2);
    EXPECT_NEAR(derivs1(2), 4.0, 1e-12);
    EXPECT_NEAR(derivs2(1), 6.0, 1e-11);
    EXPECT_EQ(user.boxes, (Lines{"[] CalcDerivatives", "[] h for x1 = 0.4", "[] h for x2 = 0.2"}));

    sheet.formula("B1", "=A1", [](FakeSheet& s) { return s.number("A1"); });
    sheet.set("A2", "none");
    analysis.CalcDerivatives({sheet.range("A1"), sheet.range("A2")}, sheet.range("B1"), derivs1, derivs2, "",
                             "");
    EXPECT_EQ(errorWindow().Label1.substr(0, errorWindow().Label1.find("\r\nExcel")),
              "Error 515:  Non-numeric cell value\r\nCalcDerivatives: factor 2\r\nCalcDerivatives\r\n"
              "in varnex3.c_sa_Analysis.CalcDerivatives at line 2");
}

TEST_F(AnalysisTest, PropagatesThroughAProduct)
{
    ins.lsl = 5.0;
    analyse(6.0, {{0.1, 3.0, 0.0}, {0.2, 2.0, 0.0}}); // y = x1 x2 at (2, 3)
    EXPECT_EQ(outs.responseMean, 6.0);
    EXPECT_NEAR(outs.responseStDev, 0.5, 1e-15);
    EXPECT_NEAR(outs.VarianceContribs(1), 0.36, 1e-15);
    EXPECT_NEAR(outs.VarianceContribs(2), 0.64, 1e-15);
    EXPECT_NEAR(outs.PNC_lsl, 0.0227501319481792, 1e-12); // 0.5 erfc(sqrt 2)
    EXPECT_EQ(outs.PNC_usl, 0.0);
    EXPECT_EQ(outs.PNC_total, outs.PNC_lsl);
    EXPECT_FALSE(outs.NonlinearResponse);
    ins.usl = sheet.range("C1");
    sheet.set("C1", 6.5);
    analyse(6.0, {{0.5, 1.0, 0.0}});
    EXPECT_EQ(outs.PNC_usl, c_Statistics{}.normCDF(1.0, true));
    EXPECT_EQ(outs.PNC_total, outs.PNC_lsl + outs.PNC_usl);
}

TEST_F(AnalysisTest, AResponseThatDoesNotVaryIsInOrOut)
{
    using Case = std::tuple<Variant, Variant, double, double>; // limits, below, above
    for (const auto& [lsl, usl, below, above] :
         {Case{4.0, 4.0, 0, 0}, {4.1, "", 1, 0}, {"", 3.9, 0, 1}, {"5", "3", 1, 1}}) {
        ins.lsl = lsl;
        ins.usl = usl;
        analyse(4.0, {});
        EXPECT_EQ(outs.responseStDev, 0.0);
        EXPECT_EQ(std::pair(outs.PNC_lsl, outs.PNC_usl), std::pair(below, above));
    }
    analyse(4.0, {{0.0, 3.0, 0.0}, {2.0, 0.0, 0.0}});
    EXPECT_EQ(outs.VarianceContribs(1), 0.0) << "not divided by 0";
}

TEST_F(AnalysisTest, SumsThatAreTooLargeAreAnError)
{
    for (const Input& input : {Input{1e200, 1.0, 0.0}, {1e155, 0.0, 1.0}}) {
        analyse(4.0, {input});
        EXPECT_TRUE(errorWindow().Label1.starts_with("Error 6:  Overflow")) << errorWindow().Label1;
        errorWindow().Label1.clear();
    }
}

TEST_F(AnalysisTest, WarnsOfNonlinearResponses)
{
    const char* const kOverall = "Mean shift is greater than 10% of the response equation value.";
    const char* const kPart = "Mean shift from X2 is greater than 5% of the response equation value.";
    using Case =
        std::tuple<double, std::vector<Input>, double, std::string>; // y, inputs, mean shift, warning
    for (const auto& [y, inputs, meanShift, trigger] :
         {Case{1.0, {{0.5, 2.0, 2.0}}, 0.25, kOverall},
          {2.5, {{0.5, 2.0, 2.0}}, 0.25, ""}, // exactly a tenth
          {0.0, {{0.5, 2.0, 2.0}}, 0.25, kOverall},
          {100.0, {{0.1, 1.0, 1.0}, {2.0, 1.0, 4.0}}, 8.005, kPart},
          {100.0, {{2.0, 1.0, -4.0}}, -8.0, ""}}) { // the test per input knows no negative shifts
        analyse(y, inputs);
        EXPECT_NEAR(outs.meanShift, meanShift, 1e-13);
        EXPECT_EQ(outs.eqnVal, y);
        EXPECT_EQ(outs.NonlinearTrigger, trigger);
        EXPECT_EQ(outs.NonlinearResponse, !trigger.empty());
    }
    EXPECT_EQ(outs.MeanShiftContribs(1), -8.0);
}

TEST_F(AnalysisTest, TracesItsProcedures)
{
    ins.lsl = 5.0;
    ins.usl = 6.5;
    ins.dbg = "CalcPNCs";
    analyse(6.0, {{0.5, 1.0, 0.0}});
    EXPECT_EQ(user.boxes, (Lines{"[] SensitivityAnalysis", "[] CalcResponse", "[] CalcContribs",
                                 "[] CalcPNCs", "[] z_LSL = -2", "[] z_USL = 1", "[] CheckNonlinearity"}));
}

} // namespace
} // namespace varnex3::test
