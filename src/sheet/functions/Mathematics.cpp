// sheet/functions/Mathematics.cpp - elementary, circular and hyperbolic functions, rounding, divisors,
// factorials and numerals.
//
// Sums and products over ranges are in Aggregates.cpp, matrices in Matrix.cpp, number bases for engineers
// in Engineering.cpp.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <numbers>
#include <string>

#include <boost/math/special_functions/factorials.hpp>

#include "sheet/format/Convert.h"
#include "sheet/functions/Function.h"
#include "sheet/functions/Rounding.h"

namespace varnex3::sheet {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kPi = std::numbers::pi;
constexpr double kWholeLimit = 9007199254740992.0; // 2^53
constexpr double kAngleLimit = 134217728.0;        // 2^27: circular functions take no larger angles

// Circular functions ------------------------------------------------------------------------------------

double angle(double x) { return std::fabs(x) < kAngleLimit ? x : kNaN; }
double sine(double x) { return std::sin(angle(x)); }
double cosine(double x) { return std::cos(angle(x)); }
double tangent(double x) { return std::tan(angle(x)); }
double secant(double x) { return 1.0 / cosine(x); }
double cosecant(double x) { return 1.0 / sine(x); }
double cotangent(double x) { return 1.0 / tangent(x); }
double arcSine(double x) { return std::asin(x); }
double arcCosine(double x) { return std::acos(x); }
double arcTangent(double x) { return std::atan(x); }
double arcCotangent(double x) { return kPi / 2.0 - std::atan(x); } // in (0, pi)
double degrees(double x) { return x * (180.0 / kPi); }
double radians(double x) { return x * (kPi / 180.0); }

/// The angle of the point (x, y); the origin has none.
double angleOfPoint(double x, double y) { return x == 0.0 && y == 0.0 ? kNaN : std::atan2(y, x); }

// Hyperbolic functions ----------------------------------------------------------------------------------

double hyperbolicSine(double x) { return std::sinh(x); }
double hyperbolicCosine(double x) { return std::cosh(x); }
double hyperbolicTangent(double x) { return std::tanh(x); }
double hyperbolicSecant(double x) { return 1.0 / std::cosh(x); }
double hyperbolicCosecant(double x) { return 1.0 / std::sinh(x); }
double hyperbolicCotangent(double x) { return 1.0 / std::tanh(x); }
double areaSine(double x) { return std::asinh(x); }
double areaCosine(double x) { return std::acosh(x); }
double areaTangent(double x) { return std::atanh(x); }
double areaCotangent(double x) { return std::fabs(x) > 1.0 ? std::atanh(1.0 / x) : kNaN; }

// Powers and logarithms ---------------------------------------------------------------------------------

double absolute(double x) { return std::fabs(x); }
double sign(double x) { return x > 0.0 ? 1.0 : x < 0.0 ? -1.0 : 0.0; }
double squareRoot(double x) { return std::sqrt(x); }
double squareRootPi(double x) { return std::sqrt(x * kPi); }
double exponential(double x) { return std::exp(x); }
double naturalLog(double x) { return std::log(x); }
double decimalLog(double x) { return std::log10(x); }

double logToBase(double x, double base)
{
    if (x <= 0.0 || base <= 0.0 || base == 1.0) return kNaN;
    if (base == 10.0) return std::log10(x); // exact for powers of ten
    if (base == 2.0) return std::log2(x);
    return std::log(x) / std::log(base);
}

Value logToBaseValue(Call& call)
{
    if (call.number(1) == 1.0 && call.number(0) > 0.0) return Failure::Div0;
    return finite(logToBase(call.number(0), call.number(1)));
}

double power(double x, double y) { return x == 0.0 && y == 0.0 ? kNaN : std::pow(x, y); }

Value powerValue(Call& call)
{
    if (call.number(0) == 0.0 && call.number(1) < 0.0) return Failure::Div0;
    return finite(power(call.number(0), call.number(1)));
}

/// A function of one number with a pole at 0, where the result is #DIV/0!.
Value poleAtZero(Call& call)
{
    if (call.number(0) == 0.0) return Failure::Div0;
    return finite(call.row().body.one(call.number(0)));
}

Value angleOfPointValue(Call& call)
{
    if (call.number(0) == 0.0 && call.number(1) == 0.0) return Failure::Div0;
    return finite(angleOfPoint(call.number(0), call.number(1)));
}

Value pi(Call&) { return kPi; }

/// a1 x^n + a2 x^(n+m) + a3 x^(n+2m) + ...
Value seriesSum(Call& call)
{
    const double x = call.number(0), step = call.number(2);
    double sum = 0.0, exponent = call.number(1);
    for (const Value& coefficient : call.elements(3)) {
        if (coefficient.isFailure()) return coefficient.failure();
        if (!coefficient.isNumber() && !coefficient.isEmpty()) return Failure::Value;
        if (coefficient.isNumber()) sum += coefficient.number() * std::pow(x, exponent);
        exponent += step;
    }
    return finite(sum);
}

// Rounding ----------------------------------------------------------------------------------------------

double wholeBelow(double x) { return std::floor(x); }
double evenOutward(double x) { return std::copysign(2.0 * std::ceil(std::fabs(x) / 2.0), x); }

double oddOutward(double x)
{
    const double size = 2.0 * std::ceil((std::fabs(x) + 1.0) / 2.0) - 1.0;
    return std::copysign(std::max(size, 1.0), x);
}

Value multipleNearest(Call& call)
{
    const double x = call.number(0), multiple = call.number(1);
    if (multiple == 0.0 || x == 0.0) return 0.0;
    if ((x < 0.0) != (multiple < 0.0)) return Failure::Num;
    return finite(noisyRound(x / multiple) * multiple); // halves away from zero
}

double multipleAbove(double x, double step) { return step == 0.0 ? 0.0 : noisyCeil(x / step) * step; }
double multipleBelow(double x, double step) { return step == 0.0 ? 0.0 : noisyFloor(x / step) * step; }

/// A negative significance turns the direction round for negative numbers: CEILING(-5.5, -2) is -6.
Value ceiling(Call& call)
{
    const double x = call.number(0), step = call.number(1);
    if (x > 0.0 && step < 0.0) return Failure::Num;
    return finite(multipleAbove(x, step));
}

Value floorTo(Call& call)
{
    const double x = call.number(0), step = call.number(1);
    if (x == 0.0) return 0.0;
    if (step == 0.0) return Failure::Div0;
    if (x > 0.0 && step < 0.0) return Failure::Num;
    return finite(multipleBelow(x, step));
}

double multipleAboveOf(double x, double step) { return multipleAbove(x, std::fabs(step)); }
double multipleBelowOf(double x, double step) { return multipleBelow(x, std::fabs(step)); }

/// The significance of CEILING.MATH and FLOOR.MATH: 1 also when it is left empty before the mode.
double significance(const Call& call) { return call.given(1) ? std::fabs(call.number(1)) : 1.0; }

Value ceilingMath(Call& call)
{
    const double x = call.number(0), step = significance(call);
    const bool outward = x < 0.0 && call.number(2) != 0.0;
    return finite(outward ? multipleBelow(x, step) : multipleAbove(x, step));
}

Value floorMath(Call& call)
{
    const double x = call.number(0), step = significance(call);
    const bool inward = x < 0.0 && call.number(2) != 0.0;
    return finite(inward ? multipleAbove(x, step) : multipleBelow(x, step));
}

// Division ----------------------------------------------------------------------------------------------

/// The remainder with the divisor's sign.
double modulo(double x, double divisor)
{
    if (divisor == 0.0) return kNaN;
    const double rest = std::fmod(x, divisor);
    return rest != 0.0 && (rest < 0.0) != (divisor < 0.0) ? rest + divisor : rest;
}

double quotient(double x, double divisor) { return divisor == 0.0 ? kNaN : std::trunc(x / divisor); }

/// A function of two numbers whose second one divides.
Value divisorSecond(Call& call)
{
    if (call.number(1) == 0.0) return Failure::Div0;
    return finite(call.row().body.two(call.number(0), call.number(1)));
}

double commonDivisor(double a, double b)
{
    while (b != 0.0) {
        const double rest = std::fmod(a, b);
        a = b;
        b = rest;
    }
    return a;
}

double commonMultiple(double a, double b) { return a == 0.0 || b == 0.0 ? 0.0 : a / commonDivisor(a, b) * b; }

/// The numbers of the arguments as the functions from the analysis add-in see them: texts that read as
/// numbers count wherever they stand, empty cells are 0, Booleans are refused.
std::optional<Failure> strictNumbers(Call& call, FunctionRef<void(double)> visitor)
{
    std::optional<Failure> failure;
    for (int i = 0; i < call.count() && !failure; ++i) {
        std::int64_t empty = static_cast<std::int64_t>(call.rows(i)) * call.cols(i);
        call.visit(i, [&](const Value& v, bool) {
            const Value x = v.isBoolean() ? Value(Failure::Value) : toNumber(v, call.dates());
            --empty;
            if (x.isFailure())
                failure = x.failure();
            else
                visitor(x.number());
            return !failure;
        });
        if (empty > 0) visitor(0.0);
    }
    return failure;
}

/// Folds the whole parts of all numbers; each must be in [0, 2^53).
template <double (*fold)(double, double)>
Value foldWhole(Call& call)
{
    bool first = true, valid = true;
    double result = 0.0;
    const auto failure = strictNumbers(call, [&](double x) {
        const double whole = std::trunc(x);
        valid = valid && whole >= 0.0 && whole < kWholeLimit;
        if (valid) result = first ? whole : fold(result, whole);
        first = false;
    });
    if (failure) return *failure;
    if (first) return Failure::Value;
    return valid && result < kWholeLimit ? Value(result) : Value(Failure::Num);
}

// Factorials and counting -------------------------------------------------------------------------------

double factorial(double x)
{
    const double n = std::trunc(x);
    if (!(x >= 0.0 && n <= 170.0)) return kNaN;
    return boost::math::unchecked_factorial<double>(static_cast<unsigned>(n));
}

double doubleFactorial(double x)
{
    const double n = std::trunc(x);
    if (!(n >= -1.0 && n <= 300.0)) return kNaN;
    double product = 1.0;
    for (double i = n; i > 1.0; i -= 2.0) product *= i;
    return product;
}

/// n over k of whole numbers; exact while the result is below 2^53.
double combinations(double n, double k)
{
    const double steps = std::min(k, n - k);
    double result = 1.0;
    for (double i = 1.0; i <= steps && std::isfinite(result); i += 1.0) {
        const double factor = n - steps + i;
        if (result < 1e290) {
            result = result * factor / i;
            if (result < kWholeLimit) result = std::round(result);
        } else {
            result *= factor / i;
        }
    }
    return result;
}

double choose(double number, double chosen)
{
    const double n = std::trunc(number), k = std::trunc(chosen);
    return n >= k && number >= 0.0 && chosen >= 0.0 ? combinations(n, k) : kNaN;
}

double chooseRepeated(double number, double chosen)
{
    const double n = std::trunc(number), k = std::trunc(chosen);
    if (!(n >= 0.0 && k >= 0.0)) return kNaN;
    if (k == 0.0) return 1.0;
    return n == 0.0 ? kNaN : combinations(n + k - 1.0, k);
}

double permutations(double number, double chosen)
{
    const double n = std::trunc(number), k = std::trunc(chosen);
    if (!(n >= k && number >= 0.0 && chosen >= 0.0)) return kNaN;
    double result = 1.0;
    for (double i = 0.0; i < k && std::isfinite(result); i += 1.0) result *= n - i;
    return result;
}

double permutationsRepeated(double number, double chosen)
{
    const double n = std::trunc(number), k = std::trunc(chosen);
    return n >= 0.0 && k >= 0.0 ? std::pow(n, k) : kNaN;
}

constexpr double kMostThings = 2147483647.0; // to choose from

/// (a + b + c ...)! / (a! b! c! ...), as a product of binomial coefficients.
Value multinomial(Call& call)
{
    bool valid = true;
    double total = 0.0, result = 1.0;
    const auto failure = strictNumbers(call, [&](double x) {
        const double k = std::trunc(x);
        valid = valid && k >= 0.0 && total + k < kMostThings;
        if (!valid) return;
        total += k;
        result *= combinations(total, k);
    });
    if (failure) return *failure;
    return valid ? finite(result) : Value(Failure::Num);
}

// Random numbers ----------------------------------------------------------------------------------------

Value randomNumber(Call& call) { return call.environment().random(); }

Value randomBetween(Call& call)
{
    if (call.number(0) > call.number(1)) return Failure::Num;
    const double low = std::ceil(call.number(0)), high = std::max(low, std::floor(call.number(1)));
    return finite(low + std::floor(call.environment().random() * (high - low + 1.0)));
}

// Numerals ----------------------------------------------------------------------------------------------

constexpr char kDigits[] = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ";

int digitValue(char c)
{
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'A' && c <= 'Z') return c - 'A' + 10;
    if (c >= 'a' && c <= 'z') return c - 'a' + 10;
    return 99;
}

