// stats/distributions/Johnson.cpp - the Johnson system: SN, SL, SU, SB, by parameters or by moments.
//
// z = gamma + delta * g((x - xi) / lambda) is standard normal, with g(y) = y (SN), ln y (SL), asinh y (SU),
// ln(y / (1 - y)) (SB). [Joh49]
#include <algorithm>
#include <cmath>
#include <functional>
#include <utility>

#include "runtime/Elementary.h"
#include "stats/distributions/Family.h"

namespace varnex3 {
namespace {

enum System : int { kSN, kSL, kSU, kSB };

struct Johnson {
    int system;
    double gamma, delta, xi, lambda;
};

Johnson unpack(const FamilyValues& f)
{
    return {f.system, f.fitted[0], f.fitted[1], f.fitted[2], f.fitted[3]};
}

void pack(FamilyValues& f, const Johnson& j)
{
    f.system = j.system;
    f.fitted = {j.gamma, j.delta, j.xi, j.lambda};
}

Support support(const FamilyValues& f)
{
    const Johnson j = unpack(f);
    if (j.system == kSB) return {j.xi, j.xi + j.lambda};
    if (j.system == kSL) return j.lambda > 0.0 ? Support{j.xi, kInfinity} : Support{-kInfinity, j.xi};
    return {};
}

/// The normal score of x and its slope dz/dy; `inside` is false outside the support.
struct Score {
    double z = 0.0, slope = 0.0;
    bool inside = true;
};
Score score(const Johnson& j, double x)
{
    const double y = (x - j.xi) / j.lambda;
    if (j.system == kSN) return {j.gamma + j.delta * y, j.delta};
    if (j.system == kSU) return {j.gamma + j.delta * elementary::asinh(y), j.delta / std::sqrt(1.0 + y * y)};
    if (j.system == kSL) {
        if (y <= 0.0) return {0.0, 0.0, false};
        return {j.gamma + j.delta * elementary::log(y), j.delta / y};
    }
    const double rest = (j.xi + j.lambda - x) / j.lambda;
    if (y <= 0.0 || rest <= 0.0) return {0.0, 0.0, false};
    return {j.gamma + j.delta * elementary::log(y / rest), j.delta / (y * rest)};
}

double pdf(const FamilyValues& f, double x)
{
    const Johnson j = unpack(f);
    const Score s = score(j, x);
    return s.inside ? normalDensity(s.z) * s.slope / std::fabs(j.lambda) : 0.0;
}

Probability probability(const FamilyValues& f, double x)
{
    const Johnson j = unpack(f);
    const Support ends = support(f);
    if (x <= ends.lower) return {0.0, 1.0};
    if (x >= ends.upper) return {1.0, 0.0};
    const Probability p = normalProbability(score(j, x).z);
    return j.lambda > 0.0 ? p : Probability{p.above, p.below}; // SL mirrored
}

double quantile(const FamilyValues& f, const Probability& p)
{
    const Johnson j = unpack(f);
    const double z = j.lambda > 0.0 ? normalQuantile(p) : -normalQuantile(p);
    const double t = (z - j.gamma) / j.delta;
    switch (j.system) {
    case kSN: return j.xi + j.lambda * t;
    case kSL: return j.xi + j.lambda * elementary::exp(t);
    case kSU: return j.xi + j.lambda * elementary::sinh(t);
    default:
        return t <= 0.0 ? j.xi + j.lambda / (1.0 + elementary::exp(-t))
                        : (j.xi + j.lambda) - j.lambda / (1.0 + elementary::exp(t));
    }
}

/// Mean, standard deviation, skewness and kurtosis.
struct Shape {
    double mean, stdev, skewness, kurtosis;
};

/// Moments of y = 1 / (1 + exp(-(z - gamma) / delta)), z standard normal, which have no closed form. The
/// trapezoidal sum converges geometrically: the integrand's nearest poles lie pi * delta off the real axis.
Shape moments01(double gamma, double delta)
{
    const double h = std::min(0.4, 0.5 * delta);
    const double reach = std::min(38.0, 9.0 + 4.0 / delta); // y^4 may peak at z = 4 / delta
    const auto steps = static_cast<long>(std::ceil(reach / h));
    auto at = [=](long i) {
        return 1.0 / (1.0 + elementary::exp(-(static_cast<double>(i) * h - gamma) / delta));
    };
    auto weight = [=](long i) { return h * normalDensity(static_cast<double>(i) * h); };

    double mean = 0.0, m2 = 0.0, m3 = 0.0, m4 = 0.0;
    for (long i = -steps; i <= steps; ++i) mean += weight(i) * at(i);
    for (long i = -steps; i <= steps; ++i) {
        const double d = at(i) - mean, w = weight(i) * d * d;
        m2 += w;
        m3 += w * d;
        m4 += w * d * d;
    }
    return {mean, std::sqrt(m2), m3 / (m2 * std::sqrt(m2)), m4 / (m2 * m2)};
}

Moments moments(const FamilyValues& f)
{
    const Johnson j = unpack(f);
    const double omega = j.gamma / j.delta, w = elementary::exp(1.0 / (j.delta * j.delta));
    const double spread = elementary::expm1(1.0 / (j.delta * j.delta)); // w - 1
    const double scale = std::fabs(j.lambda);
    switch (j.system) {
    case kSN: return {j.xi - j.lambda * omega, scale / j.delta};
    case kSL: {
        const double centre = std::sqrt(w) * elementary::exp(-omega);
        return {j.xi + j.lambda * centre, scale * centre * std::sqrt(spread)};
    }
    case kSU:
        return {j.xi - j.lambda * std::sqrt(w) * elementary::sinh(omega),
                scale * std::sqrt(0.5 * spread * (w * elementary::cosh(2.0 * omega) + 1.0))};
    default: {
        const Shape unit = moments01(j.gamma, j.delta);
        return {j.xi + j.lambda * unit.mean, scale * unit.stdev};
    }
    }
}

/// The root of a continuous function between a and b, where its signs differ: false position with the
/// Illinois rule [DJ71], to the last digits.
double rootBetween(const std::function<double(double)>& f, double a, double b)
{
    double fa = f(a), fb = f(b);
    for (int i = 0; i < 200 && fa != 0.0 && fb != 0.0; ++i) {
        double x = b - fb * (b - a) / (fb - fa);
        if (!(x > std::min(a, b) && x < std::max(a, b))) x = 0.5 * (a + b);
        if (x == a || x == b || std::fabs(b - a) <= 4e-16 * std::fabs(b)) break;
        const double fx = f(x);
        if ((fx < 0.0) == (fb < 0.0)) {
            fa *= 0.5;
        } else {
            a = b;
            fa = fb;
        }
        b = x;
        fb = fx;
    }
    return fa == 0.0 ? a : b;
}

/// w - 1 of the lognormal line through the squared skewness: (w - 1)(w + 2)^2 = skew2.
double lognormalSpread(double skew2)
{
    const double u = elementary::cbrt(1.0 + 0.5 * (skew2 + std::sqrt(skew2 * (4.0 + skew2))));
    return (u - 1.0) * (u - 1.0) / u;
}

double lognormalKurtosis(double spread)
{
    const double w = 1.0 + spread;
    return w * w * (w * w + 2.0 * w + 3.0) - 3.0;
}

/// SU: for a given w the kurtosis fixes C = cosh(2 gamma / delta) by a quadratic; w then meets the skewness.
Johnson fitSU(const Shape& target)
{
    const double skew2 = target.skewness * target.skewness, b2 = target.kurtosis;
    auto coshOf = [b2](double w) {
        const double k = w * w * (w * w * (w * w + 2.0 * w + 3.0) - 3.0);
        const double a = 2.0 * (k - b2 * w * w), b = 4.0 * w * (w * (w + 2.0) - b2);
        const double c = 3.0 * (2.0 * w + 1.0) - k - 2.0 * b2;
        return std::max(1.0, (-b + std::sqrt(std::max(0.0, b * b - 4.0 * a * c))) / (2.0 * a));
    };
    auto skewError = [&](double w) {
        const double C = coshOf(w);
        if (std::isinf(C)) return (w - 1.0) * (w + 2.0) * (w + 2.0) - skew2;
        const double s = w * (w + 2.0) * (2.0 * C + 1.0) + 3.0, v = w * C + 1.0;
        return w * (w - 1.0) * ((C - 1.0) / v) * (s / v) * (s / v) / 4.0 - skew2;
    };
    // between the lognormal line (C infinite) and no skewness (C = 1)
    const double symmetric = std::sqrt(std::sqrt(2.0 * b2 - 2.0) - 1.0);
    const double lowest =
        rootBetween([b2](double w) { return lognormalKurtosis(w - 1.0) - b2; }, 1.0, symmetric);
    const double w = skew2 == 0.0 ? symmetric : rootBetween(skewError, lowest * (1.0 + 1e-15), symmetric);
    const double C = skew2 == 0.0 ? 1.0 : coshOf(w);
    const double delta = 1.0 / std::sqrt(elementary::log(w));
    const double omega = std::copysign(0.5 * elementary::acosh(C), -target.skewness);
    const double lambda = target.stdev / std::sqrt(0.5 * (w - 1.0) * (w * C + 1.0));
    return {kSU, omega * delta, delta, target.mean + lambda * std::sqrt(w) * elementary::sinh(omega), lambda};
}

constexpr double kSmallestDelta = 0.05; // below, an SB distribution is two points but for rounding

/// SB, gamma for a given delta so that the skewness is met; gamma >= 0.
double gammaSB(double delta, double skewness)
{
    if (skewness == 0.0) return 0.0;
    auto error = [&](double gamma) { return moments01(gamma, delta).skewness - skewness; };
    double upper = std::max(0.1, delta);
    for (int i = 0; i < 12 && error(upper) < 0.0; ++i) upper *= 2.0;
    return error(upper) < 0.0 ? upper : rootBetween(error, 0.0, upper);
}

/// SB: delta meets the kurtosis while gamma follows to keep the skewness. False when the kurtosis is too low.
bool fitSB(const Shape& target, Johnson& result)
{
    const double skewness = std::fabs(target.skewness);
    auto error = [&](double delta) {
        return moments01(gammaSB(delta, skewness), delta).kurtosis - target.kurtosis;
    };
    const double line =
        skewness == 0.0 ? 1e4 : 1.0 / std::sqrt(elementary::log1p(lognormalSpread(skewness * skewness)));
    if (error(kSmallestDelta) > 0.0) return false;
    double upper = std::min(1.0, line);
    while (upper < line && error(upper) < 0.0) upper = std::min(2.0 * upper, line);
    const double delta = error(upper) < 0.0 ? upper : rootBetween(error, kSmallestDelta, upper);
    double gamma = gammaSB(delta, skewness);
    gamma = target.skewness < 0.0 ? -gamma : gamma;
    const Shape unit = moments01(gamma, delta);
    const double lambda = target.stdev / unit.stdev;
    result = {kSB, gamma, delta, target.mean - lambda * unit.mean, lambda};
    return true;
}

/// The member of the system with the four moments: which one follows from where the kurtosis lies against
/// the lognormal line of the skewness.
/// @source [HHH76] for the division of the plane and the SU equations
std::string fitProblem(FamilyValues& f)
{
    const Shape target{f.v[0], f.v[1], f.v[2], f.v[3]};
    const double skew2 = target.skewness * target.skewness;
    if (!(target.kurtosis > skew2 + 1.0)) return "Kurtosis is not greater than skewness squared plus 1";
    const double spread = lognormalSpread(skew2);
    const double line = lognormalKurtosis(spread);
    if (std::fabs(target.skewness) < 1e-6 && std::fabs(target.kurtosis - 3.0) < 1e-6) {
        pack(f, {kSN, 0.0, 1.0, target.mean, target.stdev});
    } else if (std::fabs(target.kurtosis - line) <= 1e-8 * line && spread > 0.0) {
        const double w = 1.0 + spread;
        const double lambda = std::copysign(target.stdev / std::sqrt(w * spread), target.skewness);
        pack(f, {kSL, 0.0, 1.0 / std::sqrt(elementary::log1p(spread)), target.mean - lambda * std::sqrt(w),
                 lambda});
    } else if (target.kurtosis > line) {
        pack(f, fitSU(target));
    } else {
        Johnson fitted{};
        if (!fitSB(target, fitted))
            return "Kurtosis is too close to its lower limit, skewness squared plus 1";
        pack(f, fitted);
    }
    return {};
}

template <int system>
std::string fourParameterProblem(FamilyValues& f)
{
    pack(f, {system, f.v[0], f.v[1], f.v[2], f.v[3]});
    if (f.v[3] > 0.0 || (system == kSL && f.v[3] < 0.0)) return {};
    return system == kSL ? "Scale lambda must not be 0" : "Scale lambda must be greater than 0";
}

constexpr std::array<FamilyParameter, 4> kFour = {{{"Shape gamma", Rule::Any},
                                                   {"Shape delta", Rule::Positive},
                                                   {"Location xi", Rule::Any, 0.0},
                                                   {"Scale lambda", Rule::Any, 1.0}}};

const Family rows[] = {
    {"Johnson",
     {{{"Mean"}, {"Standard deviation", Rule::Positive}, {"Skewness"}, {"Kurtosis", Rule::Positive}}},
     "the member of the Johnson system with these moments (kurtosis of a normal: 3)",
     "HHH76",
     fitProblem,
     support,
     pdf,
     probability,
     quantile,
     moments},
    {"Johnson SB", kFour, "gamma + delta ln(y / (1 - y)) is standard normal, y = (x - xi) / lambda", "Joh49",
     fourParameterProblem<kSB>, support, pdf, probability, quantile, moments},
    {"Johnson SU", kFour, "gamma + delta asinh(y) is standard normal, y = (x - xi) / lambda", "Joh49",
     fourParameterProblem<kSU>, support, pdf, probability, quantile, moments},
    {"Johnson SL", kFour, "gamma + delta ln(y) is standard normal, y = (x - xi) / lambda; lambda < 0 mirrors",
     "Joh49", fourParameterProblem<kSL>, support, pdf, probability, quantile, moments},
    {"Johnson SN", kFour, "gamma + delta y is standard normal, y = (x - xi) / lambda", "Joh49",
     fourParameterProblem<kSN>, support, pdf, probability, quantile, moments},
};

} // namespace

std::span<const Family> johnsonFamilies() { return rows; }

} // namespace varnex3
