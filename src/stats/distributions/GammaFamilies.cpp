// stats/distributions/GammaFamilies.cpp - gamma and Student t, whose quantiles need special functions.
#include <cmath>

#include "runtime/Elementary.h"
#include "stats/distributions/Family.h"
#include "stats/distributions/SpecialFunctions.h"

namespace varnex3 {
namespace {

// Gamma: shape v[0], scale v[1], threshold v[2].
std::string gammaProblem(FamilyValues&) { return {}; }
Support gammaSupport(const FamilyValues& f) { return {f.v[2], kInfinity}; }
double gammaPdf(const FamilyValues& f, double x)
{
    const double y = (x - f.v[2]) / f.v[1];
    if (y < 0.0 || (y == 0.0 && f.v[0] != 1.0)) return 0.0;
    if (y == 0.0) return 1.0 / f.v[1];
    return elementary::exp((f.v[0] - 1.0) * elementary::log(y) - y - special::logGamma(f.v[0])) / f.v[1];
}
Probability gammaCdf(const FamilyValues& f, double x)
{
    return special::gammaProbability(f.v[0], (x - f.v[2]) / f.v[1]);
}
double gammaInverse(const FamilyValues& f, const Probability& p)
{
    return f.v[2] + f.v[1] * special::gammaQuantile(f.v[0], p);
}
Moments gammaMoments(const FamilyValues& f) { return {f.v[2] + f.v[1] * f.v[0], f.v[1] * std::sqrt(f.v[0])}; }

// Student t: degrees of freedom v[0], location v[1], scale v[2].
std::string studentProblem(FamilyValues& f)
{
    return f.v[0] > 2.0 ? "" : "Degrees of freedom must be greater than 2 (no standard deviation otherwise)";
}
Support studentSupport(const FamilyValues&) { return {}; }
double studentPdf(const FamilyValues& f, double x)
{
    return special::studentDensity(f.v[0], (x - f.v[1]) / f.v[2]) / f.v[2];
}
Probability studentCdf(const FamilyValues& f, double x)
{
    return special::studentProbability(f.v[0], (x - f.v[1]) / f.v[2]);
}
double studentInverse(const FamilyValues& f, const Probability& p)
{
    return f.v[1] + f.v[2] * special::studentQuantile(f.v[0], p);
}
Moments studentMoments(const FamilyValues& f)
{
    return {f.v[1], f.v[2] * std::sqrt(f.v[0] / (f.v[0] - 2.0))};
}

const Family rows[] = {
    {"Gamma",
     {{{"Shape", Rule::Positive}, {"Scale", Rule::Positive}, {"Threshold", Rule::Any, 0.0}}},
     "f(y) = y^(k-1) exp(-y) / (b G(k)), y = (x - t) / b",
     "JKB94",
     gammaProblem,
     gammaSupport,
     gammaPdf,
     gammaCdf,
     gammaInverse,
     gammaMoments},
    {"Student t",
     {{{"Degrees of freedom", Rule::Positive}, {"Location", Rule::Any, 0.0}, {"Scale", Rule::Positive, 1.0}}},
     "(x - m) / s has Student's t distribution",
     "JKB95",
     studentProblem,
     studentSupport,
     studentPdf,
     studentCdf,
     studentInverse,
     studentMoments},
};

} // namespace

std::span<const Family> gammaFamilies() { return rows; }

} // namespace varnex3
