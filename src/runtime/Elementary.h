// runtime/Elementary.h - exponentials, logarithms and their relatives with the same bits on every system.
//
// The functions of <cmath> differ between systems, compilers' libraries and even processors in the last
// bit, which is enough to lead a seeded search elsewhere. These are built from + - * / and square roots,
// which IEEE 754 rounds in one way only. Analysis code calls these instead of their namesakes in <cmath>;
// sqrt, floor, ceil, fabs, ldexp and frexp are exact or correctly rounded there and stay.
//
// Errors stay below 0.65 units in the last place for normal results. Special
// arguments (zeros, infinities, NaN) answer as in <cmath>; nothing sets errno.
#pragma once

namespace varnex3::elementary {

double exp(double x);
double expm1(double x);
double log(double x);
double log1p(double x);
double pow(double x, double y);
double cbrt(double x);
double sinh(double x);
double cosh(double x);
double asinh(double x);
double acosh(double x);
double erfc(double x);

// Angles of up to a million radians; a larger one answers NaN.
double sin(double x);
double cos(double x);
double asin(double x);
double acos(double x);

} // namespace varnex3::elementary
