// montecarlo/alg_m_LatinHypercube.cpp - sampling of a batch and the induction of its correlations.
//
// Lists and matrices of correlations are in Correlations.cpp.
#include "montecarlo/alg_m_LatinHypercube.h"

#include <algorithm>
#include <cstddef>
#include <vector>

#include "runtime/Number.h"
#include "sorting/alg_m_Sorting.h"
#include "stats/alg_m_MersenneTwister.h"
#include "ui/interface/UserInterface.h"

namespace varnex3::alg_m_LatinHypercube {
namespace {

using alg_m_MersenneTwister::RandDouble;

void fillPlain(Array2<double>& P)
{
    for (Long r : oneTo(P.rows()))
        for (double& p : P.row(r)) p = RandDouble();
}

/// Every column holds each stratum 1..n once, in an order of its own; then each entry goes to a random
/// point of its stratum.
void fillLatinHypercube(Array2<double>& P)
{
    const Long n = P.rows();
    Array1<Long> strata(n); // one column at a time, close together: the exchanges jump all over it
    for (Long k : oneTo(P.cols())) {
        for (Long r : oneTo(n)) strata(r) = r;
        for (Long i : downTo(n, 2)) {
            const Long j = RandInt(1, i);
            std::swap(strata(i), strata(j));
        }
        for (Long r : oneTo(n)) P(r, k) = strata(r);
    }
    for (Long r : oneTo(n)) {
        for (double& p : P.row(r)) {
            const double u = RandDouble();
            p = (p - 1.0 + u) / n;
        }
    }
}

/// Permutes the rows so that the ranks of the columns follow scores that have the given correlations.
///
///   1. U = the Cholesky factor of K; without one, a message, and P stays as sampled.
///   2. S = P; P = S * U, the scores.
///   3. For k = m..1: the rows of P ascend in column k, which then takes its sampled values from S, also
///      ascending.
void induceCorrelations(Array2<double>& P, const Array2<double>& K)
{
    Array2<double> U;
    if (Cholesky(K, U) != 0) {
        ui::showMessage("Correlation matrix is inconsistent.  Correlation not applied.");
        return;
    }
    const Array2<double> S = P;
    MatMult(S, U, P);
    std::vector<double> sampled(static_cast<std::size_t>(S.rows()));
    for (Long k : downTo(P.cols(), 1)) {
        alg_m_Sorting::SortRows(P, 1, P.rows(), k, false);
        for (Long r : oneTo(S.rows())) sampled[static_cast<std::size_t>(r - 1)] = S(r, k);
        std::sort(sampled.begin(), sampled.end()); // the values alone decide
        for (Long r : oneTo(P.rows())) P(r, k) = sampled[static_cast<std::size_t>(r - 1)];
    }
}

} // namespace

void CreateInputMatrix(Array2<double>& P, const Array2<double>& corrMatrix, bool useLHS, bool useCorrelations)
{
    Procedure here{"alg_m_LatinHypercube", "CreateInputMatrix"};

    here.at(useLHS ? 2 : 1);
    if (useLHS)
        fillLatinHypercube(P);
    else
        fillPlain(P);
    here.at(3);
    if (useCorrelations) induceCorrelations(P, corrMatrix);
}

Long RandInt(Long lo, Long hi)
{
    const double u = RandDouble();
    return toLong((hi - lo) * u + lo);
}

} // namespace varnex3::alg_m_LatinHypercube
