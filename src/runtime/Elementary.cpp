// runtime/Elementary.cpp - elementary functions in arithmetic of twice the precision.
//
// Each function reduces its argument, evaluates a short polynomial, and keeps the result as an unevaluated
// sum of two doubles until the last addition, which does nearly all the rounding. Tables are computed at
// compile time in the same arithmetic; only the polynomials of erfc come from outside.
#include "runtime/Elementary.h"

#include <array>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>

namespace varnex3::elementary {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

/// hi + lo, with |lo| at most half a unit in the last place of hi.
struct Pair {
    double hi = 0.0, lo = 0.0;
    constexpr double value() const { return hi + lo; }
};

/// a + b without error when |a| >= |b| or a is 0. [Dek71]
constexpr Pair quickSum(double a, double b)
{
    const double s = a + b;
    return {s, b - (s - a)};
}

/// a + b without error. [Knu69]
constexpr Pair sum(double a, double b)
{
    const double s = a + b, part = s - a;
    return {s, (a - (s - part)) + (b - part)};
}

/// a * b without error, for |a| and |b| below 2^995 and a product that does not underflow. [Dek71]
constexpr Pair product(double a, double b)
{
    constexpr double kSplit = 134217729.0; // 2^27 + 1
    const double ta = kSplit * a, tb = kSplit * b;
    const double ah = ta - (ta - a), bh = tb - (tb - b);
    const double al = a - ah, bl = b - bh;
    const double p = a * b;
    return {p, ((ah * bh - p) + ah * bl + al * bh) + al * bl};
}

constexpr Pair operator-(const Pair& a) { return {-a.hi, -a.lo}; }
constexpr Pair operator+(const Pair& a, const Pair& b)
{
    const Pair s = sum(a.hi, b.hi), t = sum(a.lo, b.lo);
    const Pair u = quickSum(s.hi, s.lo + t.hi);
    return quickSum(u.hi, u.lo + t.lo);
}
constexpr Pair operator+(const Pair& a, double b)
{
    const Pair s = sum(a.hi, b);
    return quickSum(s.hi, s.lo + a.lo);
}
constexpr Pair operator*(const Pair& a, const Pair& b)
{
    const Pair p = product(a.hi, b.hi);
    return quickSum(p.hi, p.lo + (a.hi * b.lo + a.lo * b.hi));
}
constexpr Pair operator*(const Pair& a, double b)
{
    const Pair p = product(a.hi, b);
    return quickSum(p.hi, p.lo + a.lo * b);
}
constexpr Pair operator/(const Pair& a, const Pair& b)
{
    const double q = a.hi / b.hi;
    const Pair rest = a + -(b * q);
    return quickSum(q, rest.hi / b.hi);
}
Pair squareRoot(const Pair& a)
{
    const double q = std::sqrt(a.hi);
    if (q == 0.0) return {};
    return quickSum(q, (a + -product(q, q)).hi / (2.0 * q));
}

constexpr Pair kLn2{0x1.62e42fefa39efp-1, 0x1.abc9e3b39803fp-56};
constexpr double kLn2High = 0x1.62e42fefa38p-1; // trailing zeros: a product with an exponent is exact
constexpr double kLn2Low = 0x1.ef35793c7673p-45;

// --- exp: x = (64 k + j) ln 2 / 64 + r, exp(x) = 2^k 2^(j/64) exp(r), |r| <= 0.0055.

constexpr int kRoots = 64;

constexpr std::array<Pair, kRoots> rootsOfTwo()
{
    const Pair x{kLn2.hi / kRoots, kLn2.lo / kRoots};
    Pair root{1.0, 0.0}, term{1.0, 0.0};
    for (int n = 1; n < 14; ++n) { // exp(ln 2 / 64) by its series
        term = term * x / Pair{static_cast<double>(n), 0.0};
        root = root + term;
    }
    std::array<Pair, kRoots> roots{Pair{1.0, 0.0}};
    for (std::size_t j = 1; j < kRoots; ++j) roots[j] = roots[j - 1] * root;
    return roots;
}
constexpr auto kRootsOfTwo = rootsOfTwo();

/// exp(x) = 2^exponent * (mantissa + mantissa * rest), mantissa one of 2^(j/64).
struct Exponential {
    Pair mantissa;
    Pair rest; // exp(r) - 1, relative to itself good to 2^-60
    int exponent;

