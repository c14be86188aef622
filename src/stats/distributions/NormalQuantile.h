// stats/distributions/NormalQuantile.h - the standard normal distribution at the speed a trial needs.
//
// c_Statistics holds the normal functions that users call; these two serve the distribution families.
#pragma once

namespace varnex3 {

/// A probability from both sides, so that neither tail loses digits: below + above = 1.
struct Probability {
    double below = 0.0;
    double above = 1.0;
};

/// The z with `p.below` of a standard normal's probability below it. Both sides must be positive.
/// Relative error about 1e-16 for either tail down to 1e-300.
/// @source [Wic88], routine PPND16
double normalQuantile(const Probability& p);

/// The probability of a standard normal on either side of z; relative error about 1e-15 in both tails.
Probability normalProbability(double z);

/// The standard normal density at z.
double normalDensity(double z);

} // namespace varnex3
