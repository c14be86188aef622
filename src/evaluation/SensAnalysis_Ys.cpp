// evaluation/SensAnalysis_Ys.cpp - the response step that predicts statistics from derivatives.
#include <cmath>
#include <optional>
#include <string>

#include "evaluation/alg_m_Evaluation.h"
#include "host/SavedFormula.h"
#include "host/alg_m_XLinterface.h"
#include "runtime/Number.h"
#include "sensitivity/DifferenceQuotient.h"
#include "sensitivity/c_Derivatives.h"
#include "stats/c_Statistics.h"
#include "ui/Debug.h"

namespace varnex3::alg_m_Evaluation {
namespace {

constexpr const char* kModule = "alg_m_Evaluation";
constexpr double kQuickStep = 0.0001; // of the input's value, or itself where that is 0

c_Parameter& parameter(const OptimizationRun& d, Long i) { return required(required(d.f->Xs).Item(i)); }
c_Response& response(const OptimizationRun& d, Long j) { return required(required(d.f->Ys).Item(j)); }

double standardDeviation(c_Parameter& x, const char* procedure)
{
    if (x.xType == xTypes::Constant) return 0.0;
    if (x.xType == xTypes::Noise) return x.GetStDev();
    if (!alg_m_XLinterface::IsRange(x.stdev)) return toDouble(x.stdev);
    host::Range& cell = *alg_m_XLinterface::rangeOf(x.stdev);
    alg_m_XLinterface::CheckCell(cell, procedure, false, false);
    return toDouble(cell.Value());
}

bool varies(const c_Parameter& x, double stdev) { return stdev != 0.0 && x.xType != xTypes::Constant; }

double quickStep(double x0) { return x0 == 0.0 ? kQuickStep : kQuickStep * x0; }

/// Keeps the formula of an input cell that has one and is not a design value.
void saveFormula(SavedFormula& formula, const c_Parameter& x)
{
    if (x.xType == xTypes::Noise && alg_m_XLinterface::CellHasFormula(formula.cell())) formula.save();
}

/// Probability of falling outside the limits for a normal response of mean m and variance v.
double nonConformance(const std::optional<double>& L, const std::optional<double>& U, double m, double v)
{
    const c_Statistics statistics;
    double p = 0.0;
    if (v == 0.0) {
        if ((L && *L > m) || (U && *U < m)) p = 1.0;
    } else {
        if (L) p = statistics.normCDF((*L - m) / std::sqrt(v));
        if (U) p = p + statistics.normCDF((*U - m) / std::sqrt(v), true);
    }
    return p > 1.0 ? 1.0 : p;
}

void zeroColumn(Array2<double>& derivs, Long i)
{
    for (Long j : oneTo(derivs.rows())) derivs(j, i) = 0.0;
}

/// What the two methods share: a parameter that does not vary has derivatives 0 and costs nothing. The cell
/// of every other must hold a number; the formula of a "Noise" one goes back after `differentiate(i, cell)`.
/// An error that interrupts it puts the formula back too, and `describe(i)` may add to its description.
template <class Differentiate, class Describe>
void forEachVarying(Procedure& here, const char* name, OptimizationRun& d, Array2<double>& Derivs1,
                    Array2<double>& derivs2, const Array1<double>& xStDevs, Differentiate differentiate,
                    Describe describe)
{
    for (Long i : oneTo(d.f->CountX())) {
        here.at(1);
        c_Parameter& x = parameter(d, i);
        if (!varies(x, xStDevs(i))) {
            zeroColumn(Derivs1, i);
            zeroColumn(derivs2, i);
            continue;
        }
        here.at(2);
        SavedFormula formula{required(x.mean)};
        try {
            alg_m_XLinterface::CheckCell(formula.cell(), name, false, false);
            saveFormula(formula, x);
            here.at(3);
            differentiate(i, formula.cell());
            here.at(4);
            formula.putBack();
        } catch (...) {
            adoptForeignException();
            formula.putBackInHandler();
            describe(i);
            throw Raised{};
        }
    }
}

/// The responses around one input, and where the work on it stands.
struct QuickPoint {
    Array1<ResponseTriple> responses; // per response
    Long j = 1;                       // the response at work
};

/// Values at x0 + h, x0 - h and x0, in this order; x0 stays in the cell, also when an error interrupts.
/// Returns h.
double moveAndRead(OptimizationRun& d, host::Range& x, QuickPoint& point)
{
    const double x0 = toDouble(x.Value());
    const double h = quickStep(x0);
    const auto readAt = [&](double value, Variant ResponseTriple::*member) {
        x.Value(value);
        alg_m_XLinterface::Recalc(*d.xl);
        for (Long j : oneTo(d.f->CountY())) {
            point.j = j;
            point.responses(j).*member = required(response(d, j).Formula).Value();
        }
    };
    try {
        readAt(x0 + h, &ResponseTriple::plus);
        readAt(x0 - h, &ResponseTriple::minus);
        readAt(x0, &ResponseTriple::at);
    } catch (...) {
        adoptForeignException();
        attemptInHandler([&] { x.Value(x0); });
        throw Raised{};
    }
    return h;
}

} // namespace

/// Three recalculations per varying parameter, for all responses at once.
///
///   For each parameter that varies: responses at x0 + h, x0 - h and x0, h a ten-thousandth of the value x0
///   in its cell; quotients as in DifferenceQuotient.h.
///
/// An error adds to the description which derivative was being computed; before any response was read that is
/// the first.
///
/// @raises  513, 515 after showing the cell; 6, 11
void CalcAllDerivsQuick(OptimizationRun& d, Array2<double>& Derivs1, Array2<double>& derivs2,
                        const Array1<double>& xStDevs, Long order)
{
    constexpr const char* kName = "CalcAllDerivsQuick";
    Procedure here{kModule, kName};
    QuickPoint point;
    point.responses.resize(d.f->CountY());
    const auto differentiate = [&](Long i, host::Range& x) {
        const double h = moveAndRead(d, x, point);
        for (Long j : oneTo(d.f->CountY())) {
            point.j = j;
            Derivs1(j, i) = firstQuotient(point.responses(j), h);
            derivs2(j, i) = order == 2 ? secondQuotient(point.responses(j), h) : 0.0;
        }
        point.j = 1;
    };
    const auto describe = [&](Long i) {
        err().description += " while computing the derivative of Y" + std::to_string(point.j) +
                             " with respect to X" + std::to_string(i);
    };
    forEachVarying(here, kName, d, Derivs1, derivs2, xStDevs, differentiate, describe);
}

/// From 6 to 30 recalculations per varying parameter, response and order, by c_Derivatives::Deriv with its
/// default step, between the macros of the run.
///
/// @raises  513, 515 after showing the cell; what Deriv raises
void CalcAllDerivsAccurate(OptimizationRun& d, Array2<double>& Derivs1, Array2<double>& derivs2,
                           const Array1<double>& xStDevs, Long order)
{
    constexpr const char* kName = "CalcAllDerivsAccurate";
    Procedure here{kModule, kName};
    const c_Derivatives derivatives;
    const std::string before = alg_m_XLinterface::hostState().beforeMacro; // copies: a macro may set others
    const std::string after = alg_m_XLinterface::hostState().afterMacro;
    const auto differentiate = [&](Long i, host::Range& x) {
        for (Long j : oneTo(d.f->CountY())) {
            host::Range& y = required(response(d, j).Formula);
            Derivs1(j, i) = derivatives.Deriv(1, x, y, before, after);
            derivs2(j, i) = order == 2 ? derivatives.Deriv(2, x, y, before, after) : 0.0;
        }
    };
    forEachVarying(here, kName, d, Derivs1, derivs2, xStDevs, differentiate, [](Long) {});
}

/// Fills a member's row of genY from a workbook that holds its values.
///
///   2. Standard deviations of the parameters.
///   3. Derivatives, "Quick" or accurate; recalculate.
///   4. row = the member's row of genY.
///   5. For each response: mean m = its value + sum(s^2 x d2y/dx2 x 0.5), variance v = sum((s x dy/dx)^2);
///      the probability of non-conformance of a normal response, 1 at most.
///
/// @param order  2 shifts the means by the second derivatives, 1 does not
/// @raises       513, 515 after showing the offending cell; 6 for sums too large; what the derivatives raise
void SensAnalysis_Ys(OptimizationRun& d, Long member, Long order)
{
    constexpr const char* kName = "SensAnalysis_Ys";
    Procedure here{kModule, kName};
    const bool traced = d.options().dbg == kName;
    const auto detail = [&](const std::string& text) { traceDetail(kName, kName, text); };
    const auto detailOf = [&](const char* what, Long j, double value) {
        if (traced) detail(what + std::to_string(j) + " = " + toText(value));
    };
    const Long countX = d.f->CountX(), countY = d.f->CountY();

    here.at(1);
    if (traced) detail("SensAnalysis_Ys for member " + std::to_string(member));
    here.at(2);
    if (traced) detail("populating xStDevs() array");
    Array1<double> xStDevs(countX);
    for (Long i : oneTo(countX)) xStDevs(i) = standardDeviation(parameter(d, i), kName);
    here.at(3);
    if (traced) detail("computing derivatives");
    Array2<double> Derivs1(countY, countX), derivs2(countY, countX);
    if (d.options().Derivs == "Quick")
        CalcAllDerivsQuick(d, Derivs1, derivs2, xStDevs, order);
    else
        CalcAllDerivsAccurate(d, Derivs1, derivs2, xStDevs, order);
    alg_m_XLinterface::Recalc(*d.xl);
    here.at(4);
    const Long row = d.rowOfY(member);
    here.at(5);
    if (traced) detail("calculating Y's, Order " + std::to_string(order));
    for (Long j : oneTo(countY)) {
        const c_Response& y = response(d, j);
        host::Range& cell = required(y.Formula);
        alg_m_XLinterface::CheckCell(cell, kName, false, false);
        double m = toDouble(cell.Value()), v = 0.0;
        for (Long i : oneTo(countX)) {
            const double s = xStDevs(i), t = s * Derivs1(j, i);
            m = m + s * s * derivs2(j, i) * 0.5;
            v = v + t * t;
        }
        if (!std::isfinite(m) || !std::isfinite(v)) raise(errors::Overflow);
        const std::optional<double> L = alg_m_XLinterface::specificationLimit(y.lsl, kName);
        const std::optional<double> U = alg_m_XLinterface::specificationLimit(y.usl, kName);
        d.genY(row, j) = m;
        d.genY(row, countY + j) = std::sqrt(v);
        d.genY(row, 2 * countY + j) = nonConformance(L, U, m, v);
        detailOf("yMean ", j, m);
        detailOf("yStDev ", j, d.genY(row, countY + j));
        detailOf("yPNC ", j, d.genY(row, 2 * countY + j));
    }
    if (traced) detail("SensAnalysys_Ys complete");
}

std::string quickStepWarning(const c_Parameter& x, double mean, double stdev)
{
    const double h = std::fabs(quickStep(mean));
    if (!(h < kQuickStep * stdev)) return {};
    return "The step of the quick derivatives for " + x.Name + " (" + toText(h) +
           ") is below a ten-thousandth of its standard deviation (" + toText(stdev) +
           "): second derivatives may be rounding noise. Use \"Accurate\" derivatives.";
}

} // namespace varnex3::alg_m_Evaluation
