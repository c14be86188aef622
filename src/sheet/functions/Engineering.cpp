// sheet/functions/Engineering.cpp - number bases, bits, error and Bessel functions, complex numbers, units.
//
// Complex numbers travel as texts such as "3-4i"; the units themselves are in Units.cpp.
#include <charconv>
#include <cmath>
#include <complex>
#include <cstdint>
#include <limits>
#include <numbers>
#include <string>

#include <boost/math/policies/policy.hpp>
#include <boost/math/special_functions/bessel.hpp>

#include "sheet/format/Convert.h"
#include "sheet/functions/Function.h"
#include "sheet/functions/Units.h"

namespace varnex3::sheet {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

// Number bases: up to ten digits, two's complement ---------------------------------------------------------

constexpr int kBaseDigits = 10;

constexpr double powerOf(int base)
{
    double p = 1.0;
    for (int i = 0; i < kBaseDigits; ++i) p *= base;
    return p;
}

/// Nothing for other characters than digits of the base and for more than ten of them.
std::optional<double> valueOfDigits(std::string_view digits, int base)
{
    if (digits.size() > kBaseDigits) return std::nullopt;
    double value = 0.0;
    for (const char c : digits) {
        const int digit = c >= '0' && c <= '9'   ? c - '0'
                          : c >= 'A' && c <= 'F' ? c - 'A' + 10
                          : c >= 'a' && c <= 'f' ? c - 'a' + 10
                                                 : base;
        if (digit >= base) return std::nullopt;
        value = value * base + digit;
    }
    return value >= powerOf(base) / 2.0 ? value - powerOf(base) : value; // ten digits, the first one high
}

/// Negative numbers always fill ten digits; others are padded to `places` (0: as many as needed).
std::optional<std::string> digitsOfValue(double value, int base, double places)
{
    const double half = powerOf(base) / 2.0;
    if (!(value >= -half && value < half)) return std::nullopt;
    std::string digits;
    auto rest = static_cast<std::uint64_t>(value < 0.0 ? value + 2.0 * half : value);
    const auto radix = static_cast<std::uint64_t>(base);
    do {
        digits.insert(digits.begin(), "0123456789ABCDEF"[rest % radix]);
        rest /= radix;
    } while (rest > 0);
    if (value < 0.0 || places == 0.0) return digits;
    if (static_cast<double>(digits.size()) > places) return std::nullopt;
    digits.insert(0, static_cast<std::size_t>(places) - digits.size(), '0');
    return digits;
}

/// The places argument as a whole number from 1 to 10; 0 when it is not written, nothing when it is wrong.
std::optional<double> wantedPlaces(const Call& call)
{
    if (!call.given(1)) return 0.0;
    const double places = std::trunc(call.number(1));
    return places >= 1.0 && places <= kBaseDigits ? std::optional(places) : std::nullopt;
}

template <int base>
Value toDecimal(Call& call)
{
    const auto value = valueOfDigits(call.text(0), base);
    return value ? Value(*value) : Value(Failure::Num);
}

template <int base>
Value fromDecimal(Call& call)
{
    const auto places = wantedPlaces(call);
    if (!places) return Failure::Num;
    const auto digits = digitsOfValue(std::trunc(call.number(0)), base, *places);
    return digits ? Value(*digits) : Value(Failure::Num);
}

template <int from, int to>
Value betweenBases(Call& call)
{
    const auto value = valueOfDigits(call.text(0), from);
    const auto places = wantedPlaces(call);
    if (!value || !places) return Failure::Num;
    const auto digits = digitsOfValue(*value, to, *places);
    return digits ? Value(*digits) : Value(Failure::Num);
}

// Bits of whole numbers below 2^48
// ---------------------------------------------------------------------------

constexpr double kBitLimit = 281474976710656.0; // 2^48

bool isBits(double x) { return x >= 0.0 && x < kBitLimit && x == std::floor(x); }

std::uint64_t conjunction(std::uint64_t a, std::uint64_t b) { return a & b; }
std::uint64_t disjunction(std::uint64_t a, std::uint64_t b) { return a | b; }
std::uint64_t difference(std::uint64_t a, std::uint64_t b) { return a ^ b; }

template <std::uint64_t (*combine)(std::uint64_t, std::uint64_t)>
double combineBits(double a, double b)
{
    if (!isBits(a) || !isBits(b)) return kNaN;
    return static_cast<double>(combine(static_cast<std::uint64_t>(a), static_cast<std::uint64_t>(b)));
}

double shiftLeft(double x, double shift)
{
    const double places = std::trunc(shift);
    if (!isBits(x) || std::fabs(places) > 53.0) return kNaN;
    const double shifted = std::floor(std::ldexp(x, static_cast<int>(places)));
    return shifted < kBitLimit ? shifted : kNaN;
}

double shiftRight(double x, double shift) { return shiftLeft(x, -shift); }

// Steps, error and Bessel functions
// --------------------------------------------------------------------------

double equalNumbers(double a, double b) { return a == b ? 1.0 : 0.0; }
double reaches(double x, double step) { return x >= step ? 1.0 : 0.0; }
double errorFunction(double x) { return std::erf(x); }
double errorComplement(double x) { return std::erfc(x); }

/// From 0 to the first argument, or between both.
Value errorBetween(Call& call)
{
    const double low = std::erf(call.number(0));
    return call.given(1) ? std::erf(call.number(1)) - low : low;
}

// Results out of range come back as NaN or infinities instead of exceptions.
using Quiet = boost::math::policies::policy<
    boost::math::policies::domain_error<boost::math::policies::ignore_error>,
    boost::math::policies::pole_error<boost::math::policies::ignore_error>,
    boost::math::policies::overflow_error<boost::math::policies::ignore_error>,
    boost::math::policies::evaluation_error<boost::math::policies::ignore_error>>;

constexpr double kLargestOrder = 1e6;

bool isOrder(double n) { return n >= 0.0 && n <= kLargestOrder; }

double besselI(double x, double order)
{
    const double n = std::trunc(order);
    return isOrder(n) ? boost::math::cyl_bessel_i(static_cast<int>(n), x, Quiet()) : kNaN;
}

double besselJ(double x, double order)
{
    const double n = std::trunc(order);
    return isOrder(n) ? boost::math::cyl_bessel_j(static_cast<int>(n), x, Quiet()) : kNaN;
}

double besselK(double x, double order)
{
    const double n = std::trunc(order);
    return isOrder(n) && x > 0.0 ? boost::math::cyl_bessel_k(static_cast<int>(n), x, Quiet()) : kNaN;
}

double besselY(double x, double order)
{
    const double n = std::trunc(order);
    return isOrder(n) && x > 0.0 ? boost::math::cyl_neumann(static_cast<int>(n), x, Quiet()) : kNaN;
}

// Complex numbers
// --------------------------------------------------------------------------------------------

using Complex = std::complex<double>;

struct ComplexText {
    Complex number;
    char unit = '\0'; // the letter that was written, i or j; none for a real number
};

/// Reads one signed term from the front of the text: a number, a number with i or j, or the letter alone.
struct Term {
    double size = 0.0;
    char unit = '\0';
};
std::optional<Term> readTerm(std::string_view& text)
{
    Term term;
    double sign = 1.0;
    if (!text.empty() && (text.front() == '+' || text.front() == '-')) {
        if (text.front() == '-') sign = -1.0;
        text.remove_prefix(1);
    }
    const bool digits =
        !text.empty() && (text.front() == '.' || (text.front() >= '0' && text.front() <= '9'));
    if (digits) {
        const auto read = std::from_chars(text.data(), text.data() + text.size(), term.size);
        if (read.ec != std::errc()) return std::nullopt;
        text.remove_prefix(static_cast<std::size_t>(read.ptr - text.data()));
    }
    if (!text.empty() && (text.front() == 'i' || text.front() == 'j')) {
        term.unit = text.front();
        text.remove_prefix(1);
        if (!digits) term.size = 1.0;
    } else if (!digits) {
        return std::nullopt;
    }
    term.size *= sign;
    return term;
}

std::optional<ComplexText> readComplex(std::string_view text)
{
    const auto first = readTerm(text);
    if (!first) return std::nullopt;
    if (first->unit != '\0') {
        if (!text.empty()) return std::nullopt;
        return ComplexText{{0.0, first->size}, first->unit};
    }
    if (text.empty()) return ComplexText{{first->size, 0.0}};
    if (text.front() != '+' && text.front() != '-') return std::nullopt;
    const auto second = readTerm(text);
    if (!second || second->unit == '\0' || !text.empty()) return std::nullopt;
    return ComplexText{{first->size, second->size}, second->unit};
}

Value complexValue(const Complex& z, char unit)
{
    if (!std::isfinite(z.real()) || !std::isfinite(z.imag())) return Failure::Num;
    if (z.imag() == 0.0) return generalText(z.real() == 0.0 ? 0.0 : z.real());
    std::string imaginary = z.imag() == 1.0 ? "" : z.imag() == -1.0 ? "-" : generalText(z.imag());
    imaginary += unit == '\0' ? 'i' : unit;
    if (z.real() == 0.0) return imaginary;
    return generalText(z.real()) + (z.imag() > 0.0 ? "+" : "") + imaginary;
}

Value makeComplex(Call& call)
{
    const std::string_view unit = call.given(2) ? call.text(2) : "i";
    if (unit != "i" && unit != "j" && !unit.empty()) return Failure::Value;
    return complexValue({call.number(0), call.number(1)}, unit.empty() ? 'i' : unit.front());
}

template <double (*measure)(const Complex&)>
Value realOf(Call& call)
{
    const auto z = readComplex(call.text(0));
    return z ? finite(measure(z->number)) : Value(Failure::Num);
}

double realPart(const Complex& z) { return z.real(); }
double imaginaryPart(const Complex& z) { return z.imag(); }
double modulus(const Complex& z) { return std::abs(z); }

Value argument(Call& call)
{
    const auto z = readComplex(call.text(0));
    if (!z) return Failure::Num;
    if (z->number == Complex()) return Failure::Div0;
    return std::arg(z->number);
}

template <Complex (*function)(const Complex&)>
Value complexOf(Call& call)
{
    const auto z = readComplex(call.text(0));
    return z ? complexValue(function(z->number), z->unit) : Value(Failure::Num);
}

Complex conjugate(const Complex& z) { return std::conj(z); }
Complex exponential(const Complex& z) { return std::exp(z); }
Complex root(const Complex& z) { return std::sqrt(z); }
Complex sine(const Complex& z) { return std::sin(z); }
Complex cosine(const Complex& z) { return std::cos(z); }
Complex tangent(const Complex& z) { return std::tan(z); }
Complex secant(const Complex& z) { return 1.0 / std::cos(z); }
Complex cosecant(const Complex& z) { return 1.0 / std::sin(z); }
Complex cotangent(const Complex& z) { return 1.0 / std::tan(z); }
Complex hyperbolicSine(const Complex& z) { return std::sinh(z); }
Complex hyperbolicCosine(const Complex& z) { return std::cosh(z); }
Complex hyperbolicSecant(const Complex& z) { return 1.0 / std::cosh(z); }
Complex hyperbolicCosecant(const Complex& z) { return 1.0 / std::sinh(z); }
Complex naturalLog(const Complex& z) { return std::log(z); }
Complex decimalLog(const Complex& z) { return std::log(z) * std::numbers::log10e; }
Complex binaryLog(const Complex& z) { return std::log(z) * std::numbers::log2e; }

Value complexPower(Call& call)
{
    const auto z = readComplex(call.text(0));
    if (!z) return Failure::Num;
    const double exponent = call.number(1);
    if (z->number == Complex()) return exponent > 0.0 ? Value("0") : Value(Failure::Num);
    // Whole powers by multiplication keep whole results whole.
    if (exponent == std::trunc(exponent) && std::fabs(exponent) <= 64.0) {
        Complex result = 1.0;
        for (double k = 0.0; k < std::fabs(exponent); k += 1.0) result *= z->number;
        return complexValue(exponent < 0.0 ? 1.0 / result : result, z->unit);
    }
    return complexValue(std::polar(std::pow(std::abs(z->number), exponent), std::arg(z->number) * exponent),
                        z->unit);
}

Complex sum(const Complex& a, const Complex& b) { return a + b; }
Complex remainder(const Complex& a, const Complex& b) { return a - b; }
Complex product(const Complex& a, const Complex& b) { return a * b; }
Complex quotient(const Complex& a, const Complex& b) { return a / b; } // by 0: not finite, #NUM!

/// Folds all complex numbers of the arguments; i and j must not be mixed.
template <Complex (*fold)(const Complex&, const Complex&)>
Value foldComplex(Call& call)
{
    std::optional<ComplexText> result;
    std::optional<Failure> failure;
    for (int i = 0; i < call.count() && !failure; ++i) {
        call.visit(i, [&](const Value& v, bool) {
            if (v.isEmpty()) return true;
            const Value text = toText(v);
            const auto z = text.isText() ? readComplex(text.text()) : std::nullopt;
            if (v.isFailure()) {
                failure = v.failure();
            } else if (!z) {
                failure = Failure::Num;
            } else if (!result) {
                result = z;
            } else if (result->unit != '\0' && z->unit != '\0' && result->unit != z->unit) {
                failure = Failure::Value;
            } else {
                result->number = fold(result->number, z->number);
                if (result->unit == '\0') result->unit = z->unit;
            }
            return !failure;
        });
    }
    if (failure) return *failure;
    return result ? complexValue(result->number, result->unit) : Value(Failure::Value);
}

// Units
// ------------------------------------------------------------------------------------------------------

Value convert(Call& call)
{
    const auto converted = convertUnits(call.number(0), call.text(1), call.text(2));
    return converted ? finite(*converted) : Value(Failure::NA);
}

constexpr FunctionRow rows[] = {
    {"BESSELI",
     {number(), number()},
     Trait::Pure,
     map2<besselI>,
     "modified Bessel function of the first kind",
     "=ROUND(BESSELI(1.5, 1), 6)",
     "0.981666"},
    {"BESSELJ",
     {number(), number()},
     Trait::Pure,
     map2<besselJ>,
     "Bessel function of the first kind",
     "=ROUND(BESSELJ(1.9, 2), 6)",
     "0.329926"},
    {"BESSELK",
     {number(), number()},
     Trait::Pure,
     map2<besselK>,
     "modified Bessel function of the second kind",
     "=ROUND(BESSELK(1.5, 1), 6)",
     "0.277388"},
    {"BESSELY",
     {number(), number()},
     Trait::Pure,
     map2<besselY>,
     "Bessel function of the second kind",
     "=ROUND(BESSELY(2.5, 1), 6)",
     "0.145918"},
    {"BIN2DEC",
     {text()},
     Trait::Pure,
     toDecimal<2>,
     "a binary number in decimals",
     "=BIN2DEC(\"1100100\")",
     "100"},
    {"BIN2HEX",
     {text(), optional(number())},
     Trait::Pure,
     betweenBases<2, 16>,
     "a binary number in hexadecimals",
     "=BIN2HEX(\"11111011\", 4)",
     "00FB"},
    {"BIN2OCT",
     {text(), optional(number())},
     Trait::Pure,
     betweenBases<2, 8>,
     "a binary number in octals",
     "=BIN2OCT(\"1100100\")",
     "144"},
    {"BITAND",
     {number(), number()},
     Trait::Pure,
     map2<combineBits<conjunction>>,
     "bits that both numbers have",
     "=BITAND(13, 25)",
     "9"},
    {"BITLSHIFT",
     {number(), number()},
     Trait::Pure,
     map2<shiftLeft>,
     "bits moved to the left",
     "=BITLSHIFT(4, 2)",
     "16"},
    {"BITOR",
     {number(), number()},
     Trait::Pure,
     map2<combineBits<disjunction>>,
     "bits that either number has",
     "=BITOR(23, 10)",
     "31"},
    {"BITRSHIFT",
     {number(), number()},
     Trait::Pure,
     map2<shiftRight>,
     "bits moved to the right",
     "=BITRSHIFT(13, 2)",
     "3"},
    {"BITXOR",
     {number(), number()},
     Trait::Pure,
     map2<combineBits<difference>>,
     "bits that only one number has",
     "=BITXOR(5, 3)",
     "6"},
    {"COMPLEX",
     {number(), number(), optional(text())},
     Trait::Pure,
     makeComplex,
     "a complex number from its parts",
     "=COMPLEX(3, -4)",
     "3-4i"},
    {"CONVERT",
     {number(), text(), text()},
     Trait::Pure,
     convert,
     "a measure in another unit",
     "=CONVERT(2.5, \"ft\", \"in\")",
     "30"},
    {"DEC2BIN",
     {number(), optional(number())},
     Trait::Pure,
     fromDecimal<2>,
     "a number in binary digits",
     "=DEC2BIN(9, 6)",
     "001001"},
    {"DEC2HEX",
     {number(), optional(number())},
     Trait::Pure,
     fromDecimal<16>,
     "a number in hexadecimal digits",
     "=DEC2HEX(-54)",
     "FFFFFFFFCA"},
    {"DEC2OCT",
     {number(), optional(number())},
     Trait::Pure,
     fromDecimal<8>,
     "a number in octal digits",
     "=DEC2OCT(58, 3)",
     "072"},
    {"DELTA",
     {number(), number(0)},
     Trait::Pure,
     map2<equalNumbers>,
     "1 when two numbers are equal, else 0",
     "=DELTA(5, 4)",
     "0"},
    {"ERF",
     {number(), optional(number())},
     Trait::Pure,
     errorBetween,
     "error function from 0 or between two limits",
     "=ROUND(ERF(0.745), 6)",
     "0.707929"},
    {"ERF.PRECISE",
     {number()},
     Trait::Pure,
     map1<errorFunction>,
     "error function",
     "=ROUND(ERF.PRECISE(1), 6)",
     "0.842701"},
    {"ERFC",
     {number()},
     Trait::Pure,
     map1<errorComplement>,
     "complement of the error function",
     "=ROUND(ERFC(1), 6)",
     "0.157299"},
    {"ERFC.PRECISE",
     {number()},
     Trait::Pure,
     map1<errorComplement>,
     "complement of the error function",
     "=ROUND(ERFC.PRECISE(1), 6)",
     "0.157299"},
    {"GESTEP",
     {number(), number(0)},
     Trait::Pure,
     map2<reaches>,
     "1 when a number reaches a step, else 0",
     "=GESTEP(5, 4)",
     "1"},
    {"HEX2BIN",
     {text(), optional(number())},
     Trait::Pure,
     betweenBases<16, 2>,
     "a hexadecimal number in binary digits",
     "=HEX2BIN(\"F\", 8)",
     "00001111"},
    {"HEX2DEC",
     {text()},
     Trait::Pure,
     toDecimal<16>,
     "a hexadecimal number in decimals",
     "=HEX2DEC(\"FFFFFFFF5B\")",
     "-165"},
    {"HEX2OCT",
     {text(), optional(number())},
     Trait::Pure,
     betweenBases<16, 8>,
     "a hexadecimal number in octals",
     "=HEX2OCT(\"F\", 3)",
     "017"},
    {"IMABS",
     {text()},
     Trait::Pure,
     realOf<modulus>,
     "absolute value of a complex number",
     "=IMABS(\"5+12i\")",
     "13"},
    {"IMAGINARY",
     {text()},
     Trait::Pure,
     realOf<imaginaryPart>,
     "imaginary part",
     "=IMAGINARY(\"3-4j\")",
     "-4"},
    {"IMARGUMENT",
     {text()},
     Trait::Pure,
     argument,
     "angle of a complex number",
     "=DEGREES(IMARGUMENT(\"1+i\"))",
     "45"},
    {"IMCONJUGATE",
     {text()},
     Trait::Pure,
     complexOf<conjugate>,
     "complex conjugate",
     "=IMCONJUGATE(\"3+4i\")",
     "3-4i"},
    {"IMCOS", {text()}, Trait::Pure, complexOf<cosine>, "cosine of a complex number", "=IMCOS(\"0\")", "1"},
    {"IMCOSH",
     {text()},
     Trait::Pure,
     complexOf<hyperbolicCosine>,
     "hyperbolic cosine of a complex number",
     "=IMCOSH(\"0\")",
     "1"},
    {"IMCOT",
     {text()},
     Trait::Pure,
     complexOf<cotangent>,
     "cotangent of a complex number",
     "=ROUND(IMAGINARY(IMCOT(\"i\")), 6)",
     "-1.313035"},
    {"IMCSC",
     {text()},
     Trait::Pure,
     complexOf<cosecant>,
     "cosecant of a complex number",
     "=ROUND(IMAGINARY(IMCSC(\"i\")), 6)",
     "-0.850918"},
    {"IMCSCH",
     {text()},
     Trait::Pure,
     complexOf<hyperbolicCosecant>,
     "hyperbolic cosecant of a complex number",
     "=ROUND(IMREAL(IMCSCH(\"1\")), 6)",
     "0.850918"},
    {"IMDIV",
     {text(), text()},
     Trait::Pure,
     foldComplex<quotient>,
     "quotient of two complex numbers",
     "=IMDIV(\"-238+240i\", \"10+24i\")",
     "5+12i"},
    {"IMEXP", {text()}, Trait::Pure, complexOf<exponential>, "e to a complex power", "=IMEXP(\"0\")", "1"},
    {"IMLN",
     {text()},
     Trait::Pure,
     complexOf<naturalLog>,
     "natural logarithm of a complex number",
     "=ROUND(IMREAL(IMLN(\"3+4i\")), 6)",
     "1.609438"},
    {"IMLOG10",
     {text()},
     Trait::Pure,
     complexOf<decimalLog>,
     "logarithm to base 10 of a complex number",
     "=ROUND(IMREAL(IMLOG10(\"3+4i\")), 6)",
     "0.69897"},
    {"IMLOG2",
     {text()},
     Trait::Pure,
     complexOf<binaryLog>,
     "logarithm to base 2 of a complex number",
     "=ROUND(IMREAL(IMLOG2(\"3+4i\")), 6)",
     "2.321928"},
    {"IMPOWER",
     {text(), number()},
     Trait::Pure,
     complexPower,
     "a complex number raised to a power",
     "=IMPOWER(\"2+3i\", 3)",
     "-46+9i"},
    {"IMPRODUCT",
     {repeats(range())},
     Trait::Pure,
     foldComplex<product>,
     "product of complex numbers",
     "=IMPRODUCT(\"3+4i\", \"5-3i\")",
     "27+11i"},
    {"IMREAL", {text()}, Trait::Pure, realOf<realPart>, "real part", "=IMREAL(\"6-9i\")", "6"},
    {"IMSEC",
     {text()},
     Trait::Pure,
     complexOf<secant>,
     "secant of a complex number",
     "=ROUND(IMREAL(IMSEC(\"i\")), 6)",
     "0.648054"},
    {"IMSECH",
     {text()},
     Trait::Pure,
     complexOf<hyperbolicSecant>,
     "hyperbolic secant of a complex number",
     "=ROUND(IMREAL(IMSECH(\"1\")), 6)",
     "0.648054"},
    {"IMSIN",
     {text()},
     Trait::Pure,
     complexOf<sine>,
     "sine of a complex number",
     "=ROUND(IMAGINARY(IMSIN(\"i\")), 6)",
     "1.175201"},
    {"IMSINH",
     {text()},
     Trait::Pure,
     complexOf<hyperbolicSine>,
     "hyperbolic sine of a complex number",
     "=ROUND(IMREAL(IMSINH(\"1\")), 6)",
     "1.175201"},
    {"IMSQRT",
     {text()},
     Trait::Pure,
     complexOf<root>,
     "square root of a complex number",
     "=IMSQRT(\"-4\")",
     "2i"},
    {"IMSUB",
     {text(), text()},
     Trait::Pure,
     foldComplex<remainder>,
     "difference of two complex numbers",
     "=IMSUB(\"13+4i\", \"5+3i\")",
     "8+i"},
    {"IMSUM",
     {repeats(range())},
     Trait::Pure,
     foldComplex<sum>,
     "sum of complex numbers",
     "=IMSUM(\"3+4i\", \"5-3i\")",
     "8+i"},
    {"IMTAN",
     {text()},
     Trait::Pure,
     complexOf<tangent>,
     "tangent of a complex number",
     "=ROUND(IMAGINARY(IMTAN(\"i\")), 6)",
     "0.761594"},
    {"OCT2BIN",
     {text(), optional(number())},
     Trait::Pure,
     betweenBases<8, 2>,
     "an octal number in binary digits",
     "=OCT2BIN(\"3\", 3)",
     "011"},
    {"OCT2DEC", {text()}, Trait::Pure, toDecimal<8>, "an octal number in decimals", "=OCT2DEC(\"54\")", "44"},
    {"OCT2HEX",
     {text(), optional(number())},
     Trait::Pure,
     betweenBases<8, 16>,
     "an octal number in hexadecimals",
     "=OCT2HEX(\"100\", 4)",
     "0040"},
};
static_assert(wellFormed(rows));

} // namespace

std::span<const FunctionRow> engineeringFunctions() { return rows; }

} // namespace varnex3::sheet
