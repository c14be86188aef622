// sheet/functions/Roots.cpp - where a function of one number crosses 0.
#include "sheet/functions/Roots.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace varnex3::sheet {

namespace {

/// Whether f changes its sign around x, or all but vanishes there. Where f is steep on one side and flat on
/// the other, steps of the secant method shrink far from any root.
bool isRoot(FunctionRef<double(double)> f, double x, double least, double usual)
{
    const double apart = 1e-9 * std::max(1.0, std::fabs(x));
    const double left = f(std::max(x - apart, least + (x - least) * 0.5)), right = f(x + apart);
    return (left < 0.0) != (right < 0.0) || std::fabs(f(x)) <= 1e-9 * usual;
}

} // namespace

double rootNear(FunctionRef<double(double)> f, double guess, double least)
{
    double x0 = guess, x1 = guess + 1e-3;
    double y0 = f(x0), y1 = f(x1);
    const double usual = std::fabs(y0);
    for (int i = 0; i < 60 && std::isfinite(y1) && x1 > least; ++i) {
        if (y1 == 0.0) return x1;
        if (y1 == y0) break;
        const double x2 = x1 - y1 * (x1 - x0) / (y1 - y0);
        if (std::fabs(x2 - x1) <= 1e-12 * std::max(1.0, std::fabs(x2)) && x2 > least) {
            if (isRoot(f, x2, least, usual)) return x2;
            break;
        }
        x0 = x1;
        y0 = y1;
        x1 = x2;
        y1 = x1 > least ? f(x1) : y1;
    }
    // Points to both sides of the guess, farther and farther apart; those to the left approach `least`.
    double left = guess, right = guess, atLeft = f(guess), atRight = atLeft, a = 0.0, b = 0.0, ya = 0.0;
    double step = 5e-3;
    for (int i = 0; i < 160; ++i, step *= 1.25) {
        const double nextLeft = std::max(left - step, least + (left - least) * 0.75),
                     nextRight = right + step;
        const double yl = f(nextLeft), yr = f(nextRight);
        if (std::isfinite(yl) && std::isfinite(atLeft) && (yl < 0.0) != (atLeft < 0.0)) {
            a = nextLeft, b = left, ya = yl;
            break;
        }
        if (std::isfinite(yr) && std::isfinite(atRight) && (yr < 0.0) != (atRight < 0.0)) {
            a = right, b = nextRight, ya = atRight;
            break;
        }
        left = nextLeft, atLeft = yl, right = nextRight, atRight = yr;
    }
    if (a == b) return std::numeric_limits<double>::quiet_NaN();
    for (int i = 0; i < 200 && b - a > 1e-15 * std::max(1.0, std::fabs(a)); ++i) {
        const double middle = a + (b - a) / 2.0, ym = f(middle);
        if ((ym < 0.0) == (ya < 0.0))
            a = middle;
        else
            b = middle;
    }
    return a + (b - a) / 2.0;
}

} // namespace varnex3::sheet
