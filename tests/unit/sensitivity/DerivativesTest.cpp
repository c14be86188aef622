// Numerical derivatives: the order of host calls, closed forms, stopping, and what an error leaves behind.
#include "sensitivity/c_Derivatives.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <tuple>

#include "runtime/Number.h"
#include "support/Expect.h"

namespace varnex3::test {
namespace {

const ErrorValue kNum{2036};

/// The response B1 is a function of the input A1 (and A2).
class DerivativesTest : public LibraryTest {
protected:
    void model(double at, std::function<Variant(double)> f)
    {
        sheet.set("A1", at);
        sheet.formula("B1", "=f(A1)", [f](FakeSheet& s) { return f(s.number("A1")); });
    }
    long recalculations() { return std::count(host->calls.begin(), host->calls.end(), "Calculate"); }

    Ref<host::Range> x = sheet.range("A1"), x2 = sheet.range("A2"), y = sheet.range("B1");
    const c_Derivatives derivatives{};
};

TEST_F(DerivativesTest, EvaluatesBelowAboveAndAtTheInputThenPutsItsFormulaBack)
{
    sheet.formula("A1", "=C1", [](FakeSheet&) { return 3.0; });
    sheet.formula("B1", "=A1^2", [](FakeSheet& s) { return s.number("A1") * s.number("A1"); });
    host->macros["Before"] = host->macros["After"] = [](auto) { return Variant{}; };
    EXPECT_EQ(derivatives.FiniteDiff(1, *x, *y, 0.5, "Before", "After"), 6.0);
    EXPECT_EQ(host->take(), (Lines{"Sheet1!$A$1.Value=2.5", "Run Before()", "Calculate", "Run After()",
                                   "Sheet1!$A$1.Value=3.5", "Run Before()", "Calculate", "Run After()",
                                   "Sheet1!$A$1.Value=3", "Run Before()", "Calculate", "Run After()",
                                   "Sheet1!$A$1.Formula==C1"}));
}

TEST_F(DerivativesTest, QuotientsFallBackWhereTheResponseIsNoNumber)
{
    using Case = std::tuple<Variant, Variant, Variant, double, double>; // y below, at, above; quotients
    for (const Case& c : {Case{1.0, 3.0, 6.0, 5.0, 4.0},
                          {"1", 3.0, "6", 5.0, 4.0}, // texts that read as numbers count
                          {kNum, 3.0, 6.0, 6.0, 0.0},
                          {1.0, 3.0, kNum, 4.0, 0.0},
                          {1.0, kNum, 6.0, 5.0, 0.0},
                          {kNum, kNum, 6.0, 0.0, 0.0}}) {
        const auto& [minus, at, plus, first, second] = c;
        model(2.0, [&c](double v) {
            return v < 2.0 ? std::get<0>(c) : v > 2.0 ? std::get<2>(c) : std::get<1>(c);
        });
        SCOPED_TRACE(shown(minus) + " " + shown(at) + " " + shown(plus));
        EXPECT_EQ(derivatives.FiniteDiff(1, *x, *y, 0.5, "", ""), first);
        EXPECT_EQ(derivatives.FiniteDiff(2, *x, *y, 0.5, "", ""), second);
        EXPECT_EQ(derivatives.FiniteDiff(3, *x, *y, 0.5, "", ""), 0.0);
    }
    model(2.0, [](double v) { return v * v; });
    expectRaises(errors::DivisionByZero, [&] { derivatives.FiniteDiff(1, *x, *y, 0.0, "", ""); });
}

// Closed forms; at the kink and the cliff the extrapolation has no limit to find, and the expected values are
// the steps worked through independently.
TEST_F(DerivativesTest, ExtrapolatesToTheClosedForm)
{
    struct Case {
        const char* what;
        std::function<Variant(double)> f;
        double at;
        std::int16_t order;
        double want, tolerance;
        long recalculations; // 0: left open, rounding decides
    };
    const Case cases[] = {
        {"square", [](double v) { return v * v; }, 3.0, 2, 2.0, 1e-12, 0},
        {"cube", [](double v) { return v * v * v + v; }, 0.0, 1, 1.0, 1e-14, 15},
        {"exponential", [](double v) { return std::exp(v); }, 1.0, 1, 2.718281828459045, 1e-11, 0},
        {"exponential", [](double v) { return std::exp(v); }, 1.0, 2, 2.718281828459045, 1e-9, 0},
        {"sine", [](double v) { return std::sin(v); }, 2.0, 2, -0.909297426825682, 1e-10, 0},
        {"constant", [](double) { return 4.0; }, 1.0, 1, 0.0, 0.0, 6},
        {"kink", [](double v) { return std::fabs(v - 1.05); }, 1.0, 1, -1.4612825136842396, 1e-12, 15},
        {"cliff", [](double v) { return v < 2.0 ? Variant{kNum} : Variant{v * v}; }, 2.0, 1,
         4.008599647557242, 1e-12, 30},
        {"never a number", [](double) { return kNum; }, 2.0, 1, 0.0, 0.0, 6},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.what) + ", order " + std::to_string(c.order));
        model(c.at, c.f);
        host->calls.clear();
        EXPECT_NEAR(derivatives.Deriv(c.order, *x, *y, "", ""), c.want, c.tolerance);
        const long count = recalculations();
        EXPECT_EQ(count, c.recalculations ? c.recalculations : count);
        EXPECT_TRUE(count >= 6 && count <= 30 && count % 3 == 0) << count;
        EXPECT_EQ(sheet.number("A1"), c.at);
    }
}