    Pair times() const // mantissa * (1 + rest)
    {
        if (mantissa.hi == 1.0) return sum(1.0, rest.hi) + rest.lo;
        return mantissa + mantissa * rest;
    }
};

/// For |x| below 800.
Exponential exponential(const Pair& x)
{
    constexpr double kToWhole = 0x1.8p52;           // adding and taking it away rounds to a whole number
    constexpr double kSteps = 0x1.71547652b82fep+6; // 64 / ln 2
    constexpr double kStepHigh = 0x1.62e42fefap-7, kStepLow = 0x1.cf79abc9e3b3ap-46;

    const double n = (x.hi * kSteps + kToWhole) - kToWhole;
    const auto steps = static_cast<int>(n);
    const Pair r = sum(x.hi - n * kStepHigh, x.lo - n * kStepLow);
    const double s = r.hi;
    const double tail =
        s * s * (0.5 + s * (1.0 / 6 + s * (1.0 / 24 + s * (1.0 / 120 + s * (1.0 / 720 + s * (1.0 / 5040))))));
    return {kRootsOfTwo[static_cast<std::size_t>(steps & (kRoots - 1))], quickSum(s, r.lo + tail),
            steps >> 6};
}

/// 2^exponent * x; exact unless the result is subnormal.
double scaled(double x, int exponent)
{
    if (exponent > -1000 && exponent < 1000)
        return x * std::bit_cast<double>(static_cast<std::uint64_t>(exponent + 1023) << 52);
    return std::ldexp(x, exponent);
}

double expOf(const Pair& x)
{
    if (x.hi > 710.0) return kInfinity;
    if (x.hi < -746.0) return 0.0;
    const Exponential e = exponential(x);
    const Pair& t = e.mantissa;
    return scaled(t.hi + (t.lo + t.hi * e.rest.value()), e.exponent);
}

Pair expm1Of(const Pair& x) // for |x| below 40
{
    const Exponential e = exponential(x);
    if (e.exponent == 0 && e.mantissa.hi == 1.0) return e.rest;
    const double power = scaled(1.0, e.exponent);
    const Pair y = e.times();
    return Pair{y.hi * power, y.lo * power} + -1.0;
}

// --- log: x = 2^k z, z in [0.6875, 1.375); r = z c - 1 with a short c near 1 / z, so that r is exact as a
// Pair; log(x) = k ln 2 - log(c) + log(1 + r), |r| < 0.01.

constexpr int kIntervals = 128;
constexpr std::uint64_t kLowest = 0x3FE6000000000000; // 0.6875

struct Interval {
    double reciprocal; // a multiple of 2^-9
    Pair minusLog;     // -log(reciprocal)
};

constexpr Pair logBySeries(double c) // 2 artanh((c - 1) / (c + 1))
{
    const Pair t = Pair{c - 1.0, 0.0} / Pair{c + 1.0, 0.0}, square = t * t;
    Pair power = t, total = t;
    for (int n = 3; n < 50; n += 2) {
        power = power * square;
        total = total + power / Pair{static_cast<double>(n), 0.0};
    }
    return {2.0 * total.hi, 2.0 * total.lo};
}

constexpr std::array<Interval, kIntervals> intervals()
{
    std::array<Interval, kIntervals> table{};
    for (int i = 0; i < kIntervals; ++i) {
        const bool below1 = i < 80; // 0.6875 + 80 / 256 = 1
        const double centre = below1 ? 0.6875 + (i + 0.5) / 256.0 : 1.0 + (i - 80 + 0.5) / 128.0;
        const bool besides1 = i == 79 || i == 80; // c = 1: nothing is lost where the logarithm is small
        const double c = besides1 ? 1.0 : static_cast<double>(static_cast<int>(512.0 / centre + 0.5)) / 512.0;
        table[static_cast<std::size_t>(i)] = {c, besides1 ? Pair{} : -logBySeries(c)};
    }
    return table;
}
constexpr auto kLogIntervals = intervals();

/// The series of log(1 + s) from s^3 / 3 on, over s^3.
double logTail(double s)
{
    const double s2 = s * s;
    return (1.0 / 3 - s * (1.0 / 4)) +
           s2 * ((1.0 / 5 - s * (1.0 / 6)) +
                 s2 * ((1.0 / 7 - s * (1.0 / 8)) + s2 * (1.0 / 9 - s * (1.0 / 10))));
}

/// log(1 + r) for |r| < 0.01.
Pair logNear1(const Pair& r)
{
    const Pair square = product(r.hi, r.hi);
    const double s = r.hi;
    const Pair two = quickSum(r.hi, -0.5 * square.hi);
    return quickSum(two.hi, two.lo + (square.hi * s * logTail(s) + (r.lo - s * r.lo - 0.5 * square.lo)));
}

struct ReducedLog {
    double power; // k
    const Interval& near;
    Pair r;

