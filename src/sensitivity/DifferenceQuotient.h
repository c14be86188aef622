// sensitivity/DifferenceQuotient.h - derivatives from three values of a response.
//
// Moving the input and reading the response is the callers' business.
#pragma once

#include "runtime/Variant.h"

namespace varnex3 {

/// A response at x - h, x and x + h; a value that is not numeric could not be computed there.
struct ResponseTriple {
    Variant minus, at, plus;
};

/// First derivative: central when both neighbours are numeric, else one-sided, else 0.
/// @raises 11 for a step of 0, 6 for a quotient that is too large
double firstQuotient(const ResponseTriple& y, double h);

/// Second derivative: central when all three are numeric, else 0.
/// @raises 11 for a step whose square is 0, 6 for a quotient that is too large
double secondQuotient(const ResponseTriple& y, double h);

/// numerator / denominator as the macro runtime divides: 11 for a zero denominator, 6 for a result that is
/// not finite.
double checkedQuotient(double numerator, double denominator);

} // namespace varnex3
