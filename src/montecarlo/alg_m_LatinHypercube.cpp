// montecarlo/alg_m_LatinHypercube.cpp - sampling of a batch and the induction of its correlations.
//
// Lists and matrices of correlations are in Correlations.cpp.
#include "montecarlo/alg_m_LatinHypercube.h"

#include <algorithm>
#include <cstddef>
#include <numeric>
#include <utility>
#include <vector>

#include "runtime/Number.h"
#include "sorting/Quicksort.h"
#include "stats/alg_m_MersenneTwister.h"
#include "ui/interface/UserInterface.h"

namespace varnex3::alg_m_LatinHypercube {
namespace {

using alg_m_MersenneTwister::RandDouble;

/// Counts draws and exchanges, and lets the interlude in from time to time.
class Steps {
public:
    explicit Steps(const Interlude& interlude) : interlude_(interlude) {}

    void add(Long steps)
    {
        left_ -= steps;
        if (left_ > 0) return;
        left_ = kBetween;
        if (interlude_) interlude_();
    }

private:
    static constexpr Long kBetween = 1'000'000; // some hundredths of a second

    const Interlude& interlude_;
    Long left_ = kBetween;
};

void fillPlain(Array2<double>& P, Steps& steps)
{
    for (Long r : oneTo(P.rows())) {
        for (double& p : P.row(r)) p = RandDouble();
        steps.add(P.cols());
    }
}

/// Every column holds each stratum 1..n once, in an order of its own; then each entry goes to a random
/// point of its stratum.
void fillLatinHypercube(Array2<double>& P, Steps& steps)
{
    const Long n = P.rows();
    Array1<Long> strata(n); // one column at a time, close together: the exchanges jump all over it
    for (Long k : oneTo(P.cols())) {
        for (Long r : oneTo(n)) strata(r) = r;
        for (Long i : downTo(n, 2)) {
            const Long j = RandInt(1, i);
            std::swap(strata(i), strata(j));
            steps.add(1);
        }
        for (Long r : oneTo(n)) P(r, k) = strata(r);
    }
    for (Long r : oneTo(n)) {
        for (double& p : P.row(r)) {
            const double u = RandDouble();
            p = (p - 1.0 + u) / n;
        }
        steps.add(P.cols());
    }
}

/// The rows of a matrix by one of its columns: keys and row numbers move, the rows themselves only once.
struct Ordering {
    std::vector<double> keys;
    std::vector<Long> rows;
    Steps& steps;

    double key(Long i) const { return keys[static_cast<std::size_t>(i - 1)]; }
    void exchange(Long a, Long b)
    {
        const auto i = static_cast<std::size_t>(a - 1), j = static_cast<std::size_t>(b - 1);
        std::swap(keys[i], keys[j]);
        std::swap(rows[i], rows[j]);
        steps.add(1);
    }
};

/// What SortRows does, with few moves of whole rows: rows with equal keys come out in the same order.
void sortRowsBy(Array2<double>& P, Long k, Array2<double>& spare, Steps& steps)
{
    const Long n = P.rows();
    Ordering order{{}, std::vector<Long>(static_cast<std::size_t>(n)), steps};
    order.keys.reserve(static_cast<std::size_t>(n));
    for (Long r : oneTo(n)) order.keys.push_back(P(r, k));
    std::iota(order.rows.begin(), order.rows.end(), Long{1});
    alg_m_Sorting::Quicksort<Ordering>(order).sort(1, n);
    for (Long r : oneTo(n)) spare.copyRow(r, P, order.rows[static_cast<std::size_t>(r - 1)]);
    std::swap(P, spare);
}

/// Permutes the rows so that the ranks of the columns follow scores that have the given correlations.
///
///   1. U = the Cholesky factor of K; without one, a message, and P stays as sampled.
///   2. S = P; P = S * U, the scores.
///   3. For k = m..1: the rows of P ascend in column k, which then takes its sampled values from S, also
///      ascending.
void induceCorrelations(Array2<double>& P, const Array2<double>& K, Steps& steps)
{
    Array2<double> U;
    if (Cholesky(K, U) != 0) {
        ui::showMessage("Correlation matrix is inconsistent.  Correlation not applied.");
        return;
    }
    const Array2<double> S = P;
    MatMult(S, U, P);
    std::vector<double> sampled(static_cast<std::size_t>(S.rows()));
    Array2<double> spare = P;
    for (Long k : downTo(P.cols(), 1)) {
        sortRowsBy(P, k, spare, steps);
        for (Long r : oneTo(S.rows())) sampled[static_cast<std::size_t>(r - 1)] = S(r, k);
        std::sort(sampled.begin(), sampled.end()); // the values alone decide
        for (Long r : oneTo(P.rows())) P(r, k) = sampled[static_cast<std::size_t>(r - 1)];
    }
}

} // namespace

void CreateInputMatrix(Array2<double>& P, const Array2<double>& corrMatrix, bool useLHS, bool useCorrelations,
                       const Interlude& interlude)
{
    Procedure here{"alg_m_LatinHypercube", "CreateInputMatrix"};

    Steps steps(interlude);
    here.at(useLHS ? 2 : 1);
    if (useLHS)
        fillLatinHypercube(P, steps);
    else
        fillPlain(P, steps);
    here.at(3);
    if (useCorrelations) induceCorrelations(P, corrMatrix, steps);
}

Long RandInt(Long lo, Long hi)
{
    const double u = RandDouble();
    return toLong((hi - lo) * u + lo);
}

} // namespace varnex3::alg_m_LatinHypercube
