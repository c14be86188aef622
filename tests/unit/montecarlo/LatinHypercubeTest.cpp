// Batches of probabilities: order of draws, strata, induced correlations; lists and matrices of correlations.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <deque>
#include <set>
#include <string>
#include <vector>

#include "montecarlo/alg_m_LatinHypercube.h"
#include "stats/alg_m_MersenneTwister.h"
#include "support/Expect.h"

namespace varnex3 {
namespace {

using namespace alg_m_LatinHypercube;
using alg_m_MersenneTwister::InitRandom;

class LatinHypercube : public test::LibraryTest {};

/// Hands out the given draws; the test fails when they run out or are left over.
class Draws final : public alg_m_MersenneTwister::DrawSource {
public:
    explicit Draws(std::initializer_list<double> draws) : draws_(draws)
    {
        alg_m_MersenneTwister::setDrawSource(this);
    }
    ~Draws() override
    {
        alg_m_MersenneTwister::setDrawSource(nullptr);
        EXPECT_TRUE(draws_.empty());
    }
    double next() override
    {
        if (draws_.empty()) ADD_FAILURE() << "more draws than expected";
        const double draw = draws_.empty() ? 0.5 : draws_.front();
        if (!draws_.empty()) draws_.pop_front();
        return draw;
    }

private:
    std::deque<double> draws_;
};

Array2<std::string> listOf(std::initializer_list<std::array<const char*, 3>> entries)
{
    Array2<std::string> list(3, static_cast<Long>(entries.size()));
    Long i = 0;
    for (const auto& entry : entries) {
        ++i;
        for (Long element : {1, 2, 3}) list(element, i) = entry[static_cast<std::size_t>(element - 1)];
    }
    return list;
}

std::vector<std::string> shown(const Array2<std::string>& list)
{
    std::vector<std::string> lines;
    for (Long i : oneTo(list.cols())) lines.push_back(list(1, i) + " " + list(2, i) + " " + list(3, i));
    return lines;
}

TEST_F(LatinHypercube, RandIntRoundsToTheNearestHalvesToEven)
{
    const std::pair<double, Long> cases[] = {{0.0, 1},   {0.124, 1}, {0.125, 2},
                                             {0.375, 2}, {0.376, 3}, {1.0, 5}};
    for (const auto& [u, want] : cases) {
        const Draws draws{u};
        EXPECT_EQ(RandInt(1, 5), want) << u;
    }
}

TEST_F(LatinHypercube, PlainSamplingDrawsRowByRow)
{
    const Draws draws{0.1, 0.2, 0.3, 0.4};
    Array2<double> P(2, 2);
    CreateInputMatrix(P, {}, false, false);
    EXPECT_EQ(P(1, 2), 0.2);
    EXPECT_EQ(P(2, 1), 0.3);
}

// Shuffle of column 1: i = 3 with j = 1, i = 2 with j = 2: strata 3, 2, 1. Column 2: i = 3 with j = 3, i = 2
// with j = 1: strata 2, 1, 3. Then the places, row by row.
TEST_F(LatinHypercube, ShufflesColumnByColumnThenPlacesRowByRow)
{
    const Draws draws{0.0, 1.0, 1.0, 0.0, 0.5, 0.25, 0.0, 1.0, 0.75, 0.5};
    Array2<double> P(3, 2);
    CreateInputMatrix(P, {}, true, false);
    const double want[3][2] = {{2.5 / 3, 1.25 / 3}, {1.0 / 3, 1.0 / 3}, {0.75 / 3, 2.5 / 3}};
    for (Long r : oneTo(3))
        for (Long k : oneTo(2)) EXPECT_EQ(P(r, k), want[r - 1][k - 1]) << r << ", " << k;
}

bool oneInEveryStratum(const Array2<double>& P, Long k)
{
    std::set<Long> strata;
    for (Long r : oneTo(P.rows())) strata.insert(static_cast<Long>(std::floor(P(r, k) * P.rows())));
    return static_cast<Long>(strata.size()) == P.rows() && *strata.begin() == 0 &&
           *strata.rbegin() == P.rows() - 1;
}

double pearson(const std::vector<double>& a, const std::vector<double>& b)
{
    double ma = 0, mb = 0, ab = 0, aa = 0, bb = 0;
    const double n = static_cast<double>(a.size());
    for (std::size_t i = 0; i < a.size(); ++i) ma += a[i] / n, mb += b[i] / n;
    for (std::size_t i = 0; i < a.size(); ++i) {
        ab += (a[i] - ma) * (b[i] - mb);
        aa += (a[i] - ma) * (a[i] - ma);
        bb += (b[i] - mb) * (b[i] - mb);
    }
    return ab / std::sqrt(aa * bb);
}

/// The probabilities of a stratified column are its ranks, but for the place within the stratum.
std::vector<double> column(const Array2<double>& P, Long k)
{
    std::vector<double> values;
    for (Long r : oneTo(P.rows())) values.push_back(P(r, k));
    return values;
}

TEST_F(LatinHypercube, InducesRankCorrelationsAndKeepsTheStrata)
{
    Array2<double> K(3, 3), P(1000, 3);
    for (Long i : oneTo(3)) K(i, i) = 1.0;
    K(1, 2) = K(2, 1) = 0.9;
    K(2, 3) = K(3, 2) = -0.5;
    K(1, 3) = K(3, 1) = -0.3;
    InitRandom(7);
    CreateInputMatrix(P, K, true, true);
    for (Long k : oneTo(3)) EXPECT_TRUE(oneInEveryStratum(P, k)) << k;
    EXPECT_NEAR(pearson(column(P, 1), column(P, 2)), 0.9, 0.03);
    EXPECT_NEAR(pearson(column(P, 2), column(P, 3)), -0.5, 0.06);
    EXPECT_NEAR(pearson(column(P, 1), column(P, 3)), -0.3, 0.08);
    // the last column to be sorted is the first: its rows ascend
    const std::vector<double> first = column(P, 1);
    EXPECT_TRUE(std::is_sorted(first.begin(), first.end()));
}

TEST_F(LatinHypercube, AnInconsistentMatrixIsToldAndNotApplied)
{
    Array2<double> K(2, 2, 1.0), plain(50, 2), P(50, 2);
    InitRandom(3);
    CreateInputMatrix(plain, {}, true, false);
    InitRandom(3);
    CreateInputMatrix(P, K, true, true);
    EXPECT_EQ(P, plain);
    EXPECT_EQ(user.boxes, (test::Lines{"[] Correlation matrix is inconsistent.  Correlation not applied."}));
}

TEST_F(LatinHypercube, ListsGainTheCorrelationsThatTheyImply)
{
    struct Case {
        Array2<std::string> list;
        std::vector<std::string> want;
    };
    Case cases[] = {
        {listOf({{"X1", "X2", "0.8"}, {"X1", "X3", "0.5"}}), {"X1 X2 0.8", "X1 X3 0.5", "X2 X3 0.4"}},
        {listOf({{"A", "B", "0.5"}, {"C", "D", "0.5"}, {"B", "C", "0.5"}}),
         {"A B 0.5", "C D 0.5", "B C 0.5", "A C 0.25", "D B 0.25", "D A 0.125"}},
        {listOf({{"A", "B", "1"}}), {"A B 0.999999999999999"}},
        {listOf({{"A", "B", "-3"}}), {"A B -0.999999999999999"}},
        {listOf({{"A", "A", "0.5"}, {"A", "B", "0.2"}, {"B", "A", "0.4"}}), {"A B 0.4"}}, // self, double
    };
    for (Case& c : cases) {
        AddImpliedCorrelations(c.list);
        EXPECT_EQ(shown(c.list), c.want);
    }
    auto text = listOf({{"A", "B", "strong"}});
    test::expectRaises(errors::TypeMismatch, [&] { AddImpliedCorrelations(text); });
    EXPECT_TRUE(CorrelationExists("B", "A", listOf({{"A", "B", "1"}})));
}

TEST_F(LatinHypercube, CholeskyTellsWhatIsWrong)
{
    Array2<double> U, good(2, 2, 1.0);
    EXPECT_EQ(Cholesky(Array2<double>(2, 3), U), 1);
    EXPECT_EQ(Cholesky({}, U), 1);
    EXPECT_EQ(Cholesky(good, U), 2); // singular
    good(1, 1) = 4.0;
    good(1, 2) = good(2, 1) = 2.0;
    good(2, 2) = 10.0;
    EXPECT_EQ(Cholesky(good, U), 0); // [2 1; 0 3]
    EXPECT_EQ(U(1, 1), 2.0);
    EXPECT_EQ(U(1, 2), 1.0);
    EXPECT_EQ(U(2, 1), 0.0);
    EXPECT_EQ(U(2, 2), 3.0);
}

// Any symmetric matrix of coefficients comes out usable, whatever it held.
TEST_F(LatinHypercube, EveryInconsistentMatrixIsRepaired)
{
    InitRandom(11);
    int repaired = 0;
    for (int round = 0; round < 300; ++round) {
        const Long m = RandInt(3, 8);
        Array2<double> K(m, m), U;
        for (Long i : oneTo(m)) {
            K(i, i) = 1.0;
            for (Long j : oneTo(i - 1)) K(i, j) = K(j, i) = 2.0 * alg_m_MersenneTwister::RandDouble() - 1.0;
        }
        if (Cholesky(K, U) == 0) continue;
        ++repaired;
        std::string errorText;
        FixCorrelations(K, errorText);
        EXPECT_EQ(errorText, "");
        EXPECT_EQ(Cholesky(K, U), 0);
        for (Long i : oneTo(m)) {
            EXPECT_EQ(K(i, i), 1.0);
            for (Long j : oneTo(m)) EXPECT_LE(std::fabs(K(i, j)), 1.0);
        }
    }
    EXPECT_GT(repaired, 100);
}

TEST_F(LatinHypercube, JacobiSolvesTheEigenproblem)
{
    InitRandom(5);
    const Long n = 6;
    Array2<double> A(n, n), V;
    for (Long i : oneTo(n))
        for (Long j : oneTo(i)) A(i, j) = A(j, i) = alg_m_MersenneTwister::RandDouble();
    const Array2<double> original = A;
    Array1<double> d;
    Jacobi(A, d, V);
    for (Long k : oneTo(n)) {
        for (Long i : oneTo(n)) {
            double product = 0.0;
            for (Long j : oneTo(n)) product += original(i, j) * V(j, k);
            EXPECT_NEAR(product, d(k) * V(i, k), 1e-13);
        }
    }
    std::string errorText;
    Array2<double> oblong(2, 3);
    FixCorrelations(oblong, errorText);
    EXPECT_EQ(errorText, "Correlations not a square matrix.");
}

} // namespace
} // namespace varnex3
