// The stream: reference words, both ends of the interval, unusual seeds, scripted draws.
#include <gtest/gtest.h>

#include <limits>
#include <vector>

#include "stats/alg_m_MersenneTwister.h"

namespace varnex3::alg_m_MersenneTwister {
namespace {

// Expected words: the generator as published in 1998, run with these seeds.
TEST(MersenneTwister, ReproducesTheReferenceDraws)
{
    detail::stream = {};                                                             // as at load
    for (Long want : {910418118, 686117931, 701838516}) EXPECT_EQ(RandLong(), want); // seed 4537

    InitRandom(1);
    for (Long want : {1898087491, 2091264893, 1090025304, 1904690236, 1480396830})
        EXPECT_EQ(RandLong(), want);
    for (int draw = 6; draw < 624; ++draw) RandLong();
    EXPECT_EQ(RandLong(), detail::halve(751518116U)) << "the last word of the first block";
    EXPECT_EQ(RandLong(), detail::halve(1141860845U)) << "the first word of the second block";

    InitRandom(-1);
    EXPECT_NEAR(RandDouble(), 0.883865864893359, 1e-15) << "a seed and its negative start the same stream";
}

TEST(MersenneTwister, HalvesToEvenAndNeverLeavesTheInterval)
{
    struct Case {
        std::uint32_t word;
        Long want;
    };
    for (const Case& c : {Case{0, 0},
                          {1, 0},
                          {3, 2},
                          {5, 2},
                          {7, 4},
                          {3796174982U, 1898087491},
                          {4294967293U, 2147483646},
                          {4294967294U, 2147483647},
                          {4294967295U, 2147483647}})
        EXPECT_EQ(detail::halve(c.word), c.want) << c.word;
}

TEST(MersenneTwister, TakesEverySeed)
{
    InitRandom(0);
    EXPECT_EQ(RandDouble(), 0.0);
    InitRandom(std::numeric_limits<Long>::min()); // no absolute value in 32 bits with a sign
    EXPECT_EQ(detail::stream.words[0], 2147483648U);
}

TEST(MersenneTwister, AScriptedSourceLeavesTheStreamAlone)
{
    struct Script : DrawSource {
        std::vector<Long> seeds;
        double next() override { return 0.5; }
        void reseeded(Long seed) override { seeds.push_back(seed); }
    } script;

    InitRandom(1);
    setDrawSource(&script);
    EXPECT_EQ(RandDouble(), 0.5);
    EXPECT_EQ(RandLong(), 1073741824); // 1073741823.5 to even
    InitRandom(7);
    setDrawSource(nullptr);
    EXPECT_EQ(script.seeds, std::vector<Long>{7});
    EXPECT_EQ(RandLong(), 1898087491);
}

} // namespace
} // namespace varnex3::alg_m_MersenneTwister
