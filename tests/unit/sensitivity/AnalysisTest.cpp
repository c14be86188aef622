// Sensitivity analysis: the indexed arrays, derivatives for a set of inputs, propagation, and warnings.
#include "sensitivity/c_sa_Analysis.h"

#include <cmath>

#include "stats/c_Statistics.h"
#include "support/Expect.h"

namespace varnex3::test
{
namespace
{

class AnalysisTest : public LibraryTest
{
protected:
    /// A response of that value; inputs of those standard deviations and derivatives.
    struct Input {
        double stdev, derivative1, derivative2;
    };
    void analyse(double response, std::initializer_list<Input> inputs)
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

    const c_sa_Analysis analysis;
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
    EXPECT_EQ(ins.xMeans(2), nullptr);
    EXPECT_TRUE(ins.resizeArrays(0).isEmpty());
    EXPECT_EQ(ins.CountX(), 3);
    ins.resizeArrays(1);
    ins.resizeArrays(3);
    EXPECT_EQ(ins.xStDevs(3), 0.0) << "shrinking forgets";
    EXPECT_EQ(ins.xNames(1), "length");
    ins.y = sheet.range("B1");
    ins.Clear();
    EXPECT_EQ(ins.CountX(), 0);
    EXPECT_EQ(ins.y, nullptr);
    EXPECT_EQ(ins.xNames(1), "");
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
    EXPECT_NEAR(derivs1(1), 12.0, 1e-12);
    EXPECT_NEAR(derivs1(2), 4.0, 1e-12);
    EXPECT_NEAR(derivs2(1), 6.0, 1e-11);
    EXPECT_NEAR(derivs2(2), 0.0, 1e-11);
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
    ins.usl = sheet.range("C1"); // an empty cell is no limit, a number is
    analyse(6.0, {{0.5, 1.0, 0.0}});
    EXPECT_EQ(outs.PNC_usl, 0.0);
    sheet.set("C1", 6.5);
    analyse(6.0, {{0.5, 1.0, 0.0}});
    EXPECT_EQ(outs.PNC_usl, c_Statistics{}.normCDF(1.0, true));
    EXPECT_EQ(outs.PNC_total, outs.PNC_lsl + outs.PNC_usl);
}

TEST_F(AnalysisTest, AResponseThatDoesNotVaryIsInOrOut)
{
    struct Case {
        Variant lsl, usl;
        double below, above;
    };
    for (const Case& c : {Case{4.0, 4.0, 0, 0}, {4.1, "", 1, 0}, {"", 3.9, 0, 1}, {"5", "3", 1, 1}}) {
        ins.lsl = c.lsl;
        ins.usl = c.usl;
        analyse(4.0, {});
        EXPECT_EQ(outs.responseMean, 4.0);
        EXPECT_EQ(outs.responseStDev, 0.0);
        EXPECT_EQ(outs.PNC_lsl, c.below);
        EXPECT_EQ(outs.PNC_usl, c.above);
    }
    analyse(4.0, {{0.0, 3.0, 0.0}, {2.0, 0.0, 0.0}});
    EXPECT_EQ(outs.VarianceContribs(1), 0.0) << "not divided by 0";
}

TEST_F(AnalysisTest, WarnsOfNonlinearResponses)
{
    const char* const kOverall = "Mean shift is greater than 10% of the response equation value.";
    struct Case {
        const char* what;
        double y;
        std::initializer_list<Input> inputs;
        double meanShift;
        std::string trigger;
    };
    for (const Case& c : {Case{"square at 1", 1.0, {{0.5, 2.0, 2.0}}, 0.25, kOverall},
                          {"no more than a tenth",
                           2.5,
                           {{0.5, 2.0, 2.0}},
                           0.25, // 0.25 x 0.25 / 2.75 is below 5 %
                           ""},
                          {"beside 0", 0.0, {{0.5, 2.0, 2.0}}, 0.25, kOverall},
                          {"one input's part",
                           100.0,
                           {{0.1, 1.0, 1.0}, {2.0, 1.0, 4.0}},
                           8.005,
                           "Mean shift from X2 is greater than 5% of the response equation value."},
                          {"negative shifts pass the test per input", 100.0, {{2.0, 1.0, -4.0}}, -8.0, ""}}) {
        SCOPED_TRACE(c.what);
        analyse(c.y, c.inputs);
        EXPECT_NEAR(outs.meanShift, c.meanShift, 1e-13);
        EXPECT_EQ(outs.eqnVal, c.y);
        EXPECT_EQ(outs.NonlinearTrigger, c.trigger);
        EXPECT_EQ(outs.NonlinearResponse, !c.trigger.empty());
    }
    EXPECT_EQ(outs.MeanShiftContribs(1), -8.0);
}

TEST_F(AnalysisTest, TracesAndReports)
{
    ins.lsl = 5.0;
    ins.usl = 6.5;
    ins.dbg = "CalcPNCs";
    analyse(6.0, {{0.5, 1.0, 0.0}});
    EXPECT_EQ(user.boxes, (Lines{"[] SensitivityAnalysis", "[] CalcResponse", "[] CalcContribs",
                                 "[] CalcPNCs", "[] z_LSL = -2", "[] z_USL = 1", "[] CheckNonlinearity"}));
    ins.dbg.clear();
    host->fail("Sheet1!$B$1.Value?", 1, 1004, "Gone");
    analyse(6.0, {});
    EXPECT_EQ(errorWindow().Label1.substr(0, errorWindow().Label1.find("\r\nExcel")),
              "Error 513:  Error in cell value\r\nCalcResponse\r\nin varnex3.c_sa_Analysis.CalcResponse at "
              "line 1\r\nin varnex3.c_sa_Analysis.SensitivityAnalysis at line 1");
}

} // namespace
} // namespace varnex3::test
