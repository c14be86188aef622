// stats/c_Statistics.cpp - the normal functions, on the standard library alone.
#include "stats/c_Statistics.h"

#include <algorithm>
#include <cmath>

#include "runtime/Elementary.h"
#include "runtime/Number.h"

namespace varnex3 {
namespace {

constexpr Long kNegativeStDev = -2147221124; // automation error base + 380

// Coefficients of [Cody69], held to 15 digits: numerator and denominator per interval.
constexpr double kN1[] = {2.23525203546068, 161.028231068556, 1067.68948546037, 18154.9812533436,
                          0.0656823379182074};
constexpr double kD1[] = {47.2025819046882, 976.098551737777, 10260.932208619, 45507.7893350267};
constexpr double kN2[] = {0.398941512088135, 8.88314979438838, 93.5066561321779,
                          597.2702763948,    2494.53758529037, 6848.19045053628,
                          11602.6514376473,  9842.71483838398, 1.07655767737202E-08};
constexpr double kD2[] = {22.2666880443281, 235.387901782625, 1519.37759940755, 6485.55829826676,
                          18615.5716408851, 34900.952721146,  38912.0032860933, 19685.42967686};
constexpr double kN3[] = {0.215898534057957,   0.127401161160247,    0.0222352778706498,
                          0.00142161919322789, 2.91128749511688E-05, 0.0230734417649402};
constexpr double kD3[] = {1.28426009614491, 0.468238212480865, 0.0659881378689286, 0.00378239633202758,
                          7.29751555083966E-05};

constexpr double kCentre = 0.66291;     // up to here: first interval
constexpr double kMiddle = 5.656854248; // up to here: second interval; the square root of 32
constexpr double kSaturated = 40.0;     // from here on: 0 or 1
constexpr double kNegligible = 1.11022302462516E-16;
constexpr double kDensityFactor = 0.398942280401433; // 1 / sqrt(2 pi)
constexpr double kSmallest = 2.2250738585072E-308;   // a smaller probability is returned as 0

/// exp(-x^2 / 2) without the rounding error of x^2: x is split at a multiple of 1/16.
double gaussian(double x)
{
    const double s = std::floor(x * 16.0) / 16.0;
    const double del = (x - s) * (x + s);
    return elementary::exp(-s * s * 0.5) * elementary::exp(-del * 0.5);
}

double centre(double z, double y, bool upperTail)
{
    const double xsq = y > kNegligible ? z * z : 0.0;
    double xnum = kN1[4] * xsq;
    double xden = xsq;
    for (int i = 0; i < 3; ++i) {
        xnum = (xnum + kN1[i]) * xsq;
        xden = (xden + kD1[i]) * xsq;
    }
    const double t = z * (xnum + kN1[3]) / (xden + kD1[3]);
    return upperTail ? 0.5 - t : 0.5 + t;
}

double middleTail(double y)
{
    double xnum = kN2[8] * y;
    double xden = y;
    for (int i = 0; i < 7; ++i) {
        xnum = (xnum + kN2[i]) * y;
        xden = (xden + kD2[i]) * y;
    }
    return gaussian(y) * ((xnum + kN2[7]) / (xden + kD2[7]));
}

double farTail(double z, double y)
{
    const double xsq = 1.0 / (z * z);
    double xnum = kN3[5] * xsq;
    double xden = xsq;
    for (int i = 0; i < 4; ++i) {
        xnum = (xnum + kN3[i]) * xsq;
        xden = (xden + kD3[i]) * xsq;
    }
    const double correction = xsq * (xnum + kN3[4]) / (xden + kD3[4]);
    return gaussian(z) * ((kDensityFactor - correction) / y);
}

double density(double x, double mean, double stdev)
{
    if (stdev < 0) raise(kNegativeStDev, kRuntimeSource, "Standard deviation can't be negative");
    const double twoVariances = stdev * stdev * 2.0;
    if (twoVariances == 0.0) raise(errors::DivisionByZero);
    const double distance = x - mean;
    return elementary::exp(-(distance * distance) / twoVariances) * 1.0 /
           (std::sqrt(6.28318530717958) * stdev);
}

/// To a number of decimals; halves go upward, for negative values too.
double roundDigits(double value, std::int16_t digits)
{
    const double power = elementary::pow(10.0, digits);
    const double t = value * power;
    if (!std::isfinite(t)) raise(errors::Overflow);
    return (t - std::floor(t) < 0.5 ? std::floor(t) : std::floor(t + 1.0)) / power;
}

std::string textOf(const Variant& v)
{
    std::string text;
    if (!attempt([&] { text = toText(v); })) text = "?"; // arrays and objects have no text
    return text;
}

/// The class's error trap: the error goes on under the given source, with the arguments described.
template <class Body, class Arguments>
double trapped(const char* source, Body body, Arguments arguments)
{
    try {
        return body();
    } catch (...) {
        adoptForeignException();
        const ErrorRecord error = err();
        raise(error.number, source, error.description + arguments());
    }
}

double trappedDensity(double x, double mean, double stdev)
{
    return trapped(
        "quillon NormPDF", [&] { return density(x, mean, stdev); },
        [&] { return ". x = " + toText(x) + ", mean = " + toText(mean) + ", stdev = " + toText(stdev); });
}

double searchZ(const c_Statistics& statistics, const Variant& tailTarget, std::int16_t& digits)
{
    if (!isNumeric(tailTarget)) return 0.0;
    const double target = toDouble(tailTarget);
    if (!(target >= 0.0 && target <= 1.0)) raise(errors::DivisionByZero);
    if (target < statistics.normCDF(statistics.FINDZ_MAX(), true)) return statistics.FINDZ_MAX();
    if (target > statistics.normCDF(statistics.FINDZ_MIN(), true)) return statistics.FINDZ_MIN();

    if (digits < 1) digits = 1;
    double z = 0.0;
    double step = target > 0.5 ? -1.0 : 1.0;
    const double tolerance = 1.0 / elementary::pow(10.0, digits) / 5.0;
    while (std::fabs(step) > tolerance) {
        const double P = statistics.normCDF(z, true);
        if (step * (target - P) > 0.0) step = -step / 2.0;
        const double next = z + step;
        if (next == z) break; // more digits asked for than a double holds: z would stand still for ever
        z = next;
    }
    return roundDigits(z, digits);
}

/// Integrates density x probability of passing from the limit upward, in blocks of 500 strips, until a
/// block changes the sum by no more than a tenth.
double integratePassBad(const c_Statistics& statistics, double mean, double stdev, double sl, double testsd)
{
    if (stdev < 0.0 || testsd < 0.0) raise(errors::DivisionByZero);
    if (stdev == 0.0 || testsd == 0.0) return 0.0;

    const double h = std::min(stdev, testsd) / 500.0;
    double sum = 0.0, previous = 1.0, change = 1.0, x = sl;
    while (std::fabs(change) > 0.1) {
        for (int i = 0; i < 500; ++i) {
            const double strip =
                (trappedDensity(x + h / 2.0, mean, stdev) + trappedDensity(x - h / 2.0, mean, stdev)) * h /
                2.0;
            sum = sum + statistics.normCDF((x - sl) / testsd, true) * strip;
            x = x + h;
        }
        change = sum == 0.0 ? sum - previous : (sum - previous) / sum;
        previous = sum;
    }
    return sum;
}

} // namespace

double c_Statistics::NormPDF(double x, double mean, const Variant& stdev) const
{
    return trapped(
        "quillon NormPDF", [&] { return density(x, mean, toDouble(stdev)); },
        [&] { return ". x = " + toText(x) + ", mean = " + toText(mean) + ", stdev = " + textOf(stdev); });
}

double c_Statistics::normCDF(double z, bool upperTail) const
{
    const double y = std::fabs(z);
    double result;
    if (y <= kCentre) {
        result = centre(z, y, upperTail);
    } else if (y >= kSaturated) {
        return (upperTail ? z > 0.0 : z < 0.0) ? 0.0 : 1.0;
    } else {
        const double R = y <= kMiddle ? middleTail(y) : farTail(z, y);
        result = (upperTail ? z < 0.0 : z > 0.0) ? 1.0 - R : R;
    }
    return result < kSmallest ? 0.0 : result;
}

double c_Statistics::findZ(const Variant& tailTarget, std::int16_t& digits) const
{
    return trapped(
        "quillon findZ", [&] { return searchZ(*this, tailTarget, digits); },
        [&] {
            return ". tailTarget = " + textOf(tailTarget) +
                   ", digits = " + toText(static_cast<double>(digits));
        });
}

double c_Statistics::findZ(const Variant& tailTarget) const
{
    std::int16_t digits = 0;
    return findZ(tailTarget, digits);
}

double c_Statistics::PassBad(double mean, double stdev, double sl, double testsd) const
{
    return trapped(
        "quillon PassBad", [&] { return integratePassBad(*this, mean, stdev, sl, testsd); },
        [&] {
            return ". mean = " + toText(mean) + ", stdev = " + toText(stdev) + ", sl = " + toText(sl) +
                   ", testsd = " + toText(testsd);
        });
}

} // namespace varnex3
