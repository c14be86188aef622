// sensitivity/DifferenceQuotient.cpp - central differences and what stands in for them at a cliff.
#include "sensitivity/DifferenceQuotient.h"

#include <cmath>

namespace varnex3 {

double checkedQuotient(double numerator, double denominator)
{
    if (denominator == 0.0) raise(errors::DivisionByZero);
    const double quotient = numerator / denominator;
    if (!std::isfinite(quotient)) raise(errors::Overflow);
    return quotient;
}

double firstQuotient(const ResponseTriple& y, double h)
{
    const bool minus = isNumeric(y.minus), at = isNumeric(y.at), plus = isNumeric(y.plus);
    if (minus && plus) return checkedQuotient(toDouble(y.plus) - toDouble(y.minus), 2.0 * h);
    if (at && plus) return checkedQuotient(toDouble(y.plus) - toDouble(y.at), h);
    if (minus && at) return checkedQuotient(toDouble(y.at) - toDouble(y.minus), h);
    return 0.0;
}

double secondQuotient(const ResponseTriple& y, double h)
{
    if (!isNumeric(y.minus) || !isNumeric(y.at) || !isNumeric(y.plus)) return 0.0;
    return checkedQuotient(toDouble(y.plus) + toDouble(y.minus) - 2.0 * toDouble(y.at), h * h);
}

} // namespace varnex3
