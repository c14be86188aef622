// sheet/functions/Rounding.cpp - rounding that overlooks noise of less than one unit in the fifteenth digit.
#include "sheet/functions/Rounding.h"

#include <array>
#include <cmath>
#include <cstddef>

namespace varnex3::sheet {
namespace {

constexpr double kNoise = 1e-15;                // relative; scaling adds at most two units of 2^-53
constexpr double kAllWhole = 4503599627370496.; // 2^52: from here on doubles have no fraction

constexpr int kExactPowers = 22; // 10^22 is the last power of ten that a double holds exactly

constexpr std::array<double, kExactPowers + 1> powersOfTen()
{
    std::array<double, kExactPowers + 1> p{};
    double x = 1.0;
    for (double& item : p) {
        item = x;
        x *= 10.0;
    }
    return p;
}

double powerOfTen(double n)
{
    static constexpr auto kPowers = powersOfTen();
    return n <= kExactPowers ? kPowers[static_cast<std::size_t>(n)] : std::pow(10.0, n);
}

/// Applies a rounding to whole numbers at that decimal place.
template <double (*toWhole)(double)>
double atPlace(double x, double places)
{
    places = std::trunc(places);
    if (places == 0.0) return toWhole(x);
    if (places > 0.0) {
        if (places > 400.0) return x;
        const double scale = powerOfTen(places);
        const double scaled = x * scale;
        // Also catches infinite scales: nothing stands at such a place.
        return std::fabs(scaled) < kAllWhole ? toWhole(scaled) / scale : x;
    }
    if (places < -400.0) places = -400.0;
    const double scale = powerOfTen(-places);
    if (std::isinf(scale)) return toWhole(x < 0.0 ? -0.0 : 0.0);
    return toWhole(x / scale) * scale;
}

double outward(double x) { return x < 0.0 ? noisyFloor(x) : noisyCeil(x); }
double inward(double x) { return x < 0.0 ? noisyCeil(x) : noisyFloor(x); }

} // namespace

double noisyFloor(double x)
{
    const double down = std::floor(x);
    return x - down >= 1.0 - std::fabs(x) * kNoise ? down + 1.0 : down;
}

double noisyCeil(double x) { return -noisyFloor(-x); }

double noisyRound(double x)
{
    const double size = std::fabs(x);
    if (size >= kAllWhole) return x;
    const double down = std::floor(size);
    const double rounded = size - down >= 0.5 - size * kNoise ? down + 1.0 : down;
    return std::copysign(rounded, x);
}

double roundPlaces(double x, double places) { return atPlace<noisyRound>(x, places); }
double roundPlacesOutward(double x, double places)
{
    // ROUNDUP(1, -400) has no finite result.
    if (places < -308.0 && x != 0.0) return std::copysign(HUGE_VAL, x);
    return atPlace<outward>(x, places);
}
double roundPlacesInward(double x, double places) { return atPlace<inward>(x, places); }

} // namespace varnex3::sheet