    bool alone() const { return power == 0.0 && near.reciprocal == 1.0; } // the logarithm of 1 + r
    Pair withoutR() const { return sum(power * kLn2High, near.minusLog.hi); }
    double correction() const { return near.minusLog.lo + power * kLn2Low; }
};

/// For the logarithm of x.hi + x.lo, x.hi a positive normal number.
ReducedLog reduced(const Pair& x)
{
    const auto bits = std::bit_cast<std::uint64_t>(x.hi);
    const std::uint64_t above = bits - kLowest;
    const auto k = static_cast<int>(static_cast<std::int64_t>(above) >> 52);
    const Interval& near = kLogIntervals[(above >> 45) & (kIntervals - 1)];
    const double z = std::bit_cast<double>(bits - (static_cast<std::uint64_t>(k) << 52));
    const double zHigh = std::bit_cast<double>(std::bit_cast<std::uint64_t>(z) & 0xFFFFFFFFF8000000);
    const double rest = x.lo == 0.0 ? 0.0 : scaled(x.lo, -k);
    return {static_cast<double>(k), near,
            sum(zHigh * near.reciprocal - 1.0, ((z - zHigh) + rest) * near.reciprocal)};
}

Pair logOf(const ReducedLog& x)
{
    const Pair last = logNear1(x.r);
    return x.alone() ? last : (x.withoutR() + x.correction()) + last;
}

Pair log1pOf(const Pair& x)
{
    if (x.hi >= -0x1p-8 && x.hi < 0x1p-7) return logNear1(x);
    return logOf(reduced(Pair{1.0, 0.0} + x));
}

/// For positive finite x.
ReducedLog reduced(double x)
{
    const bool subnormal = x < std::numeric_limits<double>::min();
    ReducedLog result = reduced(Pair{subnormal ? x * 0x1p54 : x, 0.0});
    if (subnormal) result.power -= 54.0;
    return result;
}
Pair logOf(double x) { return logOf(reduced(x)); }

// --- Angles: series on [-pi/4, pi/4], in pairs throughout; they are rare.

struct SineCosine {
    Pair sine, cosine;
};

SineCosine seriesOfAngle(const Pair& x)
{
    Pair sine = x, cosine{1.0, 0.0}, power = x;
    for (int n = 1; n < 28; ++n) { // power = x^n / n!
        Pair& target = n % 2 == 1 ? cosine : sine;
        power = power * x / Pair{static_cast<double>(n + 1), 0.0};
        target = target + (n % 4 == 1 || n % 4 == 2 ? -power : power);
        if (std::fabs(power.hi) < 0x1p-120) break;
    }
    return {sine, cosine};
}

constexpr Pair kHalfPi{0x1.921fb54442d18p+0, 0x1.1a62633145c07p-54};

/// Reduces by multiples of pi / 2.
SineCosine ofAngle(double x)
{
    // pi / 2 in three parts of 33, 33 and 53 bits: products with whole numbers below 2^20 are exact
    constexpr double kPart1 = 0x1.921fb544p+0, kPart2 = 0x1.0b4611a6p-34, kPart3 = 0x1.3198a2e037073p-69;
    if (!(std::fabs(x) <= 1e6)) return {{kNaN, 0.0}, {kNaN, 0.0}};
    const double n = std::floor(x / kHalfPi.hi + 0.5);
    const Pair r = (sum(x - n * kPart1, -n * kPart2)) + -n * kPart3;
    const SineCosine s = seriesOfAngle(r);
    switch (static_cast<long>(n) & 3) {
    case 0: return s;
    case 1: return {s.cosine, -s.sine};
    case 2: return {-s.sine, -s.cosine};
    default: return {-s.cosine, s.sine};
    }
}

/// The angle of the point (x, y), for y >= 0, not both 0. Steps y' = y - tan(y - angle) converge cubically.
Pair angleOf(const Pair& x, const Pair& y)
{
    if (y.hi > std::fabs(x.hi)) return kHalfPi + -angleOf(y, x.hi < 0.0 ? -x : x) * (x.hi < 0.0 ? -1.0 : 1.0);
    if (x.hi < 0.0) return Pair{2.0 * kHalfPi.hi, 2.0 * kHalfPi.lo} + -angleOf(-x, y);
    const double t = y.hi / x.hi;
    Pair angle{t / (1.0 + 0.28 * t * t), 0.0}; // to 0.005
    for (int i = 0; i < 3; ++i) {
        const SineCosine s = seriesOfAngle(angle);
        angle = angle + (y * s.cosine + -(x * s.sine)) / (x * s.cosine + y * s.sine);
    }
    return angle;
}

// --- erfc

// On [2^e (1 + i/8), 2^e (1 + (i+1)/8)), from 0.5 up: exp(x^2) erfc(x) in powers of t, where t runs from
// -1 to 1; the constant term as a Pair. Made by tools/reference/erfc.py.
constexpr std::size_t kErfcTerms = 12;
struct ErfcInterval {
    Pair constant;
    double slopes[kErfcTerms];
};
constexpr ErfcInterval kErfc[] = {
#include "runtime/ErfcTable.inc"
};

constexpr auto kErfTerms = [] {
    std::array<double, 15> terms{};
    double factorial = 1.0;
    for (int n = 1; n <= 15; ++n) {
        factorial *= -n;
        terms[static_cast<std::size_t>(n) - 1] = 1.0 / (factorial * (2 * n + 1));
    }
    return terms;
}();

/// erf(x) for |x| < 0.5 by its series.
Pair erfNear0(double x)
{
    constexpr Pair kTwoOverRootPi{0x1.20dd750429b6dp+0, 0x1.1ae3a914fed8p-56};
    const double s = x * x;
    double tail = 0.0;
    for (std::size_t n = kErfTerms.size(); n-- > 0;) tail = kErfTerms[n] + s * tail;
    const Pair first = kTwoOverRootPi * x;
    return first + first.hi * (s * tail);
}

double erfcAbove(double x) // x >= 0.5
{
    if (x > 27.3) return 0.0;
    const auto bits = std::bit_cast<std::uint64_t>(x);
    const auto i = static_cast<std::size_t>((bits >> 49) - (std::bit_cast<std::uint64_t>(0.5) >> 49));
    const double low = std::bit_cast<double>((bits >> 49) << 49);
    const double width = std::bit_cast<double>(((bits >> 49) + 1) << 49) - low;
    const double t = 2.0 * ((x - low) / width) - 1.0;
    const ErfcInterval& interval = kErfc[i];
    double tail = 0.0;
    for (std::size_t n = kErfcTerms; n-- > 0;) tail = interval.slopes[n] + t * tail;
    const Pair g = interval.constant + t * tail;
    const Exponential e = exponential(-product(x, x));
    return scaled((e.times() * g).value(), e.exponent);
}

} // namespace

