// The library's own elementary functions: against 60-digit arithmetic, at special arguments, and where an
// exact answer exists.
#include "runtime/Elementary.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <map>
#include <string>

namespace varnex3 {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

using Function = double (*)(double);
const std::map<std::string, Function> kFunctions = {
    {"exp", elementary::exp},     {"expm1", elementary::expm1}, {"log", elementary::log},
    {"log1p", elementary::log1p}, {"cbrt", elementary::cbrt},   {"sinh", elementary::sinh},
    {"cosh", elementary::cosh},   {"asinh", elementary::asinh}, {"acosh", elementary::acosh},
    {"erfc", elementary::erfc},   {"sin", elementary::sin},     {"cos", elementary::cos},
    {"asin", elementary::asin},   {"acos", elementary::acos}};

struct Reference {
    const char* function;
    double x, y, result; // y: of pow
};
const Reference kReferences[] = {
#include "ElementaryReference.inc"
};

/// Doubles between two results of the same sign.
std::int64_t stepsBetween(double a, double b)
{
    return std::abs(std::bit_cast<std::int64_t>(a) - std::bit_cast<std::int64_t>(b));
}

TEST(Elementary, AgreesWithHighPrecisionArithmetic)
{
    int rounded = 0;
    for (const Reference& r : kReferences) {
        SCOPED_TRACE(testing::Message() << r.function << " " << r.x << " " << r.y);
        const std::string name = r.function;
        const double got = name == "pow" ? elementary::pow(r.x, r.y) : kFunctions.at(name)(r.x);
        EXPECT_LE(stepsBetween(got, r.result), 1);
        if (got == r.result) ++rounded;
    }
    EXPECT_GT(rounded, 0.97 * std::size(kReferences)) << "nearly all are rounded correctly";
}

TEST(Elementary, SpecialArgumentsAnswerAsInTheStandardLibrary)
{
    const double least = std::numeric_limits<double>::denorm_min(), most = std::numeric_limits<double>::max();
    const double arguments[] = {0.0,        -0.0,         1.0,   -1.0, kInfinity,
                                -kInfinity, std::nan(""), least, -2.0, -most};
    const std::map<std::string, Function> standard = {
        {"exp", std::exp},     {"expm1", std::expm1}, {"log", std::log},   {"log1p", std::log1p},
        {"cbrt", std::cbrt},   {"sinh", std::sinh},   {"cosh", std::cosh}, {"asinh", std::asinh},
        {"acosh", std::acosh}, {"erfc", std::erfc},   {"sin", std::sin},   {"asin", std::asin},
        {"acos", std::acos}};
    auto same = [](double a, double b) {
        return (a != a && b != b) || (a == b && std::signbit(a) == std::signbit(b)) ||
               (std::isfinite(a) && std::isfinite(b) && stepsBetween(a, b) <= 1);
    };
    for (const auto& [name, function] : standard)
        for (double x : arguments) {
            if (name == "sin" && x == -most) continue; // beyond its angles
            EXPECT_PRED2(same, kFunctions.at(name)(x), function(x)) << name << " " << x;
        }
    for (double x : arguments)
        for (double y :
             {0.0, -0.0, 1.0, -1.0, 2.0, -3.0, 0.5, 1e300, -1e300, kInfinity, -kInfinity, std::nan("")})
            EXPECT_PRED2(same, elementary::pow(x, y), std::pow(x, y)) << x << " ^ " << y;
}

TEST(Elementary, ExactWhereAnExactAnswerExists)
{
    for (int n = 0; n <= 22; ++n) {
        const std::string power = "1e" + std::to_string(n);
        EXPECT_EQ(elementary::pow(10.0, n), std::stod(power)) << power;
    }
    for (int n = -1074; n < 1024; n += 11) EXPECT_EQ(elementary::pow(2.0, n), std::ldexp(1.0, n));
    for (double n = 1.0; n < 2000.0; n += 37.0) EXPECT_EQ(elementary::cbrt(n * n * n), n);
    EXPECT_EQ(elementary::exp(710.0), kInfinity);
    EXPECT_EQ(elementary::exp(-746.0), 0.0);
    EXPECT_GT(elementary::exp(-745.0), 0.0);
    EXPECT_EQ(elementary::erfc(27.3), 0.0);
}

} // namespace
} // namespace varnex3
