// Feasibility, distinctness, the count of alternatives, and the making of the first generation.
#include <algorithm>
#include <cmath>

#include "unit/optimizer/Search.h"

namespace varnex3::test {
namespace {

using namespace alg_m_GeneticAlgorithm;
using Values = std::vector<double>;

class CreationTest : public SearchTest {};

TEST_F(CreationTest, FeasibilityByKind)
{
    struct Case {
        const char* xType;
        double v;
        bool want;
    };
    for (const Case& c : {Case{xTypes::Continuous, 0.0, true},
                          {xTypes::Continuous, 10.0, true},
                          {xTypes::Continuous, 10.000001, false},
                          {xTypes::Integer, 2.5, false},
                          {xTypes::Integer, 10.0, true},
                          {xTypes::Integer, -1.0, false},
                          {xTypes::Discrete, 2.7, true},
                          {xTypes::Discrete, std::nextafter(2.7, 3.0), false},
                          {xTypes::Noise, 99.0, true},
                          {xTypes::Constant, -99.0, true}}) {
        c_Parameter x;
        x.xType = c.xType;
        x.SearchMax = 10.0;
        x.AddFV(2.7);
        EXPECT_EQ(inBounds(x, c.v), c.want) << c.xType << " " << c.v;
    }
}

TEST_F(CreationTest, RandomValuesByKindUpToTheLastDraw)
{
    struct Case {
        const char* xType;
        double u;
        double want;
    };
    const double half = 0.5, one = 1.0;
    for (const Case& c : {Case{xTypes::Continuous, half, 4.0},
                          {xTypes::Continuous, one, 6.0},
                          {xTypes::Integer, half, 4.0},
                          {xTypes::Integer, 0.0, 2.0},
                          {xTypes::Integer, one, 6.0},
                          {xTypes::Discrete, half, 5.0},
                          {xTypes::Discrete, one, 6.0}}) {
        c_Parameter x;
        x.xType = c.xType;
        x.SearchMin = 2.0;
        x.SearchMax = 6.0;
        for (double v : {2.0, 5.0, 6.0}) x.AddFV(v);
        ScriptedDraws draws{c.u};
        EXPECT_EQ(CreateFeasible(x), c.want) << c.xType << " " << c.u;
    }
    ScriptedDraws none{};
    EXPECT_EQ(CreateFeasible(addX(xTypes::Noise, 7.5)), 7.5);
}

TEST_F(CreationTest, RowsDifferByTheResolutionOfActiveVariables)
{
    for (const char* xType : {xTypes::Continuous, xTypes::Discrete, xTypes::Noise}) addX(xType, 0);
    record();
    d.resX = {0.5, 0.0, 0.0};
    const Variables variables = searchVariables(d);
    const auto set = [](Array2<double>& rows, Long m, const Values& v) {
        std::copy(v.begin(), v.end(), rows.row(m).begin());
    };
    struct Case {
        Values row;
        bool unique;
    };
    for (const Case& c : {Case{{1.49, 3.0, 9.0}, false}, // below the resolution; noise does not count
                          {{1.5, 3.0, 0.0}, true},
                          {{1.0, std::nextafter(3.0, 4.0), 0.0}, true},
                          {{0.51, 3.0, 0.0}, false}}) {
        for (auto* rows : {&d.genX, &d.kids}) {
            rows->fill(-5.0);
            set(*rows, 2, {1, 3, 0});
            set(*rows, 3, c.row);
        }
        EXPECT_EQ(IsUnique(d, variables, 3, RowSource::New), c.unique);
        d.genX.fillRow(3, 8.0);
        EXPECT_EQ(IsUnique(d, variables, 3, RowSource::Kid), c.unique);
        d.kids.fillRow(2, 8.0);
        EXPECT_EQ(IsUnique(d, variables, 3, RowSource::Kid), c.unique) << "against the survivor";
        d.genX.swapRows(2, 5);
        EXPECT_TRUE(IsUnique(d, variables, 3, RowSource::Kid)) << "row 5 does not survive";
    }
}

TEST_F(CreationTest, CountsTheAlternatives)
{
    auto& whole = addX(xTypes::Integer, 1);
    whole.SearchMin = 1;
    whole.SearchMax = 3;
    addX(xTypes::Discrete, 1, {1, 2, 4, 8});
    addX(xTypes::Noise, 1);
    record();
    f.Options->dbg = "numAlternatives";
    EXPECT_EQ(numAlternatives(d), 12.0);
    EXPECT_EQ(user.boxes, (Lines{"[] numAlternatives", "[] Number of alternatives = 12"}));
    f.Options->dbg.clear();
    addX(xTypes::Continuous, 1);
    EXPECT_EQ(numAlternatives(d), 12.0 * 2001.0);
    f.Options->Precision = 1e-300;
    addX(xTypes::Continuous, 1);
    EXPECT_EQ(numAlternatives(d), 1e308);
    f.Options->Precision = 0.0;
    expectRaises(11, "varnex3", "Division by zero", [&] { numAlternatives(d); }); // and no trail line
}

TEST_F(CreationTest, ReplacesInfeasibleStartValuesInTheWorkbook)
{
    auto& first = addX(xTypes::Continuous, 12.0);
    first.SearchMax = 10.0;
    addX(xTypes::Constant, -3.0);
    addX(xTypes::Discrete, 2.0, {1.0, 3.0});
    record();
    ScriptedDraws draws{0.25, 0.9};
    LoadInitialSolution(d);
    EXPECT_EQ(rowOf(d.genX, 1), (Values{2.5, -3.0, 3.0}));
    EXPECT_EQ(sheet.number("A3"), 3.0);
    EXPECT_EQ(user.boxes, (Lines{"[Corvane] Infeasible starting value for variable 1 will be replaced.",
                                 "[Corvane] Infeasible starting value for variable 3 will be replaced."}));
    sheet.set("A2", "text");
    expectRaises(13, "varnex3\r\nin varnex3.alg_m_GeneticAlgorithm.LoadInitialSolution at line 1",
                 "Type mismatch", [&] { LoadInitialSolution(d); });
}

TEST_F(CreationTest, CornersComeFirstAndDuplicatesAreDrawnAgain)
{
    auto& x = addX(xTypes::Integer, 0);
    x.SearchMax = 4.0;
    addX(xTypes::Noise, 7.0);
    f.Options->GenSize = 4;
    record();
    d.resX = {1.0, 0.0};
    d.genX(1, 1) = 0.0; // the lower corner is a duplicate of member 1
    setSeedSource([] { return 4711; });
    ScriptedDraws draws{0.1, 0.5, 0.5, 0.3}; // 0 again; 2; 2 again; 1
    CreateGen(d);
    const Values want[] = {{0, 0}, {4, 7}, {2, 7}, {1, 7}};
    for (Long m : oneTo(4)) EXPECT_EQ(rowOf(d.genX, m), want[m - 1]) << "member " << m;
    EXPECT_EQ(draws.seeds, std::vector<Long>{4711});
    EXPECT_EQ(host->take(), (Lines{"StatusBar=Creating Generation 1"}));
}

TEST_F(CreationTest, GivesUpWhenNoDistinctMemberIsLeft)
{
    auto& x = addX(xTypes::Integer, 0);
    x.SearchMax = 1.0;
    f.Options->GenSize = 3;
    record();
    d.resX = {1.0};
    expectRaises(
        5, "CreateGen\r\nin varnex3.alg_m_GeneticAlgorithm.CreateGen at line 9",
        "1000000 candidates in a row were alike to members that exist already; the search space holds "
        "too few distinct points for this GenSize",
        [&] { CreateGen(d); });
}

} // namespace
} // namespace varnex3::test
