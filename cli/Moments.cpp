// cli/Moments.cpp - the library's sensitivity analysis, fed from a study's problem.
#include "Moments.h"

#include <chrono>
#include <cmath>
#include <limits>
#include <optional>

#include <fmt/format.h>

#include "Distributions.h"
#include "evaluation/alg_m_Evaluation.h"
#include "host/alg_m_XLinterface.h"
#include "sensitivity/c_sa_Analysis.h"

namespace varnex3::cli {
namespace {

constexpr double kDisagreement = 0.01; // of the response's standard deviation

struct Derivatives {
    Array2<double> first, second; // response x parameter
};

Derivatives derivatives(Problem& problem, Long order, bool quick)
{
    c_Formulation& f = *problem.formulation;
    OptimizationRun run;
    run.f = &f;
    run.xl = problem.application;
    Derivatives d{Array2<double>(f.CountY(), f.CountX()), Array2<double>(f.CountY(), f.CountX())};
    const Array1<double> all(f.CountX(), 1.0); // a parameter without a spread has derivatives too
    const auto method =
        quick ? alg_m_Evaluation::CalcAllDerivsQuick : alg_m_Evaluation::CalcAllDerivsAccurate;
    method(run, d.first, d.second, all, order);
    return d;
}

/// The accurate method starts with a fifth of the input's value. Where the response cannot be computed that
/// far away, or has a kink on the way, its result may be of another place: the quick one tells.
void warnOfDisagreement(const Problem& problem, Moments& moments, const Derivatives& accurate,
                        const Derivatives& quick)
{
    const c_Formulation& f = *problem.formulation;
    for (Long j : oneTo(f.CountY())) {
        double variance = 0.0;
        for (Long i : oneTo(f.CountX())) {
            const double t = quick.first(j, i) * moments.stdevs[static_cast<std::size_t>(i - 1)];
            variance += t * t;
        }
        const double allowed = kDisagreement * std::sqrt(variance);
        std::string inputs;
        for (Long i : oneTo(f.CountX())) {
            const double s = moments.stdevs[static_cast<std::size_t>(i - 1)];
            const double spread = std::fabs(accurate.first(j, i) - quick.first(j, i)) * s;
            const double shift = std::fabs(accurate.second(j, i) - quick.second(j, i)) * 0.5 * s * s;
            if (spread <= allowed && shift <= allowed) continue;
            inputs += (inputs.empty() ? "" : ", ") + f.Xs->Item(i)->Name;
        }
        if (inputs.empty()) continue;
        moments.warnings.push_back(
            "The accurate derivatives of " + f.Ys->Item(j)->Name + " with respect to " + inputs +
            " differ from the quick ones. Their first step, a fifth of the input's value, may reach a kink "
            "or where there is no value; or the quick ones round. Compare with \"Quick\".");
    }
}

void requireFilled(host::Range& cell, const TextEntry& entry)
{
    if (isEmptyText(cell.Value()))
        throw Refused(entry.place, fmt::format("the cell {} is empty; it must hold a number", entry.value));
}

void settleNoise(Problem& problem)
{
    const c_Formulation& f = *problem.formulation;
    for (Long i : oneTo(f.CountX())) {
        c_Parameter& x = *f.Xs->Item(i);
        if (x.xType != xTypes::Noise || x.dist->Count() == 0) continue;
        x.CalcMoments();
        x.SetMean(x.GetMean());
    }
    alg_m_XLinterface::Recalc(*problem.application);
}

} // namespace

Long orderOf(const Study& study) { return study.options.Stats == statsMethods::FirstOrder ? 1 : 2; }

void requireAnalysable(Problem& problem)
{
    const Study& study = problem.study;
    const c_Formulation& f = *problem.formulation;
    const Place file{study.path, 0, ""};
    if (study.parameters.empty()) throw Refused(file, "the study has no [[parameter]]");
    if (study.responses.empty()) throw Refused(file, "the study has no [[response]]");
    for (Long i : oneTo(f.CountX()))
        if (isActiveKind(f.Xs->Item(i)->xType))
            requireFilled(*f.Xs->Item(i)->mean, study.parameters[static_cast<std::size_t>(i - 1)].cell);
    for (Long j : oneTo(f.CountY()))
        requireFilled(*f.Ys->Item(j)->Formula, study.responses[static_cast<std::size_t>(j - 1)].cell);
    validateInputs(problem);
}

std::vector<std::string> smallStepWarnings(const Problem& problem, const std::vector<double>& means,
                                           const std::vector<double>& stdevs)
{
    std::vector<std::string> warnings;
    for (Long i : oneTo(problem.formulation->CountX())) {
        const auto at = static_cast<std::size_t>(i - 1);
        const std::string warning =
            alg_m_Evaluation::quickStepWarning(*problem.formulation->Xs->Item(i), means[at], stdevs[at]);
        if (!warning.empty()) warnings.push_back(warning);
    }
    return warnings;
}

std::vector<double> standardDeviations(Problem& problem)
{
    std::vector<double> stdevs;
    const c_Formulation& f = *problem.formulation;
    for (Long i : oneTo(f.CountX())) {
        c_Parameter& x = *f.Xs->Item(i);
        const bool own = x.xType == xTypes::Noise || x.xType == xTypes::Constant;
        stdevs.push_back(own ? x.GetStDev() : toDouble(alg_m_XLinterface::valueOf(x.stdev)));
    }
    return stdevs;
}

Moments differentiate(Problem& problem, Long order)
{
    Moments moments;
    moments.order = order;
    settleNoise(problem);
    c_Formulation& f = *problem.formulation;
    moments.derivs = f.Options->Derivs;
    moments.stdevs = standardDeviations(problem);
    for (Long i : oneTo(f.CountX())) moments.means.push_back(toDouble(f.Xs->Item(i)->mean->Value()));

    const long long before = problem.application->calculations();
    const auto begin = std::chrono::steady_clock::now();
    const bool quick = moments.derivs == "Quick";
    const Derivatives found = derivatives(problem, order, quick);
    if (!problem.study.correlations.empty())
        moments.warnings.push_back(
            "The study's correlations are left out: the prediction takes the inputs as independent.");
    if (quick && order == 2)
        for (const std::string& warning : smallStepWarnings(problem, moments.means, moments.stdevs))
            moments.warnings.push_back(warning);
    if (!quick) warnOfDisagreement(problem, moments, found, derivatives(problem, order, true));
    moments.first = found.first;
    moments.second = found.second;
    alg_m_XLinterface::Recalc(*problem.application);
    moments.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
    moments.recalculations = problem.application->calculations() - before;
    return moments;
}

c_sa_Output propagate(Problem& problem, const Moments& moments, Long j, const std::vector<double>& stdevs)
{
    const c_Formulation& f = *problem.formulation;
    const c_Response& y = *f.Ys->Item(j);
    c_sa_Input ins;
    ins.y = y.Formula;
    ins.yName = y.Name;
    ins.lsl = y.lsl;
    ins.usl = y.usl;
    ins.dbg = f.Options->dbg;
    ins.resizeArrays(f.CountX());
    for (Long i : oneTo(f.CountX())) {
        ins.xMeans(i, f.Xs->Item(i)->mean);
        ins.xNames(i, f.Xs->Item(i)->Name);
        ins.xStDevs(i, stdevs[static_cast<std::size_t>(i - 1)]);
        ins.Derivs1(i, moments.first(j, i));
        ins.derivs2(i, moments.second(j, i));
    }
    c_sa_Output outs;
    c_sa_Analysis{}.SensitivityAnalysis(ins, outs);
    return outs;
}

Capability capability(const c_Response& y, double mean, double stdev)
{
    constexpr double kNone = std::numeric_limits<double>::quiet_NaN();
    const std::optional<double> lsl = alg_m_XLinterface::specificationLimit(y.lsl, "capability");
    const std::optional<double> usl = alg_m_XLinterface::specificationLimit(y.usl, "capability");
    Capability c{kNone, kNone};
    if (stdev == 0.0) return c;
    if (lsl && usl) c.Cp = (*usl - *lsl) / (6.0 * stdev);
    if (lsl) c.Cpk = (mean - *lsl) / (3.0 * stdev);
    if (usl) c.Cpk = std::fmin(c.Cpk, (*usl - mean) / (3.0 * stdev)); // fmin passes over a missing one
    return c;
}

} // namespace varnex3::cli