double exp(double x) { return x == x ? expOf({x, 0.0}) : x; }

double expm1(double x)
{
    if (!(std::fabs(x) < 38.0)) return x < 0.0 ? -1.0 : exp(x); // e^38 > 2^54: the 1 is below half a unit
    if (std::fabs(x) < 0x1p-60) return x;
    return expm1Of({x, 0.0}).value();
}

double log(double x)
{
    if (x == 0.0) return -kInfinity;
    if (!(x > 0.0)) return kNaN;
    if (x == kInfinity) return x;
    const ReducedLog l = reduced(x);
    if (l.alone()) return logNear1(l.r).value();
    const double s = l.r.hi, square = s * s;
    const Pair base = l.withoutR(), first = sum(base.hi, s);
    return first.hi +
           (first.lo + (base.lo + l.correction() + l.r.lo + (square * s * logTail(s) - 0.5 * square)));
}

double log1p(double x)
{
    if (x == -1.0) return -kInfinity;
    if (!(x > -1.0)) return kNaN;
    if (std::fabs(x) < 0x1p-60 || x == kInfinity) return x;
    return log1pOf({x, 0.0}).value();
}

double pow(double x, double y)
{
    if (y == 0.0 || x == 1.0) return 1.0;
    if (x != x || y != y) return kNaN;
    const bool whole = std::floor(y) == y,
               odd = whole && std::fabs(y) < 0x1p53 && std::floor(0.5 * y) * 2.0 != y;
    const bool negative = odd && std::signbit(x);
    const double size = std::fabs(x);
    double result = 0.0;
    if (size == 0.0 || size == kInfinity || std::fabs(y) == kInfinity)
        result = size == 1.0 ? 1.0 : (size > 1.0) == (y > 0.0) ? kInfinity : 0.0;
    else if (x < 0.0 && !whole)
        return kNaN;
    else if (size == 1.0)
        result = 1.0;
    else if (std::fabs(y) > 0x1p70) // beyond any result: the logarithm of a double is 2^-53 or more
        result = (size > 1.0) == (y > 0.0) ? kInfinity : 0.0;
    else if (std::fabs(y) < 0x1p-70)
        result = 1.0;
    else
        result = expOf(logOf(size) * y);
    return negative ? -result : result;
}

