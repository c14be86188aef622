// The distribution side of c_Parameter: default components, mixtures, dynamic cells, moments.
#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "formulation/c_Parameter.h"
#include "stats/c_Distribution.h"
#include "support/Expect.h"

namespace varnex3 {
namespace {

class ParameterDistribution : public test::LibraryTest {
protected:
    ParameterDistribution()
    {
        sheet.set("A1", 10);
        x.Name = "Length";
        x.xType = xTypes::Noise;
        x.mean = sheet.range("A1");
    }

    c_Distribution& add(const std::string& family, Variant param1, Variant param2, double weight = 1.0)
    {
        auto d = std::make_shared<c_Distribution>();
        d->DistType(family);
        d->param1(param1);
        d->param2(param2);
        d->ScaleFactor = weight;
        x.dist->Add(d);
        return *d;
    }
    double draw(double p)
    {
        std::string reason;
        const double v = x.RandVal(p, reason);
        EXPECT_EQ(reason, "");
        return v;
    }

    c_Parameter x;
};

TEST_F(ParameterDistribution, AParameterWithoutACellIsAnErrorOnly)
{
    x.mean = nullptr;
    std::string reason;
    for (const char* kind : {xTypes::Constant, xTypes::Continuous}) {
        x.xType = kind;
        test::expectRaises(errors::ObjectNotSet, [&] {
            if (x.xType == xTypes::Constant) x.RandVal(0.5, reason);
            x.InitDist();
        });
    }
}

TEST_F(ParameterDistribution, InitDistGivesSearchedKindsTheirDefault)
{
    x.xType = xTypes::Continuous;
    x.stdev = sheet.range("B1");
    sheet.set("B1", 2);
    add("Weibull", 1, 1);
    c_Distribution& last = add("Weibull", 1, 1);
    last.LTL(3.0);
    last.Dynamic = true;
    x.InitDist();
    ASSERT_EQ(x.dist->Count(), 1);
    EXPECT_EQ(x.dist->Item(1).get(), &last);
    EXPECT_EQ(last.DistType(), "Normal");
    EXPECT_FALSE(last.Dynamic);
    EXPECT_EQ(toDouble(last.LTL()), last.NegInfinity());
    EXPECT_DOUBLE_EQ(draw(0.5), 10.0);

    x.DistType = "Uniform";
    x.InitDist();
    EXPECT_DOUBLE_EQ(toDouble(last.param1()), 10.0 - 2.0 * std::sqrt(3.0));
    EXPECT_DOUBLE_EQ(toDouble(last.param2()), 10.0 + 2.0 * std::sqrt(3.0));
    EXPECT_NEAR(last.stdev(), 2.0, 1e-14);
}

TEST_F(ParameterDistribution, InitDistOfAnEmptyNoiseCollectionFailsAndFillDistributionCuresIt)
{
    EXPECT_EQ(test::raisedBy([&] { x.InitDist(); }).source,
              "varnex3\r\nin varnex3.c_Parameter.InitDist at line 2");
    x.DistType = "Uniform";
    x.DistParam1 = 1;
    x.DistParam2 = sheet.range("B1");
    sheet.set("B1", 3);
    fillDistribution(x);
    EXPECT_TRUE(x.dist->Item(1)->Dynamic);
    x.InitDist();
    EXPECT_EQ(draw(0.5), 2.0);
    sheet.set("B1", 5); // read again before the next draw
    EXPECT_EQ(draw(0.5), 3.0);
    sheet.set("B1", "wide");
    std::string reason;
    EXPECT_EQ(x.RandVal(0.5, reason), 0.0);
    EXPECT_EQ(reason, "Upper end of the Uniform distribution is not a number");
}

TEST_F(ParameterDistribution, ProbabilityChoosesTheComponentAndIsRescaled)
{
    add("Uniform", 0, 1, 1.0);
    add("Uniform", 100, 103, 3.0);
    EXPECT_EQ(draw(0.25), 1.0); // component 1 at p = 1
    EXPECT_DOUBLE_EQ(draw(0.5), 101.0);
    EXPECT_EQ(draw(1.0), 103.0);
    EXPECT_EQ(draw(0.0), 0.0);
}

TEST_F(ParameterDistribution, ConstantIsItsCell)
{
    x.xType = xTypes::Constant;
    for (double p : {0.0, 0.7, 1.0}) EXPECT_EQ(draw(p), 10.0);
}

TEST_F(ParameterDistribution, ErrorsNameTheParameterAndItsCell)
{
    add("Normal", 1, -1);
    std::string reason;
    const ErrorRecord record = test::raisedBy([&] { x.RandVal(0.5, reason); });
    EXPECT_EQ(record.number, errors::InvalidCall);
    EXPECT_EQ(record.description, "Standard deviation of the Normal distribution is negative\r\n"
                                  "Parameter Length in Book1.xlsx.Sheet1.$A$1");
    EXPECT_EQ(record.source, "c_Distribution\r\nin varnex3.c_Parameter.RandVal at line 3");
}

TEST_F(ParameterDistribution, MomentsOfAMixtureAgreeWithItsDraws)
{
    add("Normal", 0, 1, 3.0);
    add("Uniform", 4, 8, 1.0);
    Long points = 2000;
    x.CalcMoments(points);
    // mean 0.25 * 6; E[x^2] = 0.75 * 1 + 0.25 * (36 + 16 / 12)
    const double mean = 1.5, stdev = std::sqrt(0.75 + 0.25 * (36.0 + 4.0 / 3.0) - 2.25);
    EXPECT_NEAR(x.GetMean(), mean, 2e-3);
    EXPECT_NEAR(x.GetStDev(), stdev, 2e-3);
    EXPECT_DOUBLE_EQ(closedFormMoments(x)->mean, mean);
    EXPECT_DOUBLE_EQ(closedFormMoments(x)->stdev, stdev);
    double sum = 0.0;
    for (int i = 0; i < 20000; ++i) sum += draw((i + 0.5) / 20000.0);
    EXPECT_NEAR(sum / 20000.0, mean, 1e-3);
    // the graph of the mixture is a density: 1/16 within the uniform part, far from the normal
    EXPECT_NEAR(x.dist->Item(1)->GraphOL(1900), 0.25 / 4.0, 1e-6);
}

TEST_F(ParameterDistribution, MomentsByGridForTruncatedAndJohnsonComponentsOnly)
{
    c_Distribution& d = add("Normal", 0, 1);
    x.CalcMoments();
    EXPECT_EQ(x.GetStDev(), 1.0);

    d.LTL(0.0); // half normal: mean sqrt(2 / pi), variance 1 - 2 / pi
    Long points = 10;
    x.CalcMoments(points);
    EXPECT_EQ(points, 50);
    EXPECT_NEAR(x.GetMean(), 0.797884560802865, 2e-3);
    EXPECT_NEAR(x.GetStDev(), 0.602810275, 2e-3);

    d.param2(-1); // bad parameters leave the moments as they were
    x.CalcMoments(points);
    EXPECT_NEAR(x.GetMean(), 0.797884560802865, 2e-3);

    d.LTL(Variant{});
    d.DistType("Johnson");
    d.param1(10);
    d.param2(2);
    d.param3(0.5);
    d.param4(4);
    x.CalcMoments(points);
    EXPECT_NEAR(x.GetMean(), 10.0, 0.01);
    EXPECT_NEAR(x.GetStDev(), 2.0, 0.02);
}

TEST_F(ParameterDistribution, PointsOfAMixtureCountWithTheirWeights)
{
    add("Normal", 0, 1, 1.0);
    auto points = std::make_shared<const Array1<double>>(Array1<double>{2.0, 6.0});
    add("Discrete", points, Variant{}, 1.0);
    Long n = 400;
    x.CalcMoments(n);
    EXPECT_NEAR(x.GetMean(), 2.0, 0.02);
    EXPECT_NEAR(x.GetStDev(), std::sqrt(0.5 + 0.5 * 20.0 - 4.0), 0.02);
}

} // namespace
} // namespace varnex3
