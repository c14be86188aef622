// stats/distributions/NormalQuantile.cpp - normal quantiles by rational approximation.
#include "stats/distributions/NormalQuantile.h"

#include <cmath>
#include <cstddef>

#include "runtime/Elementary.h"

namespace varnex3 {
namespace {

constexpr std::size_t kTerms = 8;

// [Wic88]: |p - 1/2| <= 0.425, in 0.180625 - (p - 1/2)^2.
constexpr double kCentreN[kTerms] = {
    3.3871328727963666080e0, 1.3314166789178437745e2, 1.9715909503065514427e3, 1.3731693765509461125e4,
    4.5921953931549871457e4, 6.7265770927008700853e4, 3.3430575583588128105e4, 2.5090809287301226727e3};
constexpr double kCentreD[kTerms] = {1.0,
                                     4.2313330701600911252e1,
                                     6.8718700749205790830e2,
                                     5.3941960214247511077e3,
                                     2.1213794301586595867e4,
                                     3.9307895800092710610e4,
                                     2.8729085735721942674e4,
                                     5.2264952788528545610e3};
// sqrt(-ln tail) <= 5, in that root less 1.6.
constexpr double kMiddleN[kTerms] = {1.42343711074968357734e0,  4.63033784615654529590e0,
                                     5.76949722146069140550e0,  3.64784832476320460504e0,
                                     1.27045825245236838258e0,  2.41780725177450611770e-1,
                                     2.27238449892691845833e-2, 7.74545014278341407640e-4};
constexpr double kMiddleD[kTerms] = {1.0,
                                     2.05319162663775882187e0,
                                     1.67638483018380384940e0,
                                     6.89767334985100004550e-1,
                                     1.48103976427480074590e-1,
                                     1.51986665636164571966e-2,
                                     5.47593808499534494600e-4,
                                     1.05075007164441684324e-9};
// Beyond, in that root less 5.
constexpr double kFarN[kTerms] = {6.65790464350110377720e0,  5.46378491116411436990e0,
                                  1.78482653991729133580e0,  2.96560571828504891230e-1,
                                  2.65321895265761230930e-2, 1.24266094738807843860e-3,
                                  2.71155556874348757815e-5, 2.01033439929228813265e-7};
constexpr double kFarD[kTerms] = {1.0,
                                  5.99832206555887937690e-1,
                                  1.36929880922735805310e-1,
                                  1.48753612908506148525e-2,
                                  7.86869131145613259100e-4,
                                  1.84631831751005468180e-5,
                                  1.42151175831644588870e-7,
                                  2.04426310338993978564e-15};

double ratio(const double (&numerator)[kTerms], const double (&denominator)[kTerms], double r)
{
    double n = numerator[kTerms - 1], d = denominator[kTerms - 1];
    for (std::size_t i = kTerms - 1; i-- > 0;) {
        n = n * r + numerator[i];
        d = d * r + denominator[i];
    }
    return n / d;
}

} // namespace

double normalQuantile(const Probability& p)
{
    const double q = p.below < p.above ? p.below - 0.5 : 0.5 - p.above;
    if (std::fabs(q) <= 0.425) return q * ratio(kCentreN, kCentreD, 0.180625 - q * q);
    const double r = std::sqrt(-elementary::log(q < 0.0 ? p.below : p.above));
    const double z = r <= 5.0 ? ratio(kMiddleN, kMiddleD, r - 1.6) : ratio(kFarN, kFarD, r - 5.0);
    return q < 0.0 ? -z : z;
}

Probability normalProbability(double z)
{
    constexpr double kRootHalf = 0.70710678118654752440;
    return {0.5 * elementary::erfc(-z * kRootHalf), 0.5 * elementary::erfc(z * kRootHalf)};
}

double normalDensity(double z)
{
    constexpr double kOneOverRootTwoPi = 0.39894228040143267794;
    return kOneOverRootTwoPi * elementary::exp(-0.5 * z * z);
}

} // namespace varnex3
