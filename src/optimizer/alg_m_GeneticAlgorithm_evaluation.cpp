// optimizer/alg_m_GeneticAlgorithm_evaluation.cpp - members into the workbook, statistics out of it.
#include <span>
#include <string>
#include <vector>

#include "evaluation/alg_m_Evaluation.h"
#include "host/TrialsAhead.h"
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

constexpr ResponseStep kPlain = alg_m_Evaluation::Deterministic_Ys;
constexpr Method kMethods[] = {
    {statsMethods::None, kPlain, true},
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

/// The members whose responses the host works out before their turn: without statistics, where the workbook
/// is recalculated once for each member and nothing but the responses depends on its values.
class MembersAhead {
public:
    MembersAhead(OptimizationRun& d, const Method& method, Long last)
        : d_(d), last_(last), tries_(method.step == kPlain && d.options().dbg.empty() ? 2 : 0)
    {}

    /// Whether the responses of member m are known; the cells then keep what they hold. Not those of the last
    /// member, which the workbook is left with.
    bool take(Long m)
    {
        if (m == last_) return false;
        // The first member may have to put numbers in place of formulas.
        if (!ahead_.isOpen() && tries_ > 0) {
            --tries_;
            open();
        }
        if (!ahead_.isOpen()) return false;
        if (!ahead_.holds(m)) {
            ahead_.advance(m, last_ - 1, [&](Long member, std::span<double> row) {
                for (std::size_t i = 0; i < row.size(); ++i) row[i] = d_.genX(member, varying_[i]);
                return true;
            });
        }
        notWritten_ = ahead_.holds(m) ? m : 0;
        return notWritten_ != 0;
    }
    std::span<const double> responses(Long m) const { return ahead_.outputs(m); }
    void written() { notWritten_ = 0; }
    /// Gives the workbook what the last member would have left in it.
    void write()
    {
        if (notWritten_ == 0) return;
        for (const Long k : varying_) d_.f->Xs->Item(k)->SetMean(d_.genX(notWritten_, k));
        notWritten_ = 0;
        alg_m_XLinterface::Recalc(*d_.xl);
    }

private:
    void open();
    static void keep(TrialsAhead::Cells& fixed, const Variant& property)
    {
        if (Ref<host::Range> cell = alg_m_XLinterface::rangeOf(property)) fixed.push_back(std::move(cell));
    }

    OptimizationRun& d_;
    Long last_;
    int tries_;
    TrialsAhead ahead_;
    std::vector<Long> varying_; // parameters whose cells are written
    Long notWritten_ = 0;       // the member evaluated last, when the cells do not hold its values
};

void MembersAhead::open()
{
    const c_Formulation& f = *d_.f;
    TrialsAhead::Cells inputs, outputs, fixed;
    std::vector<bool> placed(static_cast<std::size_t>(f.CountX()) + 1, false);
    varying_.clear();
    for (Long i : oneTo(f.CountX())) {
        const Long k = f.CalcSequence(i);
        if (k < 1 || k > f.CountX() || placed[static_cast<std::size_t>(k)]) return;
        placed[static_cast<std::size_t>(k)] = true;
        const c_Parameter& x = required(required(f.Xs).Item(k));
        if (f.RecalcFlags(k) || (x.needsRecalc && x.xType == xTypes::Noise)) return;
        if (x.xType == xTypes::Constant) continue;
        varying_.push_back(k);
        inputs.push_back(x.mean);
    }
    for (Long j : oneTo(f.CountY())) {
        const c_Response& y = *f.Ys->Item(j);
        outputs.push_back(y.Formula);
        keep(fixed, y.lsl);
        keep(fixed, y.usl);
    }
    for (Long c : oneTo(f.CountC())) keep(fixed, f.Cs->Item(c)->Reqt);
    for (Long g : oneTo(f.CountG())) {
        keep(fixed, f.Gs->Item(g)->Target);
        keep(fixed, f.Gs->Item(g)->Weight);
    }
    ahead_.open(*d_.xl, inputs, outputs, fixed);
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
    MembersAhead ahead(d, method, last);
    const auto evaluate = [&](Long m) {
        here.at(31);
        StatusMsg(*d.xl, options.dbg, status + std::to_string(m), "");
        here.at(32);
        const bool known = ahead.take(m);
        if (!known && method.writesInputsFirst) {
            detail("writing X's for member " + std::to_string(m));
            writeInputs(d, m);
            detail("Recalculating for member " + std::to_string(m));
            alg_m_XLinterface::Recalc(*d.xl);
            ahead.written();
        }
        here.at(33);
        detail("Calculating Y's; " + options.Stats);
        here.at(34);
        if (known) {
            alg_m_Evaluation::Deterministic_Ys(d, m, ahead.responses(m));
        } else {
            method.step(d, m);
        }
        here.at(35);
        ComputePLevels(d, m);
        ++d.summary.evaluations;
    };
    try {
        for (Long m : fromTo(first, last)) evaluate(m);
    } catch (...) { // the workbook is seen as the last member left it
        attemptInHandler([&] { ahead.write(); });
        throw;
    }
    here.at(4);
    d.xl->ScreenUpdating(true);
}

} // namespace varnex3::alg_m_GeneticAlgorithm
