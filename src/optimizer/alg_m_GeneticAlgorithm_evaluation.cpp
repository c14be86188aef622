// optimizer/alg_m_GeneticAlgorithm_evaluation.cpp - members into the workbook, statistics out of it.
#include <string>

#include "evaluation/alg_m_Evaluation.h"
#include "host/alg_m_XLinterface.h"
#include "optimizer/alg_m_GeneticAlgorithm.h"
#include "ui/Debug.h"
#include "ui/Windows.h"
#include "ui/interface/UserInterface.h"

namespace varnex3::alg_m_GeneticAlgorithm {
namespace {

constexpr const char* kName = "EvaluateGen";
constexpr Long kMomentPoints = 200; // of the grid for the moments of a distribution that depends on cells

using ResponseStep = void (*)(OptimizationRun& d, Long m);

void firstOrder(OptimizationRun& d, Long m) { alg_m_Evaluation::SensAnalysis_Ys(d, m, 1); }
void secondOrder(OptimizationRun& d, Long m) { alg_m_Evaluation::SensAnalysis_Ys(d, m, 2); }

struct Method {
    const char* stats;
    ResponseStep step;
    bool writesInputsFirst; // otherwise the step writes them itself
};

constexpr Method kMethods[] = {
    {statsMethods::None, alg_m_Evaluation::Deterministic_Ys, true},
    {statsMethods::FirstOrder, firstOrder, true},
    {statsMethods::SecondOrder, secondOrder, true},
    {statsMethods::MonteCarlo, alg_m_Evaluation::MonteCarlo_Ys, false},
};

/// The method of that name; for any other name one that computes nothing.
Method methodOf(const std::string& stats)
{
    for (const Method& method : kMethods)
        if (stats == method.stats) return method;
    return {"", [](OptimizationRun&, Long) {}, true};
}

/// Brings the mean of a "Noise" parameter up to date whose distribution depends on other cells.
void refreshNoise(OptimizationRun& d, c_Parameter& x, Long m, Long k)
{
    for (Long q : oneTo(required(x.dist).Count())) {
        std::string message;
        if (!required(x.dist->Item(q)).ParamsOK(message)) raise(errors::EvaluationFailed, kName, message);
    }
    alg_m_XLinterface::Recalc(*d.xl);
    Long points = kMomentPoints;
    x.CalcMoments(points);
    d.genX(m, k) = x.GetMean();
}

/// Writes a member's values in calculation order; a flagged parameter sees the workbook recalculated
/// with all values written before it.
void writeInputs(OptimizationRun& d, Long m)
{
    const c_Formulation& f = *d.f;
    for (Long i : oneTo(f.CountX())) {
        const Long k = f.CalcSequence(i);
        if (f.RecalcFlags(k)) alg_m_XLinterface::Recalc(*d.xl);
        c_Parameter& x = required(required(f.Xs).Item(k));
        if (x.needsRecalc && x.xType == xTypes::Noise) refreshNoise(d, x, m, k);
        x.SetMean(d.genX(m, k));
    }
}

} // namespace

/// Evaluates and scores members first..last.
///
///   2. Screen updating off.
///   3. For each member: report the status; unless the statistics method does it, write the member's
///      values and recalculate; compute its statistics; score it.
///   4. Screen updating on; after an error it stays off for the caller to turn on.
///
/// @raises  18 after a cancel; 519 when a distribution reports invalid parameters; what the response
///          step raises
void EvaluateGen(OptimizationRun& d, Long first, Long last)
{
    Procedure here{kModule, kName};
    const Ref<c_Options> held = d.f->Options; // a recalculation macro may put other options in their place
    const c_Options& options = required(held);
    const auto detail = [&](const std::string& text) { traceDetail(options.dbg, kName, text); };

    here.at(1);
    traceEntry(options.dbg, kName);
    const Method method = methodOf(options.Stats);
    here.at(2);
    d.xl->ScreenUpdating(false);
    here.at(3);
    const std::string status = "Evaluating generation " + std::to_string(d.genCount) + ", member ";
    for (Long m : fromTo(first, last)) {
        here.at(31);
        StatusMsg(*d.xl, options.dbg, status + std::to_string(m), "");
        here.at(32);
        if (method.writesInputsFirst) {
            detail("writing X's for member " + std::to_string(m));
            writeInputs(d, m);
            detail("Recalculating for member " + std::to_string(m));
            alg_m_XLinterface::Recalc(*d.xl);
        }
        here.at(33);
        detail("Calculating Y's; " + options.Stats);
        here.at(34);
        method.step(d, m);
        here.at(35);
        ComputePLevels(d, m);
        ++d.summary.evaluations;
    }
    here.at(4);
    d.xl->ScreenUpdating(true);
}

} // namespace varnex3::alg_m_GeneticAlgorithm
