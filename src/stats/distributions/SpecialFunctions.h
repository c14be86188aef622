// stats/distributions/SpecialFunctions.h - the incomplete gamma and beta functions and their inverses.
//
// The only door to Boost.Math in this library. Everything here is a plain function of doubles; tails come
// from both sides so that neither loses digits.
#pragma once

#include "stats/distributions/NormalQuantile.h"

namespace varnex3::special {

double logGamma(double a);

/// Gamma distribution of shape a and scale 1.
Probability gammaProbability(double a, double x);
double gammaQuantile(double a, const Probability& p);

/// Beta distribution on [0, 1].
Probability betaProbability(double a, double b, double x, double oneMinusX);
/// The quantile and its distance to 1, each to full precision.
struct UnitPoint {
    double x, oneMinusX;
};
UnitPoint betaQuantile(double a, double b, const Probability& p);
/// Density at x, not divided by the width of a scaled support.
double betaDensity(double a, double b, double x);

/// Student's t with the given degrees of freedom.
Probability studentProbability(double degrees, double t);
double studentQuantile(double degrees, const Probability& p);
double studentDensity(double degrees, double t);

} // namespace varnex3::special