Value toBase(Call& call)
{
    const double number = std::trunc(call.number(0)), radix = std::trunc(call.number(1));
    const double least = std::trunc(call.number(2));
    if (!(number >= 0.0 && number < kWholeLimit) || !(radix >= 2.0 && radix <= 36.0)) return Failure::Num;
    if (!(least >= 0.0 && least <= 255.0)) return Failure::Num;
    std::string digits;
    const auto base = static_cast<std::uint64_t>(radix);
    for (auto rest = static_cast<std::uint64_t>(number); rest > 0; rest /= base)
        digits += kDigits[rest % base];
    if (digits.empty()) digits = "0";
    while (digits.size() < static_cast<std::size_t>(least)) digits += '0';
    std::reverse(digits.begin(), digits.end());
    return digits;
}

Value fromBase(Call& call)
{
    std::string_view digits = call.text(0);
    const double radix = std::trunc(call.number(1));
    if (!(radix >= 2.0 && radix <= 36.0) || digits.size() > 255) return Failure::Num;
    while (!digits.empty() && digits.front() == ' ') digits.remove_prefix(1);
    double result = 0.0;
    for (const char c : digits) {
        const double digit = digitValue(c);
        if (digit >= radix) return Failure::Num;
        result = result * radix + digit;
    }
    return finite(result);
}