double cbrt(double x)
{
    if (x == 0.0 || !(std::fabs(x) < kInfinity)) return x;
    int exponent = 0;
    double m = std::frexp(std::fabs(x), &exponent); // m in [0.5, 1)
    while (exponent % 3 != 0) {
        m *= 0.5;
        ++exponent;
    }
    const double y = exp(log(m) / 3.0), square = y * y;
    const double root = y - (product(y, y) * y + -m).value() / (3.0 * square);
    return std::copysign(std::ldexp(root, exponent / 3), x);
}

double sinh(double x)
{
    const double size = std::fabs(x);
    if (!(size < 38.0)) {
        if (!(size < 712.0)) return x == x ? std::copysign(kInfinity, x) : x;
        const Exponential e = exponential({size, 0.0});
        return std::copysign(std::ldexp(e.times().value(), e.exponent - 1), x);
    }
    if (size < 0x1p-30) return x;
    const Pair e = expm1Of({size, 0.0});
    const Pair twice = e + e / (e + 1.0);
    return std::copysign(0.5 * twice.value(), x);
}

double cosh(double x)
{
    const double size = std::fabs(x);
    if (!(size < 712.0)) return x == x ? kInfinity : x;
    const Exponential e = exponential({size, 0.0});
    const Pair y = e.times();
    if (size > 38.0) return std::ldexp(y.value(), e.exponent - 1);
    const double power = scaled(1.0, e.exponent);
    const Pair up{y.hi * power, y.lo * power};
    return 0.5 * (up + Pair{1.0, 0.0} / up).value();
}

double asinh(double x)
{
    const double size = std::fabs(x);
    if (size < 0x1p-30 || !(size < kInfinity)) return x;
    if (size > 0x1p30) return std::copysign((logOf(size) + kLn2).value(), x);
    const Pair square = product(size, size);
    const Pair above = square / (squareRoot(square + 1.0) + 1.0); // sqrt(1 + x^2) - 1
    return std::copysign(log1pOf(above + size).value(), x);
}

double acosh(double x)
{
    if (!(x >= 1.0)) return kNaN;
    if (x == kInfinity) return x;
    if (x > 0x1p30) return (logOf(x) + kLn2).value();
    const Pair above = sum(x, -1.0); // x - 1, and with it the sum of it and sqrt(x^2 - 1)
    return log1pOf(above + squareRoot(above * sum(x, 1.0))).value();
}

double erfc(double x)
{
    if (x != x) return x;
    if (std::fabs(x) < 0.5) return (-erfNear0(x) + 1.0).value();
    return x > 0.0 ? erfcAbove(x) : 2.0 - erfcAbove(-x);
}

double sin(double x) { return std::fabs(x) < 0x1p-30 ? x : ofAngle(x).sine.value(); }
double cos(double x) { return ofAngle(x).cosine.value(); }
double asin(double x)
{
    if (!(std::fabs(x) <= 1.0)) return kNaN;
    if (std::fabs(x) < 0x1p-30) return x;
    const Pair other = squareRoot(-product(x, x) + 1.0);
    return std::copysign(angleOf(other, {std::fabs(x), 0.0}).value(), x);
}
double acos(double x)
{
    if (!(std::fabs(x) <= 1.0)) return kNaN;
    if (x == 1.0) return 0.0;
    return angleOf({x, 0.0}, squareRoot(-product(x, x) + 1.0)).value();
}

} // namespace varnex3::elementary
