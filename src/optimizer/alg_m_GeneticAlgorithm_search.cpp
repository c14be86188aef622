// optimizer/alg_m_GeneticAlgorithm_search.cpp - the loop of the search, its stopping rules and its ends.
#include <string>

#include "optimizer/SortGen.h"
#include "optimizer/alg_m_GeneticAlgorithm.h"
#include "optimizer/alg_m_XLinterface_reports.h"
#include "runtime/Number.h"
#include "ui/Debug.h"
#include "ui/interface/UserInterface.h"

namespace varnex3::alg_m_GeneticAlgorithm {
namespace {

/// With few alternatives a population larger than the search space could never be made of distinct
/// members; one generation then holds every point once.
void enumerateInstead(OptimizationRun& d)
{
    c_Options& options = d.options();
    ui::showMessage(
        "There are not enough X values to explore.  A simple enumerative search will be performed.", kTitle);
    options.GenSize = toLong(numAlternatives(d));
    if (options.GenSize < 1) raise(errors::Subscript);
    d.genX.resize(options.GenSize, d.f->CountX());
    d.genP.resize(options.GenSize, kScores);
    d.genY.resize(options.GenSize, kStatistics * d.f->CountY());
    options.StopRule = stopRules::FixedNumber;
    options.MaxGens = 1;
}

/// The steps of RunCorvane, without its handler. The options are asked for afresh each time: a report macro
/// may put another object in their place.
void search(OptimizationRun& d, Procedure& here)
{
    here.at(1);
    traceEntry(d.options().dbg, "RunCorvane");
    here.at(2);
    if (numAlternatives(d) < 2.0 * d.options().GenSize) enumerateInstead(d);
    here.at(3);
    d.genCount = 0;
    LoadInitialSolution(d);
    here.at(4);
    EvaluateGen(d, 1, 1);
    alg_m_XLinterface::PrintGen(d);
    here.at(5);
    d.genCount = 1;
    CreateGen(d);
    here.at(6);
    EvaluateGen(d, 1, d.options().GenSize);
    alg_m_Sorting::SortGen(d, 1, 1, d.options().GenSize);

    for (;;) {
        here.at(71);
        alg_m_XLinterface::PrintGen(d);
        here.at(72);
        if (OptimizationComplete(d)) break;
        here.at(73);
        d.genCount = addLong(d.genCount, 1);
        here.at(74);
        NewGen(d);
        here.at(75);
        EvaluateGen(d, d.options().GenSize - d.numKids + 1, d.options().GenSize);
        here.at(76);
        alg_m_Sorting::SortGen(d, 1, 1, d.options().GenSize);
    }
    alg_m_XLinterface::PrintFinalGen(d);
    ui::showMessage("Optimization run is complete.", kTitle);
    d.xl->StatusBar(false);
}

void giveScreenBack(OptimizationRun& d)
{
    d.xl->ScreenUpdating(true);
    d.xl->StatusBar(false);
}

/// Leaves the workbook with the best values found, or with those it had at the start.
void endCancelled(OptimizationRun& d)
{
    d.summary.cancelled = true;
    ui::userInterface().beep();
    const ui::Answer answer =
        ui::userInterface().messageBox("Keep best solution found so far?", ui::Buttons::YesNo, kTitle);
    d.summary.keptBest = answer == ui::Answer::Yes;
    for (Long j : oneTo(d.f->CountX()))
        required(required(d.f->Xs).Item(j)).SetMean(d.summary.keptBest ? d.genX(1, j) : d.startX(j));
}

} // namespace

/// The genetic search.
///
///   2. With too few alternatives, enumerate them in one generation instead.
///   3. to 4. Member 1 = the workbook's values, evaluated and reported as generation 0.
///   5. to 6. The first generation, evaluated and sorted.
///   7. Report (71); stop when complete (72); otherwise count (73), breed (74), evaluate the children
///      (75) and sort (76), and again.
///
/// Whatever stops it early, the host gets its screen and status bar back. A cancel ends the search
/// without an error, after asking whether to keep the best solution; any other error goes on.
void RunCorvane(OptimizationRun& d)
{
    Procedure here{kModule, "RunCorvane"};
    try {
        search(d, here);
        return;
    } catch (...) {
        adoptForeignException();
        const ErrorRecord failure = err();
        if (failure.number != errors::UserInterrupt) {
            attempt([&] { giveScreenBack(d); }); // a host that fails here must not hide the failure
            raise(failure.number, failure.source, failure.description);
        }
        caught();
    }
    giveScreenBack(d);
    endCancelled(d);
}

/// Whether the search is to stop.
///
///   2. Yes, when the four scores of the best member sum to exactly 0.
///   3. "Stop after fixed #": at generation MaxGens.
///   4. "Stop after no change": MaxGens generations after the best was reached. A best member that
///      differs from the previous one in any variable, by any amount, is a change.
bool OptimizationComplete(OptimizationRun& d)
{
    constexpr const char* kName = "OptimizationComplete";
    Procedure here{kModule, kName};
    const c_Options& options = d.options();
    const auto detail = [&](const std::string& text) { traceDetail(options.dbg, kName, text); };

    here.at(1);
    if (!options.dbg.empty())
        ui::showMessage("OptimizationComplete for Generation " + std::to_string(d.genCount));
    here.at(2);
    const double s = d.genP(1, 1) + d.genP(1, 2) + d.genP(1, 3) + d.genP(1, 4);
    if (s == 0.0) {
        detail("Best solution found");
        return true;
    }
    here.at(3);
    if (options.StopRule == stopRules::FixedNumber) return d.genCount >= options.MaxGens;
    if (options.StopRule != stopRules::NoChange) return false;

    here.at(4);
    bool same = true;
    for (Long j : oneTo(d.f->CountX())) same = same && d.genX(1, j) == d.prevBestX(j);
    detail("same = " + toText(same));
    if (!same) {
        d.genOfBest = d.genCount - 1;
        detail("d.genOfBest set to " + std::to_string(d.genOfBest));
        return false;
    }
    const bool complete = d.genCount - d.genOfBest >= options.MaxGens;
    if (complete)
        detail("optimization is complete.  genCount = " + std::to_string(d.genCount) + ", genOfBest = " +
               std::to_string(d.genOfBest) + ", MaxGens = " + std::to_string(options.MaxGens));
    return complete;
}

} // namespace varnex3::alg_m_GeneticAlgorithm