constexpr char kNumerals[] = {'I', 'V', 'X', 'L', 'C', 'D', 'M'};
constexpr int kNumeralValues[] = {1, 5, 10, 50, 100, 500, 1000};

/// How far above itself a numeral may stand in front of a larger one. Form 0 is classic: only I, X and C,
/// in front of the next two. Each further form allows wider steps: 499 is CDXCIX, LDVLIV, XDIX, VDIV, ID.
int widestStep(int numeral, int form)
{
    const bool powerOfTen = numeral % 2 == 0;
    if (powerOfTen) return form < 2 ? 2 : form < 4 ? 4 : 6;
    return form < 1 ? 0 : form < 3 ? 3 : 5;
}

/// Appends the numeral or pair of the largest value that fits; returns that value.
int appendLargestNumeral(std::string& text, int rest, int form)
{
    int best = 0, bestSmall = 0, bestLarge = 0;
    for (int large = 0; large < 7; ++large) {
        for (int small = large; small >= 0; --small) {
            const bool pair = small != large;
            if (pair && large - small > widestStep(small, form)) continue;
            const int worth = kNumeralValues[large] - (pair ? kNumeralValues[small] : 0);
            if (worth > rest || worth <= best) continue;
            best = worth;
            bestSmall = small;
            bestLarge = large;
        }
    }
    if (bestSmall != bestLarge) text += kNumerals[bestSmall];
    text += kNumerals[bestLarge];
    return best;
}

