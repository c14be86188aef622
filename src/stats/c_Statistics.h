// stats/c_Statistics.h - normal-distribution arithmetic: density, tails, quantile, pass probability.
//
// Holds no state. Unlike the rest of the library it hands its errors to the caller with a source and a
// description of its own instead of a trail.
#pragma once

#include <cstdint>

#include "runtime/Object.h"
#include "runtime/Variant.h"

namespace varnex3 {

class c_Statistics : public Object {
public:
    // Ends of the search of findZ.
    double FINDZ_MAX() const { return 37.5; }
    double FINDZ_MIN() const { return -8.0; }

    /// The normal density at x, for any mean and standard deviation.
    /// @raises -2147221124 for a negative stdev, 11 for one of 0
    double NormPDF(double x, double mean = 0.0, const Variant& stdev = 1.0) const;

    /// The standard normal probability below z, or above it; about 15 digits in either tail.
    /// @source [Cody69]
    double normCDF(double z, bool upperTail = false) const;

    /// The z whose upper-tail probability is `tailTarget`, rounded to `digits` decimals (1 at least:
    /// the caller's variable is raised); 0 when the target is not numeric.
    /// @raises 11 for a target outside [0, 1], 6 for more digits than a double can scale by
    double findZ(const Variant& tailTarget, std::int16_t& digits) const;
    double findZ(const Variant& tailTarget) const;

    /// The probability that an item lies beyond the upper limit `sl` and passes a test all the same.
    /// @param testsd  standard deviation of the test's measurement
    /// @raises 11 for a negative standard deviation
    double PassBad(double mean, double stdev, double sl, double testsd) const;
};

} // namespace varnex3
