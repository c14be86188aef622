// runtime/Number.h - numbers and their texts as the host's macro runtime treats them.
//
// Every conversion of the analysis library stands here. None depends on the locale.
#pragma once

#include <cmath>
#include <optional>
#include <string>
#include <string_view>

#include "runtime/Error.h"

namespace varnex3 {

/// The floor: Int(-0.5) is -1.
inline double Int(double x) { return std::floor(x); }

/// The nearest whole number, halves to the even neighbour; still a double.
double roundHalfEven(double x);

/// The nearest 32-bit whole number, halves to even. Raises 6 when it does not fit or x is not finite.
Long toLong(double x);

/// a + b, a * b in 32 bits; raise 6 where the result does not fit.
Long addLong(Long a, Long b);
Long multiplyLong(Long a, Long b);

/// The number that a text stands for under the runtime's numeric test: blanks around it, one sign,
/// digits with a decimal point, an exponent after e, E, d or D. Nothing for any other text, the
/// empty one included.
std::optional<double> parseNumber(std::string_view text);

/// The system's one conversion of a double to text: up to 15 significant digits, no blanks, exponents
/// as in 1E-06 and 1E+15.
std::string toText(double x);

/// "True" or "False".
std::string toText(bool b);

/// A double written with a format of zeros, optional digits and an exponent, such as "0", "0.0#####"
/// or "0.0#####E+00". Rounds halves away from zero, as the runtime's formatting does.
/// Raises 5 for a pattern outside that form.
std::string formatNumber(double x, std::string_view pattern);

} // namespace varnex3
