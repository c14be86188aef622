// sheet/functions/Distributions.cpp - probability distributions, their inverses and the tests built on them.
//
// The only file of the engine that uses Boost.Math, under a policy that answers NaN instead of throwing;
// NaN becomes #NUM!. Each distribution checks its parameters as the spreadsheet does, which is narrower
// than mathematics asks for; the older names of a function share its body.
#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>

#include <boost/math/distributions/beta.hpp>
#include <boost/math/distributions/binomial.hpp>
#include <boost/math/distributions/chi_squared.hpp>
#include <boost/math/distributions/fisher_f.hpp>
#include <boost/math/distributions/gamma.hpp>
#include <boost/math/distributions/negative_binomial.hpp>
#include <boost/math/distributions/normal.hpp>
#include <boost/math/distributions/poisson.hpp>
#include <boost/math/distributions/students_t.hpp>
#include <boost/math/special_functions/beta.hpp>
#include <boost/math/special_functions/gamma.hpp>

#include "sheet/functions/Function.h"
#include "sheet/functions/Samples.h"

namespace varnex3::sheet {
namespace {

namespace policies = boost::math::policies;
using Quiet = policies::policy<
    policies::domain_error<policies::ignore_error>, policies::pole_error<policies::ignore_error>,
    policies::overflow_error<policies::ignore_error>, policies::underflow_error<policies::ignore_error>,
    policies::denorm_error<policies::ignore_error>, policies::evaluation_error<policies::ignore_error>,
    policies::rounding_error<policies::ignore_error>,
    policies::indeterminate_result_error<policies::ignore_error>,
    policies::discrete_quantile<policies::integer_round_up>>;

using Normal = boost::math::normal_distribution<double, Quiet>;
using StudentT = boost::math::students_t_distribution<double, Quiet>;
using ChiSquared = boost::math::chi_squared_distribution<double, Quiet>;
using FisherF = boost::math::fisher_f_distribution<double, Quiet>;
using Beta = boost::math::beta_distribution<double, Quiet>;
using Gamma = boost::math::gamma_distribution<double, Quiet>;
using Binomial = boost::math::binomial_distribution<double, Quiet>;
using NegativeBinomial = boost::math::negative_binomial_distribution<double, Quiet>;
using Poisson = boost::math::poisson_distribution<double, Quiet>;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kMostDegrees = 1e10; // of freedom, beyond which the spreadsheet answers #NUM!

/// The last step of every body: a failure for what no distribution answers.
template <class Distribution>
Value cumulativeOrDensity(const Distribution& d, double x, bool cumulative)
{
    return finite(cumulative ? boost::math::cdf(d, x) : boost::math::pdf(d, x));
}

template <class Distribution>
double upperTail(const Distribution& d, double x)
{
    return boost::math::cdf(boost::math::complement(d, x));
}

template <class Distribution>
double upperQuantile(const Distribution& d, double p)
{
    return boost::math::quantile(boost::math::complement(d, p));
}

bool inside(double p) { return p > 0.0 && p < 1.0; }

// --- Normal and lognormal -------------------------------------------------------------------------------

Value normDist(Call& call)
{
    if (call.number(2) <= 0.0) return Failure::Num;
    return cumulativeOrDensity(Normal(call.number(1), call.number(2)), call.number(0), call.boolean(3));
}

Value normInv(Call& call)
{
    if (!inside(call.number(0)) || call.number(2) <= 0.0) return Failure::Num;
    return finite(boost::math::quantile(Normal(call.number(1), call.number(2)), call.number(0)));
}

Value normSDist(Call& call) { return cumulativeOrDensity(Normal(), call.number(0), call.boolean(1)); }

double normalCumulative(double z) { return boost::math::cdf(Normal(), z); }
double normalQuantile(double p) { return inside(p) ? boost::math::quantile(Normal(), p) : kNaN; }
double normalDensity(double z) { return boost::math::pdf(Normal(), z); }
// Phi(z) - 1/2, without cancellation near 0
double gauss(double z) { return 0.5 * std::erf(z / std::sqrt(2.0)); }

Value logNormal(Call& call, bool cumulative)
{
    const double x = call.number(0), mean = call.number(1), sd = call.number(2);
    if (x <= 0.0 || sd <= 0.0) return Failure::Num;
    const double z = (std::log(x) - mean) / sd;
    return finite(cumulative ? normalCumulative(z) : normalDensity(z) / (sd * x));
}

Value logNormDist(Call& call) { return logNormal(call, call.boolean(3)); }
Value logNormDistOld(Call& call) { return logNormal(call, true); }

Value logNormInv(Call& call)
{
    if (!inside(call.number(0)) || call.number(2) <= 0.0) return Failure::Num;
    return finite(std::exp(boost::math::quantile(Normal(call.number(1), call.number(2)), call.number(0))));
}

/// Half the width of the confidence interval of a mean whose standard deviation is known.
Value confidence(Call& call)
{
    const double alpha = call.number(0), sd = call.number(1), n = std::trunc(call.number(2));
    if (!inside(alpha) || sd <= 0.0 || n < 1.0) return Failure::Num;
    return finite(upperQuantile(Normal(), alpha / 2.0) * sd / std::sqrt(n));
}

Value confidenceT(Call& call)
{
    const double alpha = call.number(0), sd = call.number(1), n = std::trunc(call.number(2));
    if (!inside(alpha) || sd <= 0.0 || n < 1.0) return Failure::Num;
    if (n == 1.0) return Failure::Div0;
    return finite(upperQuantile(StudentT(n - 1.0), alpha / 2.0) * sd / std::sqrt(n));
}

/// Upper tail of the mean of a sample, were the mean of the population the second argument.
Value zTest(Call& call)
{
    const Sample s = sampleOf(call, 0);
    if (s.failure) return *s.failure;
    if (s.empty()) return Failure::NA;
    const bool known = call.given(2);
    if (known && call.number(2) <= 0.0) return Failure::Num;
    if (!known && s.size() < 2) return Failure::Div0;
    const double sd = known ? call.number(2) : std::sqrt(s.variance());
    if (sd == 0.0) return Failure::Div0;
    const double z = (s.mean() - call.number(1)) / (sd / std::sqrt(static_cast<double>(s.size())));
    return finite(upperTail(Normal(), z));
}

// --- Student's t ----------------------------------------------------------------------------------------

/// Whole degrees of freedom of argument i; nothing outside 1..10^10.
std::optional<double> degrees(Call& call, int i)
{
    const double n = std::trunc(call.number(i));
    return n >= 1.0 && n <= kMostDegrees ? std::optional(n) : std::nullopt;
}

Value tDist(Call& call)
{
    const auto n = degrees(call, 1);
    return n ? cumulativeOrDensity(StudentT(*n), call.number(0), call.boolean(2)) : Value(Failure::Num);
}

Value tDistRight(Call& call)
{
    const auto n = degrees(call, 1);
    return n ? finite(upperTail(StudentT(*n), call.number(0))) : Value(Failure::Num);
}

Value tDistTwo(Call& call)
{
    const auto n = degrees(call, 1);
    if (!n || call.number(0) < 0.0) return Failure::Num;
    return finite(2.0 * upperTail(StudentT(*n), call.number(0)));
}

Value tDistOld(Call& call)
{
    const auto n = degrees(call, 1);
    const double tails = std::trunc(call.number(2));
    if (!n || call.number(0) < 0.0 || (tails != 1.0 && tails != 2.0)) return Failure::Num;
    return finite(tails * upperTail(StudentT(*n), call.number(0)));
}

Value tInv(Call& call)
{
    const auto n = degrees(call, 1);
    if (!n || !inside(call.number(0))) return Failure::Num;
    return finite(boost::math::quantile(StudentT(*n), call.number(0)));
}

Value tInvTwo(Call& call)
{
    const auto n = degrees(call, 1);
    const double p = call.number(0);
    if (!n || p <= 0.0 || p > 1.0) return Failure::Num;
    return finite(upperQuantile(StudentT(*n), p / 2.0));
}

/// Sums up differences of pairs for the paired test.
Sample differences(const Pairs& pairs)
{
    Sample d;
    for (std::size_t i = 0; i < pairs.size(); ++i) d.x.push_back(pairs.first.x[i] - pairs.second.x[i]);
    return d;
}

/// t and degrees of freedom of a test of two means.
struct TStatistic {
    double t = 0.0, freedom = 0.0;
};

TStatistic paired(const Sample& d)
{
    const auto n = static_cast<double>(d.size());
    return {d.mean() / std::sqrt(d.variance() / n), n - 1.0};
}

TStatistic equalVariances(const Sample& a, const Sample& b)
{
    const auto n = static_cast<double>(a.size()), m = static_cast<double>(b.size());
    const double pooled = (a.squaredDeviations() + b.squaredDeviations()) / (n + m - 2.0);
    return {(a.mean() - b.mean()) / std::sqrt(pooled * (1.0 / n + 1.0 / m)), n + m - 2.0};
}

// Welch: the degrees of freedom are no whole number.
TStatistic unequalVariances(const Sample& a, const Sample& b)
{
    const auto n = static_cast<double>(a.size()), m = static_cast<double>(b.size());
    const double u = a.variance() / n, v = b.variance() / m;
    return {(a.mean() - b.mean()) / std::sqrt(u + v),
            (u + v) * (u + v) / (u * u / (n - 1.0) + v * v / (m - 1.0))};
}

Value tTest(Call& call)
{
    const double tails = std::trunc(call.number(2)), type = std::trunc(call.number(3));
    if ((tails != 1.0 && tails != 2.0) || type < 1.0 || type > 3.0) return Failure::Num;
    TStatistic statistic;
    if (type == 1.0) {
        const Pairs pairs = pairsOf(call, 0, 1);
        if (pairs.failure) return *pairs.failure;
        if (pairs.size() < 2) return Failure::Div0;
        statistic = paired(differences(pairs));
    } else {
        const Sample a = sampleOf(call, 0), b = sampleOf(call, 1);
        if (a.failure) return *a.failure;
        if (b.failure) return *b.failure;
        if (a.size() < 2 || b.size() < 2) return Failure::Div0;
        statistic = type == 2.0 ? equalVariances(a, b) : unequalVariances(a, b);
    }
    if (!std::isfinite(statistic.t) || !(statistic.freedom > 0.0)) return Failure::Div0;
    return finite(tails * upperTail(StudentT(statistic.freedom), std::fabs(statistic.t)));
}

// --- Chi-squared ----------------------------------------------------------------------------------------

Value chiDist(Call& call)
{
    const auto n = degrees(call, 1);
    if (!n || call.number(0) < 0.0) return Failure::Num;
    return cumulativeOrDensity(ChiSquared(*n), call.number(0), call.boolean(2));
}

Value chiDistRight(Call& call)
{
    const auto n = degrees(call, 1);
    if (!n || call.number(0) < 0.0) return Failure::Num;
    return finite(upperTail(ChiSquared(*n), call.number(0)));
}

Value chiInv(Call& call)
{
    const auto n = degrees(call, 1);
    const double p = call.number(0);
    if (!n || p < 0.0 || p >= 1.0) return Failure::Num;
    return finite(boost::math::quantile(ChiSquared(*n), p));
}

Value chiInvRight(Call& call)
{
    const auto n = degrees(call, 1);
    const double p = call.number(0);
    if (!n || p <= 0.0 || p > 1.0) return Failure::Num;
    return finite(upperQuantile(ChiSquared(*n), p));
}

/// Probability of a deviation between observed and expected counts at least as great as this one.
Value chiTest(Call& call)
{
    const std::int32_t height = call.rows(0), width = call.cols(0);
    if (height != call.rows(1) || width != call.cols(1)) return Failure::NA;
    if (height == 1 && width == 1) return Failure::NA;
    const Pairs pairs = pairsOf(call, 0, 1);
    if (pairs.failure) return *pairs.failure;
    double sum = 0.0;
    for (std::size_t i = 0; i < pairs.size(); ++i) {
        const double expected = pairs.second.x[i], off = pairs.first.x[i] - expected;
        if (expected == 0.0) return Failure::Div0;
        if (expected < 0.0) return Failure::Num;
        sum += off * off / expected;
    }
    const double freedom = height > 1 && width > 1 ? (height - 1.0) * (width - 1.0) : height * width - 1.0;
    return finite(upperTail(ChiSquared(freedom), sum));
}

// --- F --------------------------------------------------------------------------------------------------

std::optional<FisherF> fisherF(Call& call)
{
    const auto n = degrees(call, 1), m = degrees(call, 2);
    if (!n || !m) return std::nullopt;
    return FisherF(*n, *m);
}

Value fDist(Call& call)
{
    const auto f = fisherF(call);
    if (!f || call.number(0) < 0.0) return Failure::Num;
    return cumulativeOrDensity(*f, call.number(0), call.boolean(3));
}

Value fDistRight(Call& call)
{
    const auto f = fisherF(call);
    return f && call.number(0) >= 0.0 ? finite(upperTail(*f, call.number(0))) : Value(Failure::Num);
}

/// Quantile by way of the beta distribution: F = m b / (n (1 - b)), where 1 - b keeps its own digits.
double fQuantile(double n, double m, double p, bool upper)
{
    double rest = 0.0;
    const double b = upper ? boost::math::ibetac_inv(n / 2.0, m / 2.0, p, &rest, Quiet())
                           : boost::math::ibeta_inv(n / 2.0, m / 2.0, p, &rest, Quiet());
    return m * b / (n * rest);
}

Value fInv(Call& call)
{
    const auto n = degrees(call, 1), m = degrees(call, 2);
    const double p = call.number(0);
    return n && m && p >= 0.0 && p < 1.0 ? finite(fQuantile(*n, *m, p, false)) : Value(Failure::Num);
}

Value fInvRight(Call& call)
{
    const auto n = degrees(call, 1), m = degrees(call, 2);
    const double p = call.number(0);
    return n && m && p > 0.0 && p <= 1.0 ? finite(fQuantile(*n, *m, p, true)) : Value(Failure::Num);
}

/// Two-tailed probability that the variances of two samples do not differ.
Value fTest(Call& call)
{
    const Sample a = sampleOf(call, 0), b = sampleOf(call, 1);
    if (a.failure) return *a.failure;
    if (b.failure) return *b.failure;
    if (a.size() < 2 || b.size() < 2) return Failure::Div0;
    const double u = a.variance(), v = b.variance();
    if (u == 0.0 || v == 0.0) return Failure::Div0;
    const FisherF f(static_cast<double>(a.size() - 1), static_cast<double>(b.size() - 1));
    return finite(2.0 * std::min(boost::math::cdf(f, u / v), upperTail(f, u / v)));
}

// --- Beta, gamma, exponential, Weibull ------------------------------------------------------------------

/// BETA.DIST over the interval from a to b: parameters alpha and beta are arguments 1 and 2.
Value betaOver(Call& call, double a, double b, bool cumulative)
{
    const double x = call.number(0), alpha = call.number(1), beta = call.number(2);
    if (alpha <= 0.0 || beta <= 0.0 || x < a || x > b || a >= b) return Failure::Num;
    const Beta distribution(alpha, beta);
    const double at = (x - a) / (b - a);
    if (cumulative) return finite(boost::math::cdf(distribution, at));
    return finite(boost::math::pdf(distribution, at) / (b - a));
}

Value betaDist(Call& call) { return betaOver(call, call.number(4), call.number(5), call.boolean(3)); }
Value betaDistOld(Call& call) { return betaOver(call, call.number(3), call.number(4), true); }

Value betaInv(Call& call)
{
    const double p = call.number(0), alpha = call.number(1), beta = call.number(2);
    const double a = call.number(3), b = call.number(4);
    if (p <= 0.0 || p > 1.0 || alpha <= 0.0 || beta <= 0.0 || a >= b) return Failure::Num;
    if (p == 1.0) return b;
    return finite(a + (b - a) * boost::math::quantile(Beta(alpha, beta), p));
}

double gammaFunction(double x) { return boost::math::tgamma(x, Quiet()); }
double logGamma(double x) { return x > 0.0 ? boost::math::lgamma(x, Quiet()) : kNaN; }

Value gammaDist(Call& call)
{
    const double x = call.number(0), alpha = call.number(1), beta = call.number(2);
    if (x < 0.0 || alpha <= 0.0 || beta <= 0.0) return Failure::Num;
    // At 0 the density is infinite below shape 1 and 1/scale at shape 1; the library gives 0 for both.
    if (x == 0.0 && !call.boolean(3) && alpha <= 1.0)
        return alpha < 1.0 ? Value(Failure::Num) : Value(1.0 / beta);
    return cumulativeOrDensity(Gamma(alpha, beta), x, call.boolean(3));
}

Value gammaInv(Call& call)
{
    const double p = call.number(0), alpha = call.number(1), beta = call.number(2);
    if (p < 0.0 || p >= 1.0 || alpha <= 0.0 || beta <= 0.0) return Failure::Num;
    return finite(boost::math::quantile(Gamma(alpha, beta), p));
}

Value exponDist(Call& call)
{
    const double x = call.number(0), rate = call.number(1);
    if (x < 0.0 || rate <= 0.0) return Failure::Num;
    return finite(call.boolean(2) ? -std::expm1(-rate * x) : rate * std::exp(-rate * x));
}

// 1 - exp(-(x/scale)^shape) and its derivative
Value weibullDist(Call& call)
{
    const double x = call.number(0), shape = call.number(1), scale = call.number(2);
    if (x < 0.0 || shape <= 0.0 || scale <= 0.0) return Failure::Num;
    const double power = std::pow(x / scale, shape);
    if (call.boolean(3)) return finite(-std::expm1(-power));
    return finite(shape / scale * std::pow(x / scale, shape - 1.0) * std::exp(-power));
}

// --- Counts ---------------------------------------------------------------------------------------------

Value binomDist(Call& call)
{
    const double k = std::trunc(call.number(0)), n = std::trunc(call.number(1)), p = call.number(2);
    if (k < 0.0 || k > n || p < 0.0 || p > 1.0) return Failure::Num;
    return cumulativeOrDensity(Binomial(n, p), k, call.boolean(3));
}

Value binomDistRange(Call& call)
{
    const double n = std::trunc(call.number(0)), p = call.number(1);
    const double from = std::trunc(call.number(2)), to = call.given(3) ? std::trunc(call.number(3)) : from;
    if (n < 0.0 || p < 0.0 || p > 1.0 || from < 0.0 || to < from || to > n) return Failure::Num;
    const Binomial distribution(n, p);
    double sum = 0.0;
    if (to - from <= 1000.0) {
        for (double k = from; k <= to; k += 1.0) sum += boost::math::pdf(distribution, k);
        return finite(std::min(sum, 1.0));
    }
    const double below = from > 0.0 ? boost::math::cdf(distribution, from - 1.0) : 0.0;
    return finite(boost::math::cdf(distribution, to) - below);
}

/// The least number of successes whose cumulative probability reaches a criterion.
Value binomInv(Call& call)
{
    const double n = std::trunc(call.number(0)), p = call.number(1), criterion = call.number(2);
    if (n < 0.0 || criterion < 0.0 || criterion > 1.0 || p < 0.0 || p > 1.0) return Failure::Num;
    if (p == 0.0 || n == 0.0 || criterion == 0.0) return 0.0;
    if (p == 1.0 || criterion == 1.0) return n;
    const Binomial distribution(n, p);
    double k = std::clamp(boost::math::quantile(distribution, criterion), 0.0, n);
    while (k > 0.0 && boost::math::cdf(distribution, k - 1.0) >= criterion) k -= 1.0;
    while (k < n && boost::math::cdf(distribution, k) < criterion) k += 1.0;
    return finite(k);
}

Value negBinomial(Call& call, bool cumulative)
{
    const double failures = std::trunc(call.number(0)), successes = std::trunc(call.number(1));
    const double p = call.number(2);
    if (failures < 0.0 || successes < 1.0 || p < 0.0 || p > 1.0) return Failure::Num;
    if (p == 0.0) return 0.0;
    return cumulativeOrDensity(NegativeBinomial(successes, p), failures, cumulative);
}

Value negBinomDist(Call& call) { return negBinomial(call, call.boolean(3)); }
Value negBinomDistOld(Call& call) { return negBinomial(call, false); }

double logChoose(double n, double k) { return logGamma(n + 1.0) - logGamma(k + 1.0) - logGamma(n - k + 1.0); }

/// Probability of k marked ones in a sample of n from a population of `size` with `marked` ones.
double hypergeometric(double k, double n, double marked, double size)
{
    // The product of ratios keeps every digit that the difference of logarithms would lose.
    if (n <= 10000.0) {
        double p = 1.0;
        for (double i = 0.0; i < k; i += 1.0) p *= (marked - i) / (size - i) * (n - i) / (k - i);
        for (double i = 0.0; i < n - k; i += 1.0) p *= (size - marked - i) / (size - k - i);
        if (p >= 1e-290 && std::isfinite(p)) return p;
    }
    return std::exp(logChoose(marked, k) + logChoose(size - marked, n - k) - logChoose(size, n));
}

Value hypergeometricOf(Call& call, bool cumulative)
{
    const double k = std::trunc(call.number(0)), n = std::trunc(call.number(1));
    const double marked = std::trunc(call.number(2)), size = std::trunc(call.number(3));
    if (n < 0.0 || marked < 0.0 || n > size || marked > size) return Failure::Num;
    const double least = std::max(0.0, n + marked - size), most = std::min(n, marked);
    if (k < least || k > most) return Failure::Num;
    if (!cumulative) return finite(hypergeometric(k, n, marked, size));
    double sum = 0.0;
    for (double i = least; i <= k; i += 1.0) sum += hypergeometric(i, n, marked, size);
    return finite(std::min(sum, 1.0));
}

Value hypGeomDist(Call& call) { return hypergeometricOf(call, call.boolean(4)); }
Value hypGeomDistOld(Call& call) { return hypergeometricOf(call, false); }

Value poissonDist(Call& call)
{
    const double k = std::trunc(call.number(0)), mean = call.number(1);
    if (k < 0.0 || mean < 0.0) return Failure::Num;
    if (mean == 0.0) return call.boolean(2) || k == 0.0 ? 1.0 : 0.0;
    return cumulativeOrDensity(Poisson(mean), k, call.boolean(2));
}

// clang-format off
constexpr FunctionRow rows[] = {
//   name                arguments                                                        trait        body                     summary                                              example                                              shows
    {"BETA.DIST",        {number(), number(), number(), boolean(), number(0), number(1)}, Trait::Pure, betaDist,                "beta distribution",                                 "=ROUND(BETA.DIST(2,8,10,TRUE,1,3),7)",              "0.6854706"},
    {"BETA.INV",         {number(), number(), number(), number(0), number(1)},            Trait::Pure, betaInv,                 "quantile of the beta distribution",                 "=ROUND(BETA.INV(0.685470581,8,10,1,3),6)",          "2"},
    {"BETADIST",         {number(), number(), number(), number(0), number(1)},            Trait::Pure, betaDistOld,             "cumulative beta distribution",                      "=ROUND(BETADIST(2,8,10,1,3),7)",                    "0.6854706"},
    {"BETAINV",          {number(), number(), number(), number(0), number(1)},            Trait::Pure, betaInv,                 "quantile of the beta distribution",                 "=BETAINV(0.5,3,3)",                                 "0.5"},
    {"BINOM.DIST",       {number(), number(), number(), boolean()},                       Trait::Pure, binomDist,               "binomial distribution",                             "=BINOM.DIST(6,10,0.5,FALSE)",                       "0.205078125"},
    {"BINOM.DIST.RANGE", {number(), number(), number(), optional(number())},              Trait::Pure, binomDistRange,          "probability of a range of successes",               "=ROUND(BINOM.DIST.RANGE(60,0.75,45,50),6)",         "0.52363"},
    {"BINOM.INV",        {number(), number(), number()},                                  Trait::Pure, binomInv,                "least successes that reach a probability",          "=BINOM.INV(6,0.5,0.75)",                            "4"},
    {"BINOMDIST",        {number(), number(), number(), boolean()},                       Trait::Pure, binomDist,               "binomial distribution",                             "=BINOMDIST(6,10,0.5,FALSE)",                        "0.205078125"},
    {"CHIDIST",          {number(), number()},                                            Trait::Pure, chiDistRight,            "upper tail of the chi-squared distribution",        "=ROUND(CHIDIST(18.307,10),7)",                      "0.0500006"},
    {"CHIINV",           {number(), number()},                                            Trait::Pure, chiInvRight,             "chi-squared value of an upper tail",                "=ROUND(CHIINV(0.05,10),6)",                         "18.307038"},
    {"CHISQ.DIST",       {number(), number(), boolean()},                                 Trait::Pure, chiDist,                 "chi-squared distribution",                          "=ROUND(CHISQ.DIST(0.5,1,TRUE),6)",                  "0.5205"},
    {"CHISQ.DIST.RT",    {number(), number()},                                            Trait::Pure, chiDistRight,            "upper tail of the chi-squared distribution",        "=ROUND(CHISQ.DIST.RT(18.307,10),7)",                "0.0500006"},
    {"CHISQ.INV",        {number(), number()},                                            Trait::Pure, chiInv,                  "quantile of the chi-squared distribution",          "=ROUND(CHISQ.INV(0.93,1),6)",                       "3.28302"},
    {"CHISQ.INV.RT",     {number(), number()},                                            Trait::Pure, chiInvRight,             "chi-squared value of an upper tail",                "=ROUND(CHISQ.INV.RT(0.05,10),6)",                   "18.307038"},
    {"CHISQ.TEST",       {array(), array()},                                              Trait::Pure, chiTest,                 "test of observed against expected counts",          "=ROUND(CHISQ.TEST({58,35;11,25;10,23},{45.35,47.65;17.56,18.44;16.09,16.91}),6)", "0.000308"},
    {"CHITEST",          {array(), array()},                                              Trait::Pure, chiTest,                 "test of observed against expected counts",          "=ROUND(CHITEST({58,35;11,25;10,23},{45.35,47.65;17.56,18.44;16.09,16.91}),6)", "0.000308"},
    {"CONFIDENCE",       {number(), number(), number()},                                  Trait::Pure, confidence,              "half width of the confidence interval of a mean",   "=ROUND(CONFIDENCE(0.05,2.5,50),6)",                 "0.692952"},
    {"CONFIDENCE.NORM",  {number(), number(), number()},                                  Trait::Pure, confidence,              "half width of the confidence interval of a mean",   "=ROUND(CONFIDENCE.NORM(0.05,2.5,50),6)",            "0.692952"},
    {"CONFIDENCE.T",     {number(), number(), number()},                                  Trait::Pure, confidenceT,             "CONFIDENCE with a standard deviation of the sample", "=ROUND(CONFIDENCE.T(0.05,1,50),6)",                "0.284197"},
    {"CRITBINOM",        {number(), number(), number()},                                  Trait::Pure, binomInv,                "least successes that reach a probability",          "=CRITBINOM(6,0.5,0.75)",                            "4"},
    {"EXPON.DIST",       {number(), number(), boolean()},                                 Trait::Pure, exponDist,               "exponential distribution",                          "=ROUND(EXPON.DIST(0.2,10,TRUE),8)",                 "0.86466472"},
    {"EXPONDIST",        {number(), number(), boolean()},                                 Trait::Pure, exponDist,               "exponential distribution",                          "=ROUND(EXPONDIST(0.2,10,FALSE),8)",                 "1.35335283"},
    {"F.DIST",           {number(), number(), number(), boolean()},                       Trait::Pure, fDist,                   "F distribution",                                    "=ROUND(F.DIST(15.2069,6,4,TRUE),6)",                "0.99"},
    {"F.DIST.RT",        {number(), number(), number()},                                  Trait::Pure, fDistRight,              "upper tail of the F distribution",                  "=ROUND(F.DIST.RT(15.206865,6,4),6)",                "0.01"},
    {"F.INV",            {number(), number(), number()},                                  Trait::Pure, fInv,                    "quantile of the F distribution",                    "=ROUND(F.INV(0.01,6,4),8)",                         "0.10930991"},
    {"F.INV.RT",         {number(), number(), number()},                                  Trait::Pure, fInvRight,               "F value of an upper tail",                          "=ROUND(F.INV.RT(0.01,6,4),5)",                      "15.20686"},
    {"F.TEST",           {array(), array()},                                              Trait::Pure, fTest,                   "test of equal variances",                           "=ROUND(F.TEST({6,7,9,15,21},{20,28,31,38,40}),6)",  "0.648318"},
    {"FDIST",            {number(), number(), number()},                                  Trait::Pure, fDistRight,              "upper tail of the F distribution",                  "=ROUND(FDIST(15.206865,6,4),6)",                    "0.01"},
    {"FINV",             {number(), number(), number()},                                  Trait::Pure, fInvRight,               "F value of an upper tail",                          "=ROUND(FINV(0.01,6,4),5)",                          "15.20686"},
    {"FTEST",            {array(), array()},                                              Trait::Pure, fTest,                   "test of equal variances",                           "=ROUND(FTEST({6,7,9,15,21},{20,28,31,38,40}),6)",   "0.648318"},
    {"GAMMA",            {number()},                                                      Trait::Pure, map1<gammaFunction>,     "gamma function",                                    "=GAMMA(5)",                                         "24"},
    {"GAMMA.DIST",       {number(), number(), number(), boolean()},                       Trait::Pure, gammaDist,               "gamma distribution",                                "=ROUND(GAMMA.DIST(10.00001131,9,2,TRUE),6)",        "0.068094"},
    {"GAMMA.INV",        {number(), number(), number()},                                  Trait::Pure, gammaInv,                "quantile of the gamma distribution",                "=ROUND(GAMMA.INV(0.068094,9,2),4)",                 "10"},
    {"GAMMADIST",        {number(), number(), number(), boolean()},                       Trait::Pure, gammaDist,               "gamma distribution",                                "=ROUND(GAMMADIST(10.00001131,9,2,FALSE),6)",        "0.032639"},
    {"GAMMAINV",         {number(), number(), number()},                                  Trait::Pure, gammaInv,                "quantile of the gamma distribution",                "=ROUND(GAMMAINV(0.068094,9,2),4)",                  "10"},
    {"GAMMALN",          {number()},                                                      Trait::Pure, map1<logGamma>,          "logarithm of the gamma function",                   "=ROUND(GAMMALN(4),7)",                              "1.7917595"},
    {"GAMMALN.PRECISE",  {number()},                                                      Trait::Pure, map1<logGamma>,          "logarithm of the gamma function",                   "=ROUND(GAMMALN.PRECISE(4.5),7)",                    "2.4537366"},
    {"GAUSS",            {number()},                                                      Trait::Pure, map1<gauss>,             "probability between the mean and z",                "=ROUND(GAUSS(2),7)",                                "0.4772499"},
    {"HYPGEOM.DIST",     {number(), number(), number(), number(), boolean()},             Trait::Pure, hypGeomDist,             "hypergeometric distribution",                       "=ROUND(HYPGEOM.DIST(1,4,8,20,TRUE),6)",             "0.465428"},
    {"HYPGEOMDIST",      {number(), number(), number(), number()},                        Trait::Pure, hypGeomDistOld,          "hypergeometric distribution",                       "=ROUND(HYPGEOMDIST(1,4,8,20),6)",                   "0.363261"},
    {"LOGINV",           {number(), number(), number()},                                  Trait::Pure, logNormInv,              "quantile of the lognormal distribution",            "=ROUND(LOGINV(0.039084,3.5,1.2),4)",                "4"},
    {"LOGNORM.DIST",     {number(), number(), number(), boolean()},                       Trait::Pure, logNormDist,             "lognormal distribution",                            "=ROUND(LOGNORM.DIST(4,3.5,1.2,FALSE),6)",           "0.017618"},
    {"LOGNORM.INV",      {number(), number(), number()},                                  Trait::Pure, logNormInv,              "quantile of the lognormal distribution",            "=ROUND(LOGNORM.INV(0.039084,3.5,1.2),4)",           "4"},
    {"LOGNORMDIST",      {number(), number(), number()},                                  Trait::Pure, logNormDistOld,          "cumulative lognormal distribution",                 "=ROUND(LOGNORMDIST(4,3.5,1.2),6)",                  "0.039084"},
    {"NEGBINOM.DIST",    {number(), number(), number(), boolean()},                       Trait::Pure, negBinomDist,            "negative binomial distribution",                    "=ROUND(NEGBINOM.DIST(10,5,0.25,TRUE),6)",           "0.313514"},
    {"NEGBINOMDIST",     {number(), number(), number()},                                  Trait::Pure, negBinomDistOld,         "negative binomial distribution",                    "=ROUND(NEGBINOMDIST(10,5,0.25),6)",                 "0.055049"},
    {"NORM.DIST",        {number(), number(), number(), boolean()},                       Trait::Pure, normDist,                "normal distribution",                               "=ROUND(NORM.DIST(42,40,1.5,TRUE),7)",               "0.9087888"},
    {"NORM.INV",         {number(), number(), number()},                                  Trait::Pure, normInv,                 "quantile of the normal distribution",               "=ROUND(NORM.INV(0.975,0,1),6)",                     "1.959964"},
    {"NORM.S.DIST",      {number(), boolean()},                                           Trait::Pure, normSDist,               "standard normal distribution",                      "=ROUND(NORM.S.DIST(1.333333,TRUE),6)",              "0.908789"},
    {"NORM.S.INV",       {number()},                                                      Trait::Pure, map1<normalQuantile>,    "quantile of the standard normal distribution",      "=ROUND(NORM.S.INV(0.975),6)",                       "1.959964"},
    {"NORMDIST",         {number(), number(), number(), boolean()},                       Trait::Pure, normDist,                "normal distribution",                               "=ROUND(NORMDIST(42,40,1.5,FALSE),7)",               "0.10934"},
    {"NORMINV",          {number(), number(), number()},                                  Trait::Pure, normInv,                 "quantile of the normal distribution",               "=NORMINV(0.5,40,1.5)",                              "40"},
    {"NORMSDIST",        {number()},                                                      Trait::Pure, map1<normalCumulative>,  "cumulative standard normal distribution",           "=ROUND(NORMSDIST(1.333333),6)",                     "0.908789"},
    {"NORMSINV",         {number()},                                                      Trait::Pure, map1<normalQuantile>,    "quantile of the standard normal distribution",      "=ROUND(NORMSINV(0.9087888),4)",                     "1.3333"},
    {"PHI",              {number()},                                                      Trait::Pure, map1<normalDensity>,     "density of the standard normal distribution",       "=ROUND(PHI(0.75),7)",                               "0.3011374"},
    {"POISSON",          {number(), number(), boolean()},                                 Trait::Pure, poissonDist,             "Poisson distribution",                              "=ROUND(POISSON(2,5,FALSE),6)",                      "0.084224"},
    {"POISSON.DIST",     {number(), number(), boolean()},                                 Trait::Pure, poissonDist,             "Poisson distribution",                              "=ROUND(POISSON.DIST(2,5,TRUE),6)",                  "0.124652"},
    {"T.DIST",           {number(), number(), boolean()},                                 Trait::Pure, tDist,                   "Student's t distribution",                          "=ROUND(T.DIST(60,1,TRUE),8)",                       "0.99469533"},
    {"T.DIST.2T",        {number(), number()},                                            Trait::Pure, tDistTwo,                "both tails of Student's t distribution",            "=ROUND(T.DIST.2T(1.959999998,60),6)",               "0.054645"},
    {"T.DIST.RT",        {number(), number()},                                            Trait::Pure, tDistRight,              "upper tail of Student's t distribution",            "=ROUND(T.DIST.RT(1.959999998,60),6)",               "0.027322"},
    {"T.INV",            {number(), number()},                                            Trait::Pure, tInv,                    "quantile of Student's t distribution",              "=ROUND(T.INV(0.75,2),7)",                           "0.8164966"},
    {"T.INV.2T",         {number(), number()},                                            Trait::Pure, tInvTwo,                 "t value of both tails",                             "=ROUND(T.INV.2T(0.546449,60),6)",                   "0.606533"},
    {"T.TEST",           {array(), array(), number(), number()},                          Trait::Pure, tTest,                   "test of equal means",                               "=ROUND(T.TEST({3,4,5,8,9,1,2,4,5},{6,19,3,2,14,4,5,17,1},2,1),6)", "0.196016"},
    {"TDIST",            {number(), number(), number()},                                  Trait::Pure, tDistOld,                "one or both tails of Student's t distribution",     "=ROUND(TDIST(1.959999998,60,2),6)",                 "0.054645"},
    {"TINV",             {number(), number()},                                            Trait::Pure, tInvTwo,                 "t value of both tails",                             "=ROUND(TINV(0.054645,60),4)",                       "1.96"},
    {"TTEST",            {array(), array(), number(), number()},                          Trait::Pure, tTest,                   "test of equal means",                               "=ROUND(TTEST({3,4,5,8,9,1,2,4,5},{6,19,3,2,14,4,5,17,1},2,1),6)", "0.196016"},
    {"WEIBULL",          {number(), number(), number(), boolean()},                       Trait::Pure, weibullDist,             "Weibull distribution",                              "=ROUND(WEIBULL(105,20,100,TRUE),6)",                "0.929581"},
    {"WEIBULL.DIST",     {number(), number(), number(), boolean()},                       Trait::Pure, weibullDist,             "Weibull distribution",                              "=ROUND(WEIBULL.DIST(105,20,100,FALSE),6)",          "0.035589"},
    {"Z.TEST",           {range(), number(), optional(number())},                         Trait::Pure, zTest,                   "upper tail of a test of the mean",                  "=ROUND(Z.TEST({3,6,7,8,6,5,4,2,1,9},4),6)",         "0.090574"},
    {"ZTEST",            {range(), number(), optional(number())},                         Trait::Pure, zTest,                   "upper tail of a test of the mean",                  "=ROUND(ZTEST({3,6,7,8,6,5,4,2,1,9},6),6)",          "0.863043"},
};
// clang-format on
static_assert(wellFormed(rows));

} // namespace

std::span<const FunctionRow> distributionFunctions() { return rows; }

} // namespace varnex3::sheet
