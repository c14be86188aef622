// stats/distributions/Elementary.cpp - families whose quantiles are elementary functions or normal ones.
//
// Every row takes x as location + scale * (a standard variable); tails are worked from their own side.
#include <cmath>

#include "runtime/Elementary.h"
#include "stats/distributions/Family.h"
#include "stats/distributions/SpecialFunctions.h"

namespace varnex3 {
namespace {

constexpr double kEulerGamma = 0.57721566490153286061;
constexpr double kPi = 3.14159265358979323846;
const double kRootSix = std::sqrt(6.0);

std::string noProblem(FamilyValues&) { return {}; }
Support wholeLine(const FamilyValues&) { return {}; }
Support aboveThird(const FamilyValues& f) { return {f.v[2], kInfinity}; }
Support aboveSecond(const FamilyValues& f) { return {f.v[1], kInfinity}; }

double minusLogBelow(const Probability& p)
{
    return p.above < 0.5 ? -elementary::log1p(-p.above) : -elementary::log(p.below);
}
double minusLogAbove(const Probability& p) { return minusLogBelow({p.above, p.below}); }

/// The probability of an exponential variable at or below e.
Probability exponentialProbability(double e)
{
    if (e <= 0.0) return {0.0, 1.0};
    return {-elementary::expm1(-e), elementary::exp(-e)};
}

// Normal: mean v[0], standard deviation v[1].
double normalPdf(const FamilyValues& f, double x) { return normalDensity((x - f.v[0]) / f.v[1]) / f.v[1]; }
Probability normalCdf(const FamilyValues& f, double x) { return normalProbability((x - f.v[0]) / f.v[1]); }
double normalInverse(const FamilyValues& f, const Probability& p)
{
    return f.v[0] + f.v[1] * normalQuantile(p);
}
Moments normalMoments(const FamilyValues& f) { return {f.v[0], f.v[1]}; }

// Lognormal: mean v[0] and standard deviation v[1] of ln(x - threshold), threshold v[2].
double lognormalPdf(const FamilyValues& f, double x)
{
    const double d = x - f.v[2];
    if (d <= 0.0) return 0.0;
    return normalDensity((elementary::log(d) - f.v[0]) / f.v[1]) / (f.v[1] * d);
}
Probability lognormalCdf(const FamilyValues& f, double x)
{
    const double d = x - f.v[2];
    if (d <= 0.0) return {0.0, 1.0};
    return normalProbability((elementary::log(d) - f.v[0]) / f.v[1]);
}
double lognormalInverse(const FamilyValues& f, const Probability& p)
{
    return f.v[2] + elementary::exp(f.v[0] + f.v[1] * normalQuantile(p));
}
Moments lognormalMoments(const FamilyValues& f)
{
    const double s2 = f.v[1] * f.v[1];
    const double mean = elementary::exp(f.v[0] + 0.5 * s2);
    return {f.v[2] + mean, mean * std::sqrt(elementary::expm1(s2))};
}

// Exponential: mean above the threshold v[0], threshold v[1].
double exponentialPdf(const FamilyValues& f, double x)
{
    return x < f.v[1] ? 0.0 : elementary::exp(-(x - f.v[1]) / f.v[0]) / f.v[0];
}
Probability exponentialCdf(const FamilyValues& f, double x)
{
    return exponentialProbability((x - f.v[1]) / f.v[0]);
}
double exponentialInverse(const FamilyValues& f, const Probability& p)
{
    return f.v[1] + f.v[0] * minusLogAbove(p);
}
Moments exponentialMoments(const FamilyValues& f) { return {f.v[1] + f.v[0], f.v[0]}; }

// Weibull: shape v[0], scale v[1], threshold v[2].
double weibullPdf(const FamilyValues& f, double x)
{
    const double y = (x - f.v[2]) / f.v[1];
    if (y < 0.0 || (y == 0.0 && f.v[0] != 1.0)) return 0.0;
    return f.v[0] / f.v[1] * elementary::pow(y, f.v[0] - 1.0) * elementary::exp(-elementary::pow(y, f.v[0]));
}
Probability weibullCdf(const FamilyValues& f, double x)
{
    const double y = (x - f.v[2]) / f.v[1];
    return y <= 0.0 ? Probability{0.0, 1.0} : exponentialProbability(elementary::pow(y, f.v[0]));
}
double weibullInverse(const FamilyValues& f, const Probability& p)
{
    return f.v[2] + f.v[1] * elementary::pow(minusLogAbove(p), 1.0 / f.v[0]);
}
Moments weibullMoments(const FamilyValues& f)
{
    // variance / scale^2 = G(1 + 2/k) - G(1 + 1/k)^2, through logarithms so that a large k loses nothing
    const double log1 = special::logGamma(1.0 + 1.0 / f.v[0]), log2 = special::logGamma(1.0 + 2.0 / f.v[0]);
    const double first = elementary::exp(log1);
    return {f.v[2] + f.v[1] * first, f.v[1] * first * std::sqrt(elementary::expm1(log2 - 2.0 * log1))};
}

// Rayleigh: scale v[0], threshold v[1].
double rayleighPdf(const FamilyValues& f, double x)
{
    const double y = (x - f.v[1]) / f.v[0];
    return y <= 0.0 ? 0.0 : y / f.v[0] * elementary::exp(-0.5 * y * y);
}
Probability rayleighCdf(const FamilyValues& f, double x)
{
    const double y = (x - f.v[1]) / f.v[0];
    return y <= 0.0 ? Probability{0.0, 1.0} : exponentialProbability(0.5 * y * y);
}
double rayleighInverse(const FamilyValues& f, const Probability& p)
{
    return f.v[1] + f.v[0] * std::sqrt(2.0 * minusLogAbove(p));
}
Moments rayleighMoments(const FamilyValues& f)
{
    return {f.v[1] + f.v[0] * std::sqrt(kPi / 2.0), f.v[0] * std::sqrt(2.0 - kPi / 2.0)};
}

// Logistic: location v[0], scale v[1].
double logisticPdf(const FamilyValues& f, double x)
{
    const double e = elementary::exp(-std::fabs(x - f.v[0]) / f.v[1]);
    return e / (f.v[1] * (1.0 + e) * (1.0 + e));
}
Probability logisticCdf(const FamilyValues& f, double x)
{
    const double t = (x - f.v[0]) / f.v[1];
    return {1.0 / (1.0 + elementary::exp(-t)), 1.0 / (1.0 + elementary::exp(t))};
}
double logisticInverse(const FamilyValues& f, const Probability& p)
{
    const bool central = p.below > 0.25 && p.above > 0.25; // ln(below / above) around a ratio of 1
    const double t =
        central ? elementary::log1p((p.below - p.above) / p.above) : elementary::log(p.below / p.above);
    return f.v[0] + f.v[1] * t;
}
Moments logisticMoments(const FamilyValues& f) { return {f.v[0], f.v[1] * kPi / std::sqrt(3.0)}; }

// Gumbel: location v[0], scale v[1]. The minimum is the maximum mirrored.
double gumbelDensity(double t) // of the standard maximum
{
    return elementary::exp(-t - elementary::exp(-t));
}
Probability gumbelProbability(double t)
{
    const double e = elementary::exp(-t);
    return {elementary::exp(-e), -elementary::expm1(-e)};
}
double gumbelMaxPdf(const FamilyValues& f, double x) { return gumbelDensity((x - f.v[0]) / f.v[1]) / f.v[1]; }
Probability gumbelMaxCdf(const FamilyValues& f, double x) { return gumbelProbability((x - f.v[0]) / f.v[1]); }
double gumbelMaxInverse(const FamilyValues& f, const Probability& p)
{
    return f.v[0] - f.v[1] * elementary::log(minusLogBelow(p));
}
Moments gumbelMaxMoments(const FamilyValues& f)
{
    return {f.v[0] + kEulerGamma * f.v[1], f.v[1] * kPi / kRootSix};
}
double gumbelMinPdf(const FamilyValues& f, double x) { return gumbelDensity((f.v[0] - x) / f.v[1]) / f.v[1]; }
Probability gumbelMinCdf(const FamilyValues& f, double x)
{
    const Probability mirrored = gumbelProbability((f.v[0] - x) / f.v[1]);
    return {mirrored.above, mirrored.below};
}
double gumbelMinInverse(const FamilyValues& f, const Probability& p)
{
    return f.v[0] + f.v[1] * elementary::log(minusLogAbove(p));
}
Moments gumbelMinMoments(const FamilyValues& f)
{
    return {f.v[0] - kEulerGamma * f.v[1], f.v[1] * kPi / kRootSix};
}

constexpr FamilyParameter kThreshold{"Threshold", Rule::Any, 0.0};

const Family rows[] = {
    {"Normal",
     {{{"Mean"}, {"Standard deviation", Rule::NotNegative}}},
     "f(x) = exp(-z^2/2) / (s sqrt(2 pi)), z = (x - m) / s",
     "JKB94",
     noProblem,
     wholeLine,
     normalPdf,
     normalCdf,
     normalInverse,
     normalMoments},
    {"Lognormal",
     {{{"Mean of the logarithm"}, {"Standard deviation of the logarithm", Rule::Positive}, kThreshold}},
     "ln(x - t) is normal with mean m and standard deviation s",
     "JKB94",
     noProblem,
     aboveThird,
     lognormalPdf,
     lognormalCdf,
     lognormalInverse,
     lognormalMoments},
    {"Exponential",
     {{{"Scale", Rule::Positive}, kThreshold}},
     "F(x) = 1 - exp(-(x - t) / b), scale b = mean above the threshold",
     "JKB94",
     noProblem,
     aboveSecond,
     exponentialPdf,
     exponentialCdf,
     exponentialInverse,
     exponentialMoments},
    {"Weibull",
     {{{"Shape", Rule::Positive}, {"Scale", Rule::Positive}, kThreshold}},
     "F(x) = 1 - exp(-((x - t) / b)^k)",
     "JKB94",
     noProblem,
     aboveThird,
     weibullPdf,
     weibullCdf,
     weibullInverse,
     weibullMoments},
    {"Rayleigh",
     {{{"Scale", Rule::Positive}, kThreshold}},
     "F(x) = 1 - exp(-((x - t) / s)^2 / 2)",
     "JKB94",
     noProblem,
     aboveSecond,
     rayleighPdf,
     rayleighCdf,
     rayleighInverse,
     rayleighMoments},
    {"Logistic",
     {{{"Location"}, {"Scale", Rule::Positive}}},
     "F(x) = 1 / (1 + exp(-(x - m) / s))",
     "JKB95",
     noProblem,
     wholeLine,
     logisticPdf,
     logisticCdf,
     logisticInverse,
     logisticMoments},
    {"Gumbel Minimum",
     {{{"Location"}, {"Scale", Rule::Positive}}},
     "F(x) = 1 - exp(-exp((x - m) / s))",
     "JKB95",
     noProblem,
     wholeLine,
     gumbelMinPdf,
     gumbelMinCdf,
     gumbelMinInverse,
     gumbelMinMoments},
    {"Gumbel Maximum",
     {{{"Location"}, {"Scale", Rule::Positive}}},
     "F(x) = exp(-exp(-(x - m) / s))",
     "JKB95",
     noProblem,
     wholeLine,
     gumbelMaxPdf,
     gumbelMaxCdf,
     gumbelMaxInverse,
     gumbelMaxMoments},
};

} // namespace

std::span<const Family> elementaryFamilies() { return rows; }

} // namespace varnex3