TEST_F(DerivativesTest, FirstStepIsChosenAndHandedBack)
{
    using Case = std::array<double, 3>; // x, h0 given, h0 used
    for (const auto& [at, given, used] : {Case{3.0, 0.0, 3.0 / 5.0},
                                          {3.0, -1.0, 3.0 / 5.0},
                                          {-2.0, 0.0, -2.0 / 5.0},
                                          {0.0, 0.0, 0.2},
                                          {3.0, 0.125, 0.125}}) {
        model(at, [](double v) { return std::exp(v); });
        const double first = derivatives.FiniteDiff(1, *x, *y, used, "", ""),
                     second = derivatives.FiniteDiff(1, *x, *y, used / 1.4, "", "");
        host->calls.clear();
        double h0 = given;
        const double fac = 1.4 * 1.4;
        EXPECT_EQ(derivatives.Deriv(1, *x, *y, "", "", &h0, 100.0), (second * fac - first) / (fac - 1.0))
            << "a wide error limit ends with the second step";
        EXPECT_EQ(h0, used);
        EXPECT_EQ(recalculations(), 6);
    }
}

TEST_F(DerivativesTest, MixedDerivativeMovesBothInputs)
{
    sheet.set("A1", 2.0);
    sheet.set("A2", 3.0);
    bool fails = false;
    sheet.formula("B1", "=f(A1,A2)", [&](FakeSheet& s) {
        const double a = s.number("A1"), b = s.number("A2");
        return fails && a > 2.0 && b > 3.0 ? Variant{kNum} : Variant{a * a * b + std::exp(a)};
    });
    double h1 = 0.5, h2 = -1.0;
    EXPECT_NEAR(derivatives.MixedDeriv(*x, *x2, *y, "", "", &h1, &h2), 4.0, 1e-12); // 2 x1
    EXPECT_EQ(h2, 0.6);
    Lines calls = host->take();
    calls.resize(14);
    std::erase(calls, "Calculate");
    EXPECT_EQ(calls, (Lines{"Sheet1!$A$1.Value=1.5", "Sheet1!$A$2.Value=2.4", "Sheet1!$A$1.Value=1.5",
                            "Sheet1!$A$2.Value=3.6", "Sheet1!$A$1.Value=2.5", "Sheet1!$A$2.Value=2.4",
                            "Sheet1!$A$1.Value=2.5", "Sheet1!$A$2.Value=3.6", "Sheet1!$A$1.Formula=2",
                            "Sheet1!$A$2.Formula=3"}));
    fails = true;
    EXPECT_EQ(derivatives.MixedDeriv(*x, *x2, *y, "", ""), 0.0);
}

TEST_F(DerivativesTest, AnErrorNamesTheCellsAndLeavesTheFormulasInPlace)
{
    sheet.formula("A1", "=C1", [](FakeSheet&) { return 3.0; });
    sheet.set("A2", 5.0);
    sheet.formula("B1", "=A1^2", [](FakeSheet& s) { return s.number("A1") * s.number("A1"); });
    host->fail("Calculate", 2, 1004, "The host refuses");
    expectRaises(1004, "Host\r\nin varnex3.c_Derivatives.Deriv at line 2",
                 "The host refuses. Y (cell $B$1) = 5.76, X (cell $A$1) = 3.6",
                 [&] { derivatives.Deriv(1, *x, *y, "", ""); });
    EXPECT_EQ(host->calls.back(), "Sheet1!$A$1.Formula==C1");
    expectRaises(1004, "Host", "The host refuses", [&] { derivatives.FiniteDiff(1, *x, *y, 0.5, "", ""); });
    EXPECT_EQ(host->calls.back(), "Sheet1!$A$1.Formula==C1");

    host->heal();
    host->Calculate();
    sheet.set("B1", kNum);
    expectRaises(1004, "Host\r\nin varnex3.c_Derivatives.MixedDeriv at line 2",
                 "Cannot run the macro 'None'. Y (cell $B$1) = Error 2036, X1 (cell $A$1) = 2.4, X2 (cell "
                 "$A$2) = 4",
                 [&] { derivatives.MixedDeriv(*x, *x2, *y, "None", ""); });
    Lines calls = host->take();
    calls.erase(calls.begin(), calls.end() - 2);
    EXPECT_EQ(calls, (Lines{"Sheet1!$A$1.Formula==C1", "Sheet1!$A$2.Formula=5"}));

    host->fail("Sheet1!$A$1.Formula="); // a second failure while clearing up does not hide the first
    expectRaises(1004, "Host", "Cannot run the macro 'None'",
                 [&] { derivatives.FiniteDiff(1, *x, *y, 0.5, "None", ""); });
}

} // namespace
} // namespace varnex3::test
