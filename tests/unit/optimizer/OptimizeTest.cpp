// Whole runs on the fake host: the record, the two stopping rules, enumeration, cancel, failures, reports.
#include <algorithm>
#include <cmath>

#include "unit/optimizer/Search.h"

namespace varnex3::test {
namespace {

class OptimizeTest : public SearchTest {
protected:
    /// Minimise (x1 - 3)^2 + (x2 + 1)^2 with x1 continuous, x2 whole, keeping x1 above 0.5.
    void addParabola()
    {
        addX(xTypes::Continuous, 9.0, {0.0, 10.0});
        addX(xTypes::Integer, 5.0, {-10.0, 10.0});
        addY([](FakeSheet& s) {
            const double a = s.number("A1") - 3.0, b = s.number("A2") + 1.0;
            return a * a + b * b;
        });
        addY([](FakeSheet& s) { return s.number("A1"); });
        addC(2, "Mean", ">=", 0.5);
        addG(1, "Mean", "<=", 0.0);
    }
};

double first(const Variant& array)
{
    if (const auto* values = std::get_if<DoubleArray1>(&array.held())) return (**values)(1);
    return toDouble((*std::get<VariantArray1>(array.held()))(1));
}
const Array2<double>& matrix(const Variant& v) { return *std::get<DoubleArray2>(v.held()); }

TEST_F(OptimizeTest, RaisesTheGenerationSizeAndSettlesRanges)
{
    auto& x = addX(xTypes::Discrete, 5, {7, 3, 5, 3});
    x.SearchMax = 100;
    auto& many = addX(xTypes::Continuous, 5, {10, 0});
    addY([](FakeSheet&) { return 1.0; });
    addC(1, "Mean", "<=", 0.0);
    f.Options->GenSize = 10;
    f.Options->dbg = "InitVars";
    f.Options->MaxGens = 1;
    ASSERT_TRUE(optimize());
    EXPECT_EQ(f.Options->GenSize, 20);
    EXPECT_EQ(x.numFVs(), 3);
    EXPECT_EQ(x.SearchMin, 3.0);
    EXPECT_EQ(x.SearchMax, 7.0);
    EXPECT_EQ(many.SearchMin, 0.0);
    user.boxes.resize(14);
    EXPECT_EQ(user.boxes, (Lines{"[] InitVars", "[] d.f created", "[] d.f copied", "[] setting alg paramters",
                                 "[] sizing genX array", "[] sizing genY array", "[] sizing genP array",
                                 "[] sizing kids array", "[] creating alg matrices", "[] saving start values",
                                 "[] saving start values", "[] saving constraint sources",
                                 "[] InitVars complete", "[] RunCorvane"}));
}

TEST_F(OptimizeTest, FixedNumberStopsAtThatGenerationAndRepeatsToTheLastBit)
{
    addParabola();
    f.Options->MaxGens = 5;
    ASSERT_TRUE(optimize());
    EXPECT_EQ(optimization.LastRun().genCount, 5);
    EXPECT_EQ(optimization.LastRun().evaluations, 1 + 20 + 4 * 16);
    EXPECT_EQ(optimization.SeedUsed(), 1);
    EXPECT_EQ(user.boxes, (Lines{"[Corvane] Optimization run is complete."}));
    EXPECT_EQ(*host->statusBar.asBoolean(), false);
    EXPECT_TRUE(host->screenUpdating);
    EXPECT_FALSE(statusWindow().visible);
    EXPECT_EQ(statusWindow().chart.size(), 6U);
    ASSERT_EQ(reports.size(), 6U);
    EXPECT_EQ(first(reports[0][0]), 9.0) << "generation 0 reports the start values";

    const Array2<double> genX = matrix(finalReport[0]), genY = matrix(finalReport[1]),
                         genP = matrix(finalReport[2]);
    EXPECT_EQ(finalReport[3], Variant(5));
    for (Long m : oneTo(20)) {
        const double a = genX(m, 1) - 3.0, b = genX(m, 2) + 1.0;
        EXPECT_EQ(genY(m, 1), a * a + b * b) << "statistics travel with member " << m;
        EXPECT_EQ(genP(m, 2), genY(m, 1)) << "the goal's deviation from 0";
        const Long above = std::max(m - 1, 1);
        EXPECT_LE(genP(above, 2) + 1e6 * genP(above, 1), genP(m, 2) + 1e6 * genP(m, 1));
    }
    EXPECT_LT(genP(1, 2), 72.0) << "better than the start";

    sheet.set("A1", 9.0);
    sheet.set("A2", 5.0);
    const Lines calls = host->take();
    ASSERT_TRUE(optimize());
    EXPECT_EQ(matrix(finalReport[0]), genX);
    EXPECT_EQ(matrix(finalReport[2]), genP);
    EXPECT_EQ(host->take(), calls);
}

TEST_F(OptimizeTest, NoChangeStopsWhenTheBestHasStood)
{
    addParabola();
    f.Options->StopRule = stopRules::NoChange;
    f.Options->MaxGens = 4;
    ASSERT_TRUE(optimize());
    const RunSummary& run = optimization.LastRun();
    EXPECT_EQ(run.genCount, run.genOfBest + 4);
    const auto best = [&](Long generation) {
        return first(reports[static_cast<std::size_t>(generation)][0]);
    };
    EXPECT_NE(best(run.genOfBest), best(run.genOfBest + 1)) << "the last change of the best";
    for (Long g : fromTo(run.genOfBest + 2, run.genCount)) EXPECT_EQ(best(g), best(run.genOfBest + 1));
}

TEST_F(OptimizeTest, StopsAtOnceWhenEverythingIsMet)
{
    addX(xTypes::Continuous, 4.0, {0.0, 10.0});
    addY([](FakeSheet&) { return 1.0; });
    addG(1, "Mean", ">=", 1.0);
    f.Options->MaxGens = 50;
    f.Options->dbg = "OptimizationComplete";
    ASSERT_TRUE(optimize());
    EXPECT_EQ(optimization.LastRun().genCount, 1);
    const Lines tail(user.boxes.end() - 4, user.boxes.end());
    EXPECT_EQ(tail, (Lines{"[] OptimizationComplete for Generation 1", "[] Best solution found",
                           "[] PrintFinalGen", "[Corvane] Optimization run is complete."}));
}

TEST_F(OptimizeTest, EnumeratesASmallSearchSpaceOnce)
{
    addX(xTypes::Integer, 7.0, {1.0, 3.0}); // infeasible start
    addX(xTypes::Integer, 4.0, {1.0, 4.0});
    addY([](FakeSheet& s) { return s.number("A1") * s.number("A2"); });
    addG(1, "Mean", ">=", 100.0);
    f.Options->StopRule = stopRules::NoChange;
    ASSERT_TRUE(optimize());
    EXPECT_EQ(
        user.boxes,
        (Lines{"[Corvane] There are not enough X values to explore.  A simple enumerative search will be "
               "performed.",
               "[Corvane] Infeasible starting value for variable 1 will be replaced.",
               "[Corvane] Optimization run is complete."}));
    EXPECT_EQ(f.Options->GenSize, 12);
    EXPECT_EQ(f.Options->MaxGens, 1);
    const Array2<double>& genX = matrix(finalReport[0]);
    ASSERT_EQ(genX.rows(), 12);
    std::vector<int> seen(12, 0);
    for (Long m : oneTo(12)) ++seen[static_cast<std::size_t>((genX(m, 1) - 1) * 4 + genX(m, 2) - 1)];
    EXPECT_EQ(seen, std::vector<int>(12, 1)) << "every grid point once";
    EXPECT_EQ(rowOf(genX, 1), (std::vector<double>{3, 4})) << "the best one first";
}

TEST_F(OptimizeTest, CancelKeepsTheBestOrRestoresTheStart)
{
    addParabola();
    addX(xTypes::Constant, 2.0);
    f.Options->MaxGens = 50;
    for (bool keep : {true, false}) {
        SCOPED_TRACE(keep);
        sheet.set("A1", 12.0); // infeasible: replaced at the start, restored at the end
        sheet.set("A2", 5.0);
        reports.clear();
        user.boxes.clear();
        user.events = 0;
        user.answers = {keep ? ui::Answer::Yes : ui::Answer::No};
        user.onEvents = [](Long n) {
            if (n == 60) statusWindow().CancelButton_Click(); // while generation 3 is evaluated
        };
        ASSERT_TRUE(optimize()) << "a cancel is no failure";
        EXPECT_EQ(user.boxes.back(), "[Corvane] Keep best solution found so far?");
        EXPECT_TRUE(optimization.LastRun().cancelled);
        EXPECT_EQ(optimization.LastRun().keptBest, keep);
        EXPECT_EQ(sheet.number("A1"), keep ? first(reports.back()[0]) : 12.0);
        EXPECT_TRUE(keep || sheet.number("A2") == 5.0);
        EXPECT_TRUE(host->screenUpdating);
        EXPECT_EQ(*host->statusBar.asBoolean(), false);
        EXPECT_TRUE(finalReport.empty());
        EXPECT_FALSE(statusWindow().visible);
    }
    EXPECT_EQ(user.beeps, 2);
    Lines end = host->take();
    end.erase(end.begin(), end.end() - 4);
    EXPECT_EQ(
        end, (Lines{"ScreenUpdating=True", "StatusBar=False", "Sheet1!$A$1.Value=12", "Sheet1!$A$2.Value=5"}))
        << "a constant is never written";
}

TEST_F(OptimizeTest, FailuresAreShownOnceWithTheirTrail)
{
    addX(xTypes::Continuous, 4.0, {0.0, 10.0});
    addY([](FakeSheet& s) { return s.number("A1") > 9.0 ? Variant{"high"} : Variant{1.0}; });
    addC(1, "Mean", ">=", 2.0);
    EXPECT_FALSE(optimize()); // the upper corner, member 3
    EXPECT_EQ(errorWindow().Label1, "Error 515:  Non-numeric cell value\r\n"
                                    "Deterministic_Ys\r\n"
                                    "in varnex3.alg_m_Evaluation.Deterministic_Ys at line 3\r\n"
                                    "in varnex3.alg_m_GeneticAlgorithm.EvaluateGen at line 34\r\n"
                                    "in varnex3.alg_m_GeneticAlgorithm.RunCorvane at line 6\r\n"
                                    "in varnex3.c_Optimization.Optimize at line 5\r\n"
                                    "Excel version: 16.0\r\nWindows version: Test OS 1");
    EXPECT_TRUE(host->screenUpdating);
    EXPECT_EQ(*host->statusBar.asBoolean(), false);
    EXPECT_EQ(sheet.number("A1"), 10.0) << "cells keep what was written last";

    // A host that fails while the screen is given back does not hide the failure.
    host->fail("StatusBar=False");
    EXPECT_FALSE(optimize());
    EXPECT_EQ(errorWindow().Label1.rfind("Error 515:", 0), 0U);
}

TEST_F(OptimizeTest, RefusesWhatItCannotScore)
{
    addX(xTypes::Continuous, 4.0, {0.0, 10.0});
    addY([](FakeSheet&) { return 1.0; });
    auto& twin = host->addBook("Book2").sheet();
    twin.formula("B1", "=twin", [](FakeSheet&) { return Variant{7.0}; });
    f.AddY("y2"); // same sheet name and address, in another workbook
    f.ItemY(2)->Formula = twin.range("B1");
    addC(1, "Mean", "<=", 5.0).y = twin.range("B1");
    f.Options->MaxGens = 1;
    ASSERT_TRUE(optimize());
    EXPECT_EQ(first(reports[0][2]), 7.0) << "source 2, not 1";

    auto& goal = addG(1, "Mean", "<=", 0.0);
    goal.Name = "low cost";
    goal.y = sheet.range("B9");
    reports.clear();
    EXPECT_FALSE(optimize());
    EXPECT_EQ(
        errorWindow().Label1.substr(0, errorWindow().Label1.find('\r')),
        "Error 5:  Goal \"g1\" (low cost): its cell Sheet1!$B$9 is not the formula cell of any response");
    EXPECT_TRUE(reports.empty()) << "before the search starts";
    EXPECT_NE(errorWindow().Label1.find("in varnex3.c_Optimization.InitVars at line 9"), std::string::npos);

    optimization.XLApplication(nullptr);
    EXPECT_FALSE(optimize());
    EXPECT_EQ(errorWindow().Label1.rfind("Error 91:", 0), 0U);
}

TEST_F(OptimizeTest, ReportsCarryTheBestMember)
{
    addX(xTypes::Continuous, 4.0, {0.0, 10.0});
    auto& y = addY([](FakeSheet& s) { return s.number("A1"); });
    y.usl = 3.0;
    f.Options->StoreYs = "No";
    f.Options->MaxGens = 1;
    addC(1, "Mean", "<=", 2.0);
    addC(1, "pnc", "=", 0.0);
    ASSERT_TRUE(optimize());
    const auto& start = reports[0];
    ASSERT_EQ(start.size(), 7U);
    EXPECT_EQ(first(start[0]), 4.0);
    EXPECT_EQ((*std::get<VariantArray1>(start[1].held())), (Array1<Variant>{4.0, 0.0, 1.0}));
    EXPECT_EQ((*std::get<VariantArray1>(start[2].held())), (Array1<Variant>{4.0, 1.0}));
    EXPECT_EQ((*std::get<VariantArray1>(start[3].held())), (Array1<Variant>{1.0, 1.0}));
    EXPECT_EQ(start[4], Variant(0)) << "no goals";
    EXPECT_EQ((*std::get<DoubleArray1>(start[5].held())), (Array1<double>{2.0, 0.0, 0.0, 0.0}));
    EXPECT_EQ(start[6], Variant(0));
    EXPECT_EQ(statusWindow().lblInitVals[0], "2");
    EXPECT_EQ(matrix(finalReport[1]).rows(), 1);

    host->macros.erase("Book1.xlsx!Final");
    EXPECT_FALSE(optimize());
    EXPECT_EQ(errorWindow().Label1.rfind("Error 1004:  Cannot run the macro 'Book1.xlsx!Final'", 0), 0U);
}

TEST_F(OptimizeTest, PrintsTheFormulationIntoANewWorkbook)
{
    for (double value : {1.0, 2.0}) addX(xTypes::Discrete, value, {2.0, 1.0}).stdev = sheet.range("D1");
    for ([[maybe_unused]] int j : {1, 2, 3}) addY([](FakeSheet&) { return 1.0; });
    f.ItemY(3)->usl = sheet.range("D2");
    sheet.set("D2", 8.5);
    addC(2, "Mean", "<=", 0.5).Name = "limit";
    addG(3, "Mean", "<=", 0.5, 2, 3.0);
    f.Options->dbg = "PrintFormulation";
    optimize();
    Lines calls = host->take();
    std::erase_if(calls, [](const std::string& call) { return call.find("Cells(") == std::string::npos; });
    for (const char* want :
         {"(1, 10)=FeasVals", "(2, 5)=Sheet1!$A$1", "(3, 6)=Sheet1!$D$1", "(3, 9)=2", "(3, 10)=1",
          "(3, 11)=2", "(5, 4)=LSL", "(8, 5)=Sheet1!$B$3", "(8, 6)=8.5", "(10, 7)=Reqt", "(11, 3)=limit",
          "(11, 4)=Sheet1!$B$2", "(13, 8)=Priority", "(14, 8)=2", "(14, 9)=3"})
        EXPECT_EQ(std::count(calls.begin(), calls.end(), std::string("[Book2]Sheet1.Cells") + want), 1)
            << want;

    f.ItemX(1)->stdev = 1.0;
    EXPECT_FALSE(optimize());
    EXPECT_EQ(errorWindow().Label1.rfind("Error 424:  Object required", 0), 0U);
}

} // namespace
} // namespace varnex3::test
