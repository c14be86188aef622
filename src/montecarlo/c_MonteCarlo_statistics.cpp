// montecarlo/c_MonteCarlo_statistics.cpp - what the sums of a run come to: moments, confidence bounds, rank
// correlations and contributions to variance.
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "montecarlo/c_MonteCarlo.h"
#include "runtime/Elementary.h"
#include "runtime/Number.h"
#include "sorting/RadixSort.h"
#include "stats/c_Statistics.h"

namespace varnex3 {
namespace {

/// Half-width of the interval around x/n for 1 <= x: normal approximation where failures and passes are at
/// least 5 each, Chebyshev's inequality otherwise.
double halfWidth(Long n, Long x, double alpha)
{
    const double p = static_cast<double>(x) / n;
    if (x >= 5 && n - x >= 5) {
        std::int16_t digits = 4;
        const double z = c_Statistics{}.findZ(alpha / 2.0, digits);
        return z * std::sqrt(p * (1.0 - p) / n);
    }
    return std::sqrt(p * (1.0 - p) / (n * alpha));
}

} // namespace

void c_MonteCarlo::CentralMoments::add(double y)
{
    least = n == 0.0 ? y : std::min(least, y);
    greatest = n == 0.0 ? y : std::max(greatest, y);
    const double before = n;
    n += 1.0;
    const double delta = y - mean, step = delta / n, step2 = step * step;
    const double term = delta * step * before;
    mean += step;
    m4 += term * step2 * (n * n - 3.0 * n + 3.0) + 6.0 * step2 * m2 - 4.0 * step * m3;
    m3 += term * step * (n - 2.0) - 3.0 * step * m2;
    m2 += term;
}

double c_MonteCarlo::CentralMoments::stat(Long statNum) const
{
    if (n < 2.0) return 0.0;
    if (statNum == 1) return mean;
    const double s = std::sqrt(m2 / (n - 1.0));
    if (statNum == 2 || s == 0.0) return statNum == 2 ? s : 0.0;
    if (statNum == 3) return m3 / n / (s * s * s);
    if (statNum == 4) return m4 / n / (s * s * s * s);
    return 0.0;
}

/// Computes yStats from the sums, closes a last partial batch, and scales the contributions to 1.
///
/// @raises  5 for a response whose lower limit lay above its upper one in a trial; 18
void c_MonteCarlo::CalcStatistics()
{
    Procedure here{"c_MonteCarlo", "CalcStatistics"};

    here.at(1);
    const Long N = lastTrial_;
    yStats_.resize(CountY(), 7);
    if (N < 2) return;

    const double n = N;
    for (Long j : oneTo(CountY())) {
        here.at(2);
        ReportProgress("Calculating response statistics...", j, CountY());
        const double S1 = ySums_(j, 1), S2 = ySums_(j, 2), S3 = ySums_(j, 3), S4 = ySums_(j, 4);
        const double m1 = S1 / n;
        yStats_(j, 1) = m1;
        here.at(22);
        const double v = (n * S2 - S1 * S1) / n / (n - 1.0);
        here.at(23);
        const double c3 = S3 / n - 3.0 * (S2 / n) * m1 + 2.0 * (m1 * m1 * m1);
        here.at(24);
        const double c4 =
            S4 / n - 4.0 * (S3 / n) * m1 + 6.0 * (m1 * m1) * (S2 / n) - 3.0 * (m1 * m1 * m1 * m1);
        here.at(25);
        if (v > 0.0) {
            const double s = std::sqrt(v);
            yStats_(j, 2) = s;
            yStats_(j, 3) = c3 / (s * s * s);
            yStats_(j, 4) = c4 / (s * s * s * s);
        }
        here.at(26);
        if (limitsCrossed_[static_cast<std::size_t>(j - 1)])
            raise(errors::InvalidCall, "CalcStatistics",
                  "LSL greater than USL for Y " + std::to_string(j) + " (" + formulation_->Ys->Item(j)->Name +
                      ")");
        const Long fails = toLong(ySums_(j, 5) + ySums_(j, 6));
        yStats_(j, 6) = fails / n;
        here.at(27);
        yStats_(j, 5) = minPNC(N, fails, effectiveAlpha());
        yStats_(j, 7) = maxPNC(N, fails, effectiveAlpha());
    }

    here.at(3);
    if (const Long rest = N % sampleSize; rest != 0) CalcRankCorrelation(rest, N);

    here.at(4);
    for (Long j : oneTo(CountY())) {
        double total = 0.0;
        for (Long i : oneTo(CountX())) total += varContribs_(i, j);
        if (total == 0.0) total = 1.0;
        for (Long i : oneTo(CountX())) varContribs_(i, j) /= total;
    }
}

bool c_MonteCarlo::CompleteEarly(bool wholeBatchesOnly)
{
    if ((wholeBatchesOnly ? closed_.trials : lastTrial_) < 2) return false;
    if (wholeBatchesOnly) {
        lastTrial_ = closed_.trials;
        ySums_ = closed_.ySums;
        moments_ = closed_.moments;
    }
    trials_.resize(lastTrial_); // a trial may have been kept and not counted
    forOpt_ = true;             // the progress window is gone
    CalcStatistics();
    return true;
}

double c_MonteCarlo::minPNC(Long n, Long x, double alpha)
{
    Procedure here{"c_MonteCarlo", "minPNC"};

    here.at(1);
    if (x == 0) return 0.0;
    here.at(4);
    return std::max(0.0, static_cast<double>(x) / n - halfWidth(n, x, alpha));
}

double c_MonteCarlo::maxPNC(Long n, Long x, double alpha)
{
    Procedure here{"c_MonteCarlo", "maxPNC"};

    here.at(1);
    if (x == 0)
        return 1.0 -
               elementary::exp(elementary::log(alpha) / n); // no failure in n trials has probability alpha
    here.at(4);
    return std::min(1.0, static_cast<double>(x) / n + halfWidth(n, x, alpha));
}

/// The prescribed statistic is off by more than 1 %. Each has a floor below which its own rounding noise
/// lies: a mean is judged against the standard deviation, skewness and kurtosis against 0.001.
bool c_MonteCarlo::statsDiffer(Long yIndex, Long statNum) const
{
    if (statNum < 1 || statNum > 4) return false;
    const double accurate = accurateStats(yIndex, statNum);
    const double floors[] = {accurateStats(yIndex, 2), 0.0, 1e-3, 1e-3};
    const double scale = std::max(std::fabs(accurate), floors[statNum - 1]);
    return std::fabs(yStats(yIndex, statNum) - accurate) > 0.01 * scale;
}

/// Ranks of variable k (parameters first, then responses) over the last n trials.
///
/// @param ranks  variable x trial of the batch; row k is written, unless the variable is constant
/// @param T      the tie term: sum of t^3 - t over groups of t equal values; -1 for a constant variable
void c_MonteCarlo::CreateRanks(Long k, Long n, Array2<double>& ranks, double& T) const
{
    Procedure here{"c_MonteCarlo", "CreateRanks"};

    here.at(1);
    T = 0.0;
    if (n <= 1) return;

    here.at(2);
    const bool isX = k <= CountX();
    const Array2<double>& store = isX ? trials_.x : trials_.y;
    const Long column = isX ? k : k - CountX(), before = store.rows() - n;
    std::vector<alg_m_Sorting::Keyed> values; // with the trial of the batch; ties share their mean rank
    values.reserve(static_cast<std::size_t>(n));
    for (Long i : oneTo(n)) values.push_back({store(before + i, column), i});
    alg_m_Sorting::sortByKey(values);

    here.at(3);
    if (values.front().key == values.back().key) {
        T = -1.0;
        return;
    }

    here.at(4);
    for (std::size_t first = 0; first < values.size();) {
        std::size_t last = first;
        while (last + 1 < values.size() && values[last + 1].key == values[first].key) ++last;
        const double t = static_cast<double>(last - first + 1);
        const double rank = static_cast<double>(first + 1) + (t - 1.0) / 2.0;
        for (std::size_t i = first; i <= last; ++i) ranks(k, values[i].position) = rank;
        T += t * t * t - t;
        first = last + 1;
    }
}

/// Closes a batch: rank correlations of every parameter with every response over its trials, and their
/// share of the contributions to variance.
///
/// @param n  trials of the batch; with fewer than 50 nothing is computed
/// @param N  trials so far
/// @source [Spe04], with the correction for ties
void c_MonteCarlo::CalcRankCorrelation(Long n, Long N)
{
    Procedure here{"c_MonteCarlo", "CalcRankCorrelation"};
    constexpr const char* kStatus = "Calculating contributions to variance...";

    here.at(1);
    if (n < kMinTrials) return;
    here.at(2);
    const Long nx = CountX(), ny = CountY();
    if (nx < 1 || ny < 1) return;

    here.at(3);
    Array2<double> ranks(nx + ny, n);
    Array1<double> T(nx + ny);
    for (Long k : oneTo(nx + ny)) {
        ReportProgress(kStatus, k, nx + 2 * ny);
        CreateRanks(k, n, ranks, T(k));
    }
    here.at(4);
    const double size = n;
    const double D3 = size * size * size - size;
    here.at(5);
    Array2<double> correlations(nx, ny); // kept when all are there: the user may cancel in between
    for (Long y : oneTo(ny)) {
        ReportProgress(kStatus, nx + ny + y, nx + 2 * ny);
        const double Ty = T(nx + y);
        const auto ranksOfY = std::as_const(ranks).row(nx + y);
        for (Long x : oneTo(nx)) {
            if (T(x) == -1.0 || Ty == -1.0) continue;
            const auto ranksOfX = std::as_const(ranks).row(x);
            double d = 0.0;
            for (std::size_t i = 0; i < ranksOfX.size(); ++i) {
                const double difference = ranksOfX[i] - ranksOfY[i];
                d += difference * difference;
            }
            const double r = 1.0 - 6.0 * (d + (T(x) + Ty) / 12.0) / D3;
            const double q = std::sqrt(1.0 - Ty / D3) * std::sqrt(1.0 - T(x) / D3);
            if (q != 0.0) correlations(x, y) = r / q;
        }
    }
    here.at(6);
    rankCorrelations_ = std::move(correlations);
    for (Long y : oneTo(ny)) {
        double S = 0.0;
        for (Long x : oneTo(nx)) S += rankCorrelations_(x, y) * rankCorrelations_(x, y);
        if (S == 0.0) S = 1.0;
        for (Long x : oneTo(nx)) {
            const double r = rankCorrelations_(x, y);
            varContribs_(x, y) =
                ((static_cast<double>(N) - size) * varContribs_(x, y) + size * (r * r) / S) / N;
        }
    }
}

} // namespace varnex3
