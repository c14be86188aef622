// Tolerance allocation: what is refused, what the search finds, and that the parts add up to the goal.
#include "sensitivity/c_al_Allocation.h"

#include <cmath>
#include <tuple>

#include "runtime/Number.h"
#include "stats/c_Statistics.h"
#include "support/Expect.h"

namespace varnex3::test {
namespace {

class AllocationTest : public LibraryTest {
protected:
    struct Input {
        double stdev;
        const char* keep;
        double derivative, driver;
    };
    void allocate(double desired, double disparity, std::initializer_list<Input> inputs)
    {
        ins.DesiredRespStDev = desired;
        ins.Disparity = disparity;
        Long i = 0;
        for (const Input& input : inputs) {
            ++i;
            ins.xStDevs(i, input.stdev);
            ins.xKeeps(i, input.keep);
            ins.Derivs1(i, input.derivative);
            ins.Drivers(i, input.driver);
        }
        ins.resizeArrays(i);
        allocation.Allocate(ins, outs);
    }
    const c_al_Allocation allocation{};
    c_al_Input ins;
    c_al_Output outs;
};

TEST_F(AllocationTest, RefusesWhatHasNoAnswer)
{
    const char* const kRange = "[Corvane] Please enter a real number between 0 and 1 for the desired PNC.";
    const char* const kInSpec =
        "[Corvane] Can't estimate; PNC can't be 0.5 or greater when the mean is in spec.";
    const char* const kOutOfSpec =
        "[Corvane] Can't estimate; PNC can't less than 0.5 when the mean is out of spec.";
    using Case = std::tuple<double, double, const char*, const char*, const char*>;
    for (const auto& [mean, pnc, lsl, usl, message] :
         {Case{10, -0.1, "7", "", kRange},
          {10, 1.0, "7", "", kRange},
          {10, 9e-12, "", "",
           "[Corvane] Can't calculate to this precision.  Please enter a larger value for the desired PNC."},
          {10, 0.1, "", "", "[Corvane] Can't estimate if both LSL and USL are empty."},
          {10, 0.1, "7", "7", "[Corvane] Can't estimate if the LSL is greater than the USL."},
          {10, 0.5, "7", "", kInSpec},
          {13, 0.4, "13", "", kOutOfSpec}}) {
        user.boxes.clear();
        EXPECT_EQ(allocation.EstimRespStDev(mean, pnc, lsl, usl), 0.0);
        EXPECT_EQ(user.boxes, Lines{message});
    }
    EXPECT_EQ(allocation.EstimRespStDev(10, 0.1, "seven", "", "x"), 0.0);
    EXPECT_EQ(user.boxes.back(), "[] EstimRespStDev");
    EXPECT_TRUE(errorWindow().Label1.starts_with(
        "Error 13:  Type mismatch\r\nvarnex3\r\nin varnex3.c_al_Allocation.EstimRespStDev at line 5"));
}

TEST_F(AllocationTest, TheStDevFoundGivesTheDesiredProbability)
{
    using Case = std::tuple<double, double, const char*, const char*, double>; // about: 0 when not known
    const c_Statistics statistics;
    for (const auto& [mean, pnc, lsl, usl, about] : {Case{10, 0.00134989803163, "", "13", 1.0},
                                                     {10, 0.0026997960633, "7", "13", 1.0},
                                                     {10, 0.00134989803163, "7", "", 1.0},
                                                     {10, 2e-11, "", "13", 0},
                                                     {10, 0.7, "7", "13", 0},
                                                     {12.9, 0.3, "7", "13", 0},
                                                     {14, 0.6, "", "13", 0},
                                                     {14, 0.9772498680518208, "", "13", 0.5}}) {
        SCOPED_TRACE(testing::Message() << mean << " " << pnc << " " << lsl << " " << usl);
        const double s = allocation.EstimRespStDev(mean, pnc, lsl, usl);
        double p = *lsl ? statistics.normCDF((*parseNumber(lsl) - mean) / s) : 0.0;
        p += *usl ? statistics.normCDF((*parseNumber(usl) - mean) / s, true) : 0.0;
        EXPECT_GT(s, 0.0);
        EXPECT_NEAR(p, pnc, 1e-11);
        EXPECT_TRUE(about == 0.0 || std::fabs(s - about) < 1e-8) << s;
    }
}

// No standard deviation answers these, or the steps do not reach it; the caller is left to check.
TEST_F(AllocationTest, ASearchThatFailsReturnsWhereItEnded)
{
    EXPECT_NEAR(allocation.EstimRespStDev(10, 0.4999, "", "13"), 1506, 1);
    EXPECT_LT(allocation.EstimRespStDev(14, 0.51, "", "13"), 0.0);
    EXPECT_NEAR(allocation.EstimRespStDev(14, 0.3, "7", "13"), 753, 1);
    EXPECT_TRUE(user.boxes.empty());
}

TEST_F(AllocationTest, PartsPropagateToTheGoal)
{
    for (bool costs : {false, true})
        for (double disparity : {-1.0, 0.0, 0.25, 0.7, 1.0, 5.0}) {
            SCOPED_TRACE(testing::Message() << "d = " << disparity << ", costs " << costs);
            ins.useCostDrivers = costs;
            allocate(0.5, disparity,
                     {{0.1, "Keep", 2.0, 1.0},
                      {9.0, "Dont Keep", 3.0, 2.0},
                      {9.0, "Dont Keep", -0.5, -7.0},
                      {9.0, "Dont Keep", 1.0, 0.0}});
            EXPECT_EQ(outs.xStDevs(1), 0.1);
            EXPECT_EQ(outs.xStDevs(4), 0.0) << "no driver, no part";
            double v = 0.0;
            for (Long i : oneTo(4)) v += std::pow(ins.Derivs1(i) * outs.xStDevs(i), 2);
            EXPECT_NEAR(std::sqrt(v), 0.5, 1e-12);
            const double d = std::min(1.0, std::max(disparity, 0.000001)); // parts are as c^-2d
            EXPECT_NEAR(outs.xStDevs(3) / outs.xStDevs(2), std::pow(costs ? 3.5 : 1 / 3.5, 2 * d), 1e-12);
        }
}

TEST_F(AllocationTest, NothingIsLeftWhenTheKeptInputsUseItUp)
{
    outs.resizeArrays(7);
    allocate(0.5, 0.5, {{0.5, "Keep", 1.0, 1.0}, {0.3, "Dont Keep", 1.0, 1.0}, {0.4, "keep", 1.0, 1.0}});
    EXPECT_EQ(outs.CountX(), 3);
    EXPECT_EQ(outs.xStDevs(1), 0.5);
    EXPECT_EQ(outs.xStDevs(2), 0.0);
    EXPECT_EQ(outs.xStDevs(3), 0.4) << "marked neither way: keeps its own, and is not counted";
    allocate(0.5, 0.5, {{0.3, "Keep", 1.0, 1.0}, {0, "Dont Keep", 1.0, 1.0}, {0.4, "", 1.0, 1.0}});
    EXPECT_NEAR(outs.xStDevs(2), 0.4, 1e-15);
    EXPECT_EQ(outs.xStDevs(3), 0.4);
    allocate(0.5, 0.5, {{0, "Dont Keep", 0.0, 1.0}}); // no derivative to share by
    EXPECT_EQ(outs.xStDevs(1), 0.0);
    allocate(-0.5, 0.5, {{0.3, "Dont Keep", 1.0, 1.0}});
    EXPECT_EQ(user.boxes, Lines{"[Corvane] Desired response standard deviation can't be a negative number."});
}

TEST_F(AllocationTest, TracesEveryFigure)
{
    ins.dbg = "Allocate";
    allocate(0.5, 2.0, {{0.3, "Keep", 1.0, 1.0}, {0, "Dont Keep", 2.0, 1.0}});
    EXPECT_EQ(user.boxes,
              (Lines{"[Corvane] Allocate", "[Corvane] var assigned = 0.09", "[Corvane] var allocated = 0.16",
                     "[Corvane] d = 1", "[Corvane] kappaSum = 4", "[Corvane] kappa = 0.2"}));
}

} // namespace
} // namespace varnex3::test