Value roman(Call& call)
{
    const double number = std::trunc(call.number(0));
    double form = 0.0;
    if (call.count() > 1) {
        const Value& wanted = call.value(1);
        const Value converted = toNumber(wanted, call.dates());
        if (converted.isFailure()) return converted;
        form = std::trunc(converted.number());
        if (wanted.isBoolean()) form = wanted.boolean() ? 0.0 : 4.0; // TRUE is classic, FALSE the shortest
    }
    if (!(number >= 0.0 && number <= 3999.0) || !(form >= 0.0 && form <= 4.0)) return Failure::Value;
    std::string text;
    for (int rest = static_cast<int>(number); rest > 0;)
        rest -= appendLargestNumeral(text, rest, static_cast<int>(form));
    return text;
}

Value arabic(Call& call)
{
    std::string_view text = call.text(0);
    while (!text.empty() && text.front() == ' ') text.remove_prefix(1);
    while (!text.empty() && text.back() == ' ') text.remove_suffix(1);
    const bool negative = !text.empty() && text.front() == '-';
    if (negative) text.remove_prefix(1);
    if (text.size() > 255) return Failure::Value;
    if (negative && text.empty()) return Failure::Num;
    int sum = 0, largest = 0;
    for (std::size_t i = text.size();
         i-- > 0;) { // from the right: what is less than its right side counts off
        const char c = text[i] >= 'a' && text[i] <= 'z' ? static_cast<char>(text[i] - 'a' + 'A') : text[i];
        const auto* const at = std::find(std::begin(kNumerals), std::end(kNumerals), c);
        if (at == std::end(kNumerals)) return Failure::Value;
        const int value = kNumeralValues[at - std::begin(kNumerals)];
        sum += value < largest ? -value : value;
        largest = std::max(largest, value);
    }
    return negative ? -sum : sum;
}

