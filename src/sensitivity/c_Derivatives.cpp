// sensitivity/c_Derivatives.cpp - central differences refined by extrapolation to step 0.
#include "sensitivity/c_Derivatives.h"

#include <algorithm>
#include <cmath>
#include <initializer_list>

#include "host/SavedFormula.h"
#include "runtime/Array.h"
#include "runtime/Number.h"
#include "sensitivity/DifferenceQuotient.h"

namespace varnex3 {
namespace {

constexpr Long kTableSize = 10;
constexpr double kShrink = 1.4; // from one step to the next
constexpr double kShrinkSquared = kShrink * kShrink;
constexpr double kNoEstimate = 1E+30; // error before the first extrapolation
constexpr double kStopping = 2.0;     // how much worse a diagonal step may be than the best error
constexpr double kDefaultDivisor = 5.0;
constexpr double kFallbackStep = 0.2; // where x is 0

struct Macros {
    const std::string& before;
    const std::string& after;
};

void RunMacrosAndCalculate(host::Application& application, const Macros& macros)
{
    if (!macros.before.empty()) application.Run(macros.before);
    application.Calculate();
    if (!macros.after.empty()) application.Run(macros.after);
}

/// One difference quotient, three recalculations; the saved content goes back at the end.
double finiteDiff(std::int16_t order, SavedFormula& content, host::Range& y, double step,
                  const Macros& macros)
{
    host::Range& x = content.cell();
    const double x0 = toDouble(x.Value());
    const Ref<host::Application> application = x.Application();
    const auto responseAt = [&](double value) {
        x.Value(value);
        RunMacrosAndCalculate(required(application), macros);
        return y.Value();
    };
    ResponseTriple response;
    response.minus = responseAt(x0 - step);
    response.plus = responseAt(x0 + step);
    response.at = responseAt(x0);

    double quotient = 0.0;
    if (order == 1) quotient = firstQuotient(response, step);
    if (order == 2) quotient = secondQuotient(response, step);
    content.putBack();
    return quotient;
}

/// One mixed difference quotient, four recalculations; 0 when a response is not numeric.
double MixedDiff(SavedFormula& content1, SavedFormula& content2, host::Range& y, double h1, double h2,
                 const Macros& macros)
{
    host::Range &x1 = content1.cell(), &x2 = content2.cell();
    const double x10 = toDouble(x1.Value()), x20 = toDouble(x2.Value());
    const Ref<host::Application> application = x1.Application();
    const auto responseAt = [&](double value1, double value2) {
        x1.Value(value1);
        x2.Value(value2);
        RunMacrosAndCalculate(required(application), macros);
        return y.Value();
    };
    const Variant mm = responseAt(x10 - h1, x20 - h2);
    const Variant mp = responseAt(x10 - h1, x20 + h2);
    const Variant pm = responseAt(x10 + h1, x20 - h2);
    const Variant pp = responseAt(x10 + h1, x20 + h2);

    double quotient = 0.0;
    if (isNumeric(mm) && isNumeric(mp) && isNumeric(pm) && isNumeric(pp))
        quotient = checkedQuotient(toDouble(pp) - toDouble(pm) - toDouble(mp) + toDouble(mm), 4.0 * h1 * h2);
    content1.putBack();
    content2.putBack();
    return quotient;
}

/// The first step: the caller's when positive, else a fifth of x, else 0.2. The caller's variable receives
/// it.
double firstStep(host::Range& x, double* given)
{
    double h = given ? *given : 0.0;
    if (h <= 0.0) h = toDouble(x.Value()) / kDefaultDivisor;
    if (h == 0.0) h = kFallbackStep;
    if (given) *given = h;
    return h;
}

/// Extrapolates difference quotients, whose error is a series in the square of the step, to step 0.
///
///   2. a(1, 1) = the quotient of the first step.
///   3. For i = 2..10: shrink the step; a(i, 1) = its quotient; each a(i, j) removes one more power. The best
///      entry is the one that differs least from the two it is made of. Stop when the diagonal moved by at
///      least twice the best error, or that error is within maxErr: the newest diagonal entry is the result.
///   4. After ten steps the best entry is.
///
/// @source  [Ridders82]
template <class Shrink, class Quotient>
double extrapolate(Procedure& here, Shrink shrink, Quotient quotient, double maxErr)
{
    Array2<double> a(kTableSize, kTableSize); // step x order of extrapolation
    double error = kNoEstimate, best = 0.0;
    here.at(2);
    a(1, 1) = quotient();
    here.at(3);
    for (Long i : fromTo(2, kTableSize)) {
        shrink();
        a(i, 1) = quotient();
        double fac = kShrinkSquared;
        for (Long j : fromTo(2, i)) {
            a(i, j) = (a(i, j - 1) * fac - a(i - 1, j - 1)) / (fac - 1.0);
            fac = kShrinkSquared * fac;
            const double e = std::max(std::fabs(a(i, j) - a(i, j - 1)), std::fabs(a(i, j) - a(i - 1, j - 1)));
            if (e <= error) {
                error = e;
                best = a(i, j);
            }
        }
        const bool goOn = kStopping * error > std::fabs(a(i, i) - a(i - 1, i - 1)) && error > maxErr;
        if (!goOn) return a(i, i);
    }
    return best;
}

struct Input {
    const char* name; // "X", "X1", "X2"
    SavedFormula& content;
};

/// " (cell $A$1) = 3"
std::string cellAndValue(host::Range& cell)
{
    const Variant value = cell.Value();
    std::string text = "no value"; // of an array
    if (const ErrorValue* error = value.asError()) text = "Error " + std::to_string(error->code);
    attempt([&] { text = toText(value); });
    return " (cell " + cell.Address() + ") = " + text;
}

/// Runs `work`. An error that interrupts it goes on, its description followed by the values of response and
/// inputs as it found them, after the inputs' contents were put back.
template <class Work>
double describingErrors(host::Range& y, std::initializer_list<Input> inputs, Work work)
{
    try {
        for (const Input& input : inputs) input.content.save();
        return work();
    } catch (...) {
        adoptForeignException();
        std::string values;
        attemptInHandler([&] {
            values = ". Y" + cellAndValue(y);
            for (const Input& input : inputs)
                values.append(", ").append(input.name).append(cellAndValue(input.content.cell()));
        });
        for (const Input& input : inputs) input.content.putBackInHandler();
        err().description += values;
        throw Raised{};
    }
}

} // namespace

/// The derivative of y with respect to x, of order 1 or 2 (0 for any other), from 6 to 30 recalculations.
///
///   1. The first step h.
///   2.-4. Extrapolate quotients of the steps h, h / 1.4, h / 1.4^2, ...
///
/// @param h0      first step; omitted or not positive: a fifth of x, 0.2 where x is 0. Receives the step used
/// @param maxErr  an error estimate within it ends the refinement
/// @raises        13 when x holds no number; 6, 11; what host and macros raise. The description receives
///                the values of y and x. A response that is no number is no error: see DifferenceQuotient.h
double c_Derivatives::Deriv(std::int16_t order, host::Range& x, host::Range& y,
                            const std::string& beforeMacro, const std::string& afterMacro, double* h0,
                            double maxErr) const
{
    Procedure here{"c_Derivatives", "Deriv"};
    SavedFormula content{x};
    return describingErrors(y, {{"X", content}}, [&] {
        here.at(1);
        double h = firstStep(x, h0);
        return extrapolate(
            here, [&] { h = h / kShrink; },
            [&] {
                return finiteDiff(order, content, y, h, {beforeMacro, afterMacro});
            },
            maxErr);
    });
}

/// One difference quotient of order 1 or 2 (0 for any other): y at x - step, x + step and x, in this order.
/// @raises  as Deriv, without the values in the description; leaves no trail line
double c_Derivatives::FiniteDiff(std::int16_t order, host::Range& x, host::Range& y, double step,
                                 const std::string& beforeMacro, const std::string& afterMacro) const
{
    SavedFormula content{x};
    content.save();
    try {
        return finiteDiff(order, content, y, step, {beforeMacro, afterMacro});
    } catch (...) {
        adoptForeignException();
        content.putBackInHandler();
        throw Raised{};
    }
}

/// The mixed second derivative of y, refined as Deriv refines; both steps shrink together. From 8 to 40
/// recalculations.
/// @raises  as Deriv, with the values of both inputs
double c_Derivatives::MixedDeriv(host::Range& x1, host::Range& x2, host::Range& y,
                                 const std::string& beforeMacro, const std::string& afterMacro, double* h01,
                                 double* h02, double maxErr) const
{
    Procedure here{"c_Derivatives", "MixedDeriv"};
    SavedFormula content1{x1}, content2{x2};
    return describingErrors(y, {{"X1", content1}, {"X2", content2}}, [&] {
        here.at(1);
        double h1 = firstStep(x1, h01);
        double h2 = firstStep(x2, h02);
        const auto shrink = [&] {
            h1 = h1 / kShrink;
            h2 = h2 / kShrink;
        };
        const auto quotient = [&] {
            return MixedDiff(content1, content2, y, h1, h2, {beforeMacro, afterMacro});
        };
        return extrapolate(here, shrink, quotient, maxErr);
    });
}

Variant c_Derivatives::max(const Variant& num1, const Variant& num2) const
{
    for (const Variant* v : {&num1, &num2})
        if (v->asError() || !attempt([&] { toText(*v); })) raise(errors::TypeMismatch);
    const bool text1 = num1.asText(), text2 = num2.asText();
    if (text1 && text2) return *num2.asText() > *num1.asText() ? num2 : num1;
    if (text1 || text2) return text2 ? num2 : num1;
    return toDouble(num2) > toDouble(num1) ? num2 : num1;
}

} // namespace varnex3
