// Parents, mutations, the order of operators and draws, and the replacement of the worst.
#include "unit/optimizer/Search.h"

namespace varnex3::test {
namespace {

using namespace alg_m_GeneticAlgorithm;
using Values = std::vector<double>;

class BreedingTest : public SearchTest {};

TEST_F(BreedingTest, ParentsAreAcceptedByRankFitness)
{
    addX(xTypes::Noise, 0);
    record();
    {
        ScriptedDraws draws{1.0, 0.0, 0.999, 0.3}; // fitness 1 does not exceed 1; the next try does
        EXPECT_EQ(ChooseParent(0, 1, d), 1);
    }
    {
        // Member 10 of 20 has fitness 0.53105...: 0.54 rejects it. Then the excluded one, then member 20.
        ScriptedDraws draws{0.54, 0.46, 0.0, 0.0, 0.0, 1.0};
        EXPECT_EQ(ChooseParent(1, 20, d), 20);
    }
    struct Zeros : alg_m_MersenneTwister::DrawSource {
        double next() override { return 0.0; }
    } zeros;
    alg_m_MersenneTwister::setDrawSource(&zeros);
    expectRaises(5, [&] { ChooseParent(1, 20, d); });
    alg_m_MersenneTwister::setDrawSource(nullptr);
}

TEST_F(BreedingTest, MutatesByKind)
{
    struct Case {
        const char* what;
        const char* xType;
        double value;
        bool small;
        std::initializer_list<double> draws;
        double want;
    };
    const Case cases[] = {
        {"one step up", xTypes::Continuous, 5.0, true, {0.5, 0.0, 0.0}, 5.0 + 10.0 * 0.01 / 20},
        {"one step down", xTypes::Continuous, 5.0, true, {0.49, 0.0, 0.0}, 5.0 - 10.0 * 0.01 / 20},
        {"within the scale", xTypes::Continuous, 5.0, false, {0.75, 0.0, 0.0}, 6.25},
        {"stops at the upper end", xTypes::Continuous, 10.0, false, {0.75, 0.0, 0.51}, 10.0},
        {"overshoots, fresh value", xTypes::Continuous, 10.0, false, {0.75, 0.9, 0.5, 0.3}, 3.0},
        {"stops at the lower end", xTypes::Continuous, 0.0, false, {0.25, 0.51, 0.0}, 0.0},
        {"one up", xTypes::Integer, 5.0, true, {0.5}, 6.0},
        {"one down", xTypes::Integer, 5.0, true, {0.0}, 4.0},
        {"rounds towards minus infinity", xTypes::Integer, 5.0, false, {0.4}, 4.0},
        {"out of range, fresh value", xTypes::Integer, 10.0, true, {0.5, 0.0}, 0.0},
        {"neighbour below", xTypes::Discrete, 4.0, false, {0.49}, 1.0},
        {"neighbour above", xTypes::Discrete, 4.0, true, {0.5}, 9.0},
        {"beyond the list, fresh value", xTypes::Discrete, 9.0, true, {0.5, 0.0}, 1.0},
        {"held", xTypes::Constant, 77.0, false, {}, 77.0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        c_Parameter x;
        x.xType = c.xType;
        x.SearchMax = 10.0;
        for (double v : {1.0, 4.0, 9.0}) x.AddFV(v);
        ScriptedDraws draws{c.draws};
        EXPECT_DOUBLE_EQ(CreateByMutation(x, *f.Options, c.value, 0.25, c.small), c.want);
    }
    c_Parameter single; // one listed value: no draw for a neighbour
    single.xType = xTypes::Discrete;
    single.AddFV(6.0);
    ScriptedDraws draws{0.9};
    EXPECT_EQ(CreateByMutation(single, *f.Options, 6.0, 0.25, true), 6.0);
}

/// Two continuous variables in 0..10; members 1..20 at (m / 2, 10 - m / 2).
class GenerationTest : public BreedingTest {
protected:
    GenerationTest()
    {
        for ([[maybe_unused]] int i : {1, 2}) addX(xTypes::Continuous, 0, {0.0, 10.0}).SearchMax = 10.0;
        addY([](FakeSheet&) { return 0.0; });
        record();
        d.resX.fill(0.005);
        d.genCount = 3;
        for (Long m : oneTo(20)) {
            d.genX(m, 1) = m / 2.0;
            d.genX(m, 2) = 10.0 - m / 2.0;
            d.genY.fillRow(m, 1.0);
            d.genP.fillRow(m, m);
        }
        d.bestX = {0.5, 9.5};
        d.prevBestX = {0.25, 9.0};
        d.cumTrendX = {1.0, -1.0};
        d.numKids = 9; // the operators fill seven slots; two are left for crossover and mutation
        d.kids.resize(9, 2);
    }
};

TEST_F(GenerationTest, OperatorsDrawInTheirOrder)
{
    f.Options->dbg = "NewGen";
    const double accept = 0.0; // any fitness exceeds it
    {
        ScriptedDraws draws{
            accept, 0.0,    0.6,  0.5,    0.0,  0.0,           // one small: parent 1, variable 2, a step up
            accept, 0.0,    0.4,  0.0,    0.0,  0.5, 0.0, 0.0, // all small: parent 1, down, up
            0.5,    0.49,                                      // corner: upper, lower
            0.1,    0.2,    0.3,  0.4,                         // two random points
            0.51,   accept, 0.0,  accept, 0.5,  0.0, 0.5,      // crossover of 1 and 11, cut after 1, head 1
            0.5,    accept, 0.95, 0.0,    0.5,  0.0, 0.0, // mutation of 20 by nothing: alike to the corner
            0.5,    accept, 0.95, 0.0,    0.25, 0.0, 0.0, // again, by half the scale
        };
        NewGen(d);
    }
    const Values want[] = {{0.5, 9.5 + 10.0 * 0.01 / 20},
                           {0.5 - 10.0 * 0.01 / 20, 9.5 + 10.0 * 0.01 / 20},
                           {0.75, 10.0}, // the trend, brought into the range
                           {1.75, 9.0},  // the sum of the trends: (1.25, -0.5)
                           {10.0, 0.0},
                           {1.0, 2.0},
                           {3.0, 4.0},
                           {0.5, 4.5},
                           {8.75, 0.0}};
    for (Long i : oneTo(9)) {
        EXPECT_EQ(rowOf(d.kids, i), want[i - 1]) << "child " << i;
        EXPECT_EQ(rowOf(d.genX, 11 + i), want[i - 1]) << "member " << 11 + i;
    }
    EXPECT_EQ(rowOf(d.genX, 11), (Values{5.5, 4.5})) << "survives";
    EXPECT_EQ(rowOf(d.genY, 12), Values(3, 0.0));
    EXPECT_EQ(rowOf(d.genY, 11), Values(3, 1.0));
    EXPECT_EQ(rowOf(d.genP, 20), Values(4, 0.0));
    EXPECT_EQ(user.boxes, (Lines{"[] NewGen", "[] 1 Tries by numSmallOne", "[] i = 2. 1 Tries by numSmallAll",
                                 "[] i = 3.  2 Tries by trend operator", "[] i = 5. 1 Tries by MinMax",
                                 "[] i = 6. 2 Tries by numRandom", "[] i = 8.  starting xover & mutation."}));
    EXPECT_EQ(host->take(), (Lines{"StatusBar=Creating Generation 3"}));
}

} // namespace
} // namespace varnex3::test