constexpr FunctionRow rows[] = {
    {"ABS", {number()}, Trait::Pure, map1<absolute>, "the number without its sign", "=ABS(-2.5)", "2.5"},
    {"ACOS", {number()}, Trait::Pure, map1<arcCosine>, "the angle of that cosine, 0 to pi", "=ACOS(1)", "0"},
    {"ACOSH", {number()}, Trait::Pure, map1<areaCosine>, "inverse hyperbolic cosine", "=ACOSH(1)", "0"},
    {"ACOT",
     {number()},
     Trait::Pure,
     map1<arcCotangent>,
     "the angle of that cotangent, 0 to pi",
     "=ROUND(ACOT(-1), 9)",
     "2.35619449"},
    {"ACOTH",
     {number()},
     Trait::Pure,
     map1<areaCotangent>,
     "inverse hyperbolic cotangent",
     "=ROUND(ACOTH(2), 9)",
     "0.549306144"},
    {"ARABIC",
     {text()},
     Trait::Pure,
     arabic,
     "the number that a roman numeral stands for",
     "=ARABIC(\"MCMXCIX\")",
     "1999"},
    {"ASIN",
     {number()},
     Trait::Pure,
     map1<arcSine>,
     "the angle of that sine, -pi/2 to pi/2",
     "=DEGREES(ASIN(1))",
     "90"},
    {"ASINH",
     {number()},
     Trait::Pure,
     map1<areaSine>,
     "inverse hyperbolic sine",
     "=ROUND(ASINH(1), 9)",
     "0.881373587"},
    {"ATAN",
     {number()},
     Trait::Pure,
     map1<arcTangent>,
     "the angle of that tangent, -pi/2 to pi/2",
     "=DEGREES(ATAN(1))",
     "45"},
    {"ATAN2",
     {number(), number()},
     Trait::Pure,
     Body{angleOfPointValue, angleOfPoint},
     "the angle of the point x, y",
     "=DEGREES(ATAN2(-1, 1))",
     "135"},
    {"ATANH",
     {number()},
     Trait::Pure,
     map1<areaTangent>,
     "inverse hyperbolic tangent",
     "=ROUND(ATANH(0.5), 9)",
     "0.549306144"},
    {"BASE",
     {number(), number(), number(0)},
     Trait::Pure,
     toBase,
     "the number's digits in base 2 to 36",
     "=BASE(255, 16, 4)",
     "00FF"},
    {"CEILING", {number(), number()}, Trait::Pure, ceiling, "up to a multiple", "=CEILING(2.1, 0.5)", "2.5"},
    {"CEILING.MATH",
     {number(), number(1), number(0)},
     Trait::Pure,
     ceilingMath,
     "up to a multiple; negative numbers away from zero when the mode is not 0",
     "=CEILING.MATH(-5.5, 2, 1)",
     "-6"},
    {"CEILING.PRECISE",
     {number(), number(1)},
     Trait::Pure,
     map2<multipleAboveOf>,
     "up to a multiple whatever the signs",
     "=CEILING.PRECISE(-4.3, -2)",
     "-4"},
    {"COMBIN",
     {number(), number()},
     Trait::Pure,
     map2<choose>,
     "ways to choose k of n",
     "=COMBIN(49, 6)",
     "13983816"},
    {"COMBINA",
     {number(), number()},
     Trait::Pure,
     map2<chooseRepeated>,
     "ways to choose k of n with repetition",
     "=COMBINA(4, 3)",
     "20"},
    {"COS", {number()}, Trait::Pure, map1<cosine>, "cosine of an angle in radians", "=COS(0)", "1"},
    {"COSH", {number()}, Trait::Pure, map1<hyperbolicCosine>, "hyperbolic cosine", "=COSH(0)", "1"},
    {"COT",
     {number()},
     Trait::Pure,
     Body{poleAtZero, cotangent},
     "cotangent of an angle in radians",
     "=ROUND(COT(PI()/4), 9)",
     "1"},
    {"COTH",
     {number()},
     Trait::Pure,
     Body{poleAtZero, hyperbolicCotangent},
     "hyperbolic cotangent",
     "=ROUND(COTH(1), 9)",
     "1.313035285"},
    {"CSC",
     {number()},
     Trait::Pure,
     Body{poleAtZero, cosecant},
     "cosecant of an angle in radians",
     "=CSC(PI()/2)",
     "1"},
    {"CSCH",
     {number()},
     Trait::Pure,
     Body{poleAtZero, hyperbolicCosecant},
     "hyperbolic cosecant",
     "=ROUND(CSCH(1), 9)",
     "0.850918128"},
    {"DECIMAL",
     {text(), number()},
     Trait::Pure,
     fromBase,
     "the number that digits in base 2 to 36 stand for",
     "=DECIMAL(\"ff\", 16)",
     "255"},
    {"DEGREES", {number()}, Trait::Pure, map1<degrees>, "radians in degrees", "=DEGREES(PI())", "180"},
    {"EVEN",
     {number()},
     Trait::Pure,
     map1<evenOutward>,
     "to the next even number outward",
     "=EVEN(-1.5)",
     "-2"},
    {"EXP", {number()}, Trait::Pure, map1<exponential>, "e to that power", "=EXP(0)", "1"},
    {"FACT", {number()}, Trait::Pure, map1<factorial>, "factorial of the whole part", "=FACT(5.9)", "120"},
    {"FACTDOUBLE",
     {number()},
     Trait::Pure,
     map1<doubleFactorial>,
     "n (n-2) (n-4) ...",
     "=FACTDOUBLE(7)",
     "105"},
    {"FLOOR", {number(), number()}, Trait::Pure, floorTo, "down to a multiple", "=FLOOR(2.9, 0.5)", "2.5"},
    {"FLOOR.MATH",
     {number(), number(1), number(0)},
     Trait::Pure,
     floorMath,
     "down to a multiple; negative numbers towards zero when the mode is not 0",
     "=FLOOR.MATH(-5.5, 2, 1)",
     "-4"},
    {"FLOOR.PRECISE",
     {number(), number(1)},
     Trait::Pure,
     map2<multipleBelowOf>,
     "down to a multiple whatever the signs",
     "=FLOOR.PRECISE(-4.3, -2)",
     "-6"},
    {"GCD",
     {repeats(range())},
     Trait::Pure,
     foldWhole<commonDivisor>,
     "greatest common divisor",
     "=GCD(24, 36)",
     "12"},
    {"INT", {number()}, Trait::Pure, map1<wholeBelow>, "the whole number at or below", "=INT(-8.9)", "-9"},
    {"ISO.CEILING",
     {number(), number(1)},
     Trait::Pure,
     map2<multipleAboveOf>,
     "up to a multiple whatever the signs",
     "=ISO.CEILING(4.3, -2)",
     "6"},
    {"LCM",
     {repeats(range())},
     Trait::Pure,
     foldWhole<commonMultiple>,
     "least common multiple",
     "=LCM(24, 36)",
     "72"},
    {"LN", {number()}, Trait::Pure, map1<naturalLog>, "natural logarithm", "=LN(EXP(3))", "3"},
    {"LOG",
     {number(), number(10)},
     Trait::Pure,
     Body{logToBaseValue, logToBase},
     "logarithm to a base, 10 unless given",
     "=LOG(8, 2)",
     "3"},
    {"LOG10", {number()}, Trait::Pure, map1<decimalLog>, "logarithm to base 10", "=LOG10(1000)", "3"},
    {"MOD",
     {number(), number()},
     Trait::Pure,
     Body{divisorSecond, modulo},
     "remainder of a division, with the divisor's sign",
     "=MOD(-3, 2)",
     "1"},
    {"MROUND",
     {number(), number()},
     Trait::Pure,
     multipleNearest,
     "to the nearest multiple",
     "=MROUND(10, 3)",
     "9"},
    {"MULTINOMIAL",
     {repeats(range())},
     Trait::Pure,
     multinomial,
     "factorial of the sum over the product of the factorials",
     "=MULTINOMIAL(2, 3, 4)",
     "1260"},
    {"ODD", {number()}, Trait::Pure, map1<oddOutward>, "to the next odd number outward", "=ODD(1.5)", "3"},
    {"PERMUT",
     {number(), number()},
     Trait::Pure,
     map2<permutations>,
     "ordered choices of k of n",
     "=PERMUT(5, 2)",
     "20"},
    {"PERMUTATIONA",
     {number(), number()},
     Trait::Pure,
     map2<permutationsRepeated>,
     "ordered choices of k of n with repetition",
     "=PERMUTATIONA(3, 2)",
     "9"},
    {"PI",
     {},
     Trait::Pure,
     pi,
     "the ratio of a circle's circumference to its diameter",
     "=PI()",
     "3.14159265358979"},
    {"POWER",
     {number(), number()},
     Trait::Pure,
     Body{powerValue, power},
     "a number raised to a power",
     "=POWER(2, 10)",
     "1024"},
    {"QUOTIENT",
     {number(), number()},
     Trait::Pure,
     Body{divisorSecond, quotient},
     "whole part of a division",
     "=QUOTIENT(-10, 3)",
     "-3"},
    {"RADIANS",
     {number()},
     Trait::Pure,
     map1<radians>,
     "degrees in radians",
     "=RADIANS(180)",
     "3.14159265358979"},
    {"RAND", {}, Trait::Volatile, randomNumber, "a random number from 0 to below 1", "=RAND()<1", "TRUE"},
    {"RANDBETWEEN",
     {number(), number()},
     Trait::Volatile,
     randomBetween,
     "a random whole number between two, both included",
     "=RANDBETWEEN(5, 5)",
     "5"},
    {"ROMAN",
     {number(), optional(scalar())},
     Trait::Pure,
     roman,
     "the number as a roman numeral",
     "=ROMAN(499, 4)",
     "ID"},
    {"ROUND",
     {number(), number()},
     Trait::Pure,
     map2<roundPlaces>,
     "to that many decimal places, halves away from zero",
     "=ROUND(2.675, 2)",
     "2.68"},
    {"ROUNDDOWN",
     {number(), number()},
     Trait::Pure,
     map2<roundPlacesInward>,
     "to that many decimal places, towards zero",
     "=ROUNDDOWN(-2.679, 2)",
     "-2.67"},
    {"ROUNDUP",
     {number(), number()},
     Trait::Pure,
     map2<roundPlacesOutward>,
     "to that many decimal places, away from zero",
     "=ROUNDUP(-2.671, 2)",
     "-2.68"},
    {"SEC", {number()}, Trait::Pure, map1<secant>, "secant of an angle in radians", "=SEC(0)", "1"},
    {"SECH", {number()}, Trait::Pure, map1<hyperbolicSecant>, "hyperbolic secant", "=SECH(0)", "1"},
    {"SERIESSUM",
     {number(), number(), number(), array()},
     Trait::Pure,
     seriesSum,
     "a power series with those coefficients",
     "=SERIESSUM(2, 0, 1, {1,2,3})",
     "17"},
    {"SIGN", {number()}, Trait::Pure, map1<sign>, "1, 0 or -1", "=SIGN(-3)", "-1"},
    {"SIN", {number()}, Trait::Pure, map1<sine>, "sine of an angle in radians", "=SIN(PI()/2)", "1"},
    {"SINH",
     {number()},
     Trait::Pure,
     map1<hyperbolicSine>,
     "hyperbolic sine",
     "=ROUND(SINH(1), 9)",
     "1.175201194"},
    {"SQRT", {number()}, Trait::Pure, map1<squareRoot>, "square root", "=SQRT(2.25)", "1.5"},
    {"SQRTPI",
     {number()},
     Trait::Pure,
     map1<squareRootPi>,
     "square root of a multiple of pi",
     "=ROUND(SQRTPI(1), 9)",
     "1.772453851"},
    {"TAN", {number()}, Trait::Pure, map1<tangent>, "tangent of an angle in radians", "=TAN(0)", "0"},
    {"TANH",
     {number()},
     Trait::Pure,
     map1<hyperbolicTangent>,
     "hyperbolic tangent",
     "=ROUND(TANH(1), 9)",
     "0.761594156"},
    {"TRUNC",
     {number(), number(0)},
     Trait::Pure,
     map2<roundPlacesInward>,
     "cut off after that many decimal places",
     "=TRUNC(-8.99, 1)",
     "-8.9"},
};
static_assert(wellFormed(rows));

} // namespace

std::span<const FunctionRow> mathematicsFunctions() { return rows; }

} // namespace varnex3::sheet
