// sheet/functions/Roots.h - where a function of one number crosses 0; for rates and yields.
#pragma once

#include "sheet/value/Environment.h"

namespace varnex3::sheet {

/// A root of f near `guess` above `least`: the secant method, then bisection between the nearest
/// change of sign around the guess when that fails. NaN when there is none.
double rootNear(FunctionRef<double(double)> f, double guess, double least);

} // namespace varnex3::sheet
