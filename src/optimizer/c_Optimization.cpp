// optimizer/c_Optimization.cpp - building the run record, running the search, reporting a failure.
#include "optimizer/c_Optimization.h"

#include <cmath>
#include <utility>

#include "host/alg_m_XLinterface.h"
#include "optimizer/alg_m_GeneticAlgorithm.h"
#include "optimizer/alg_m_XLinterface_reports.h"
#include "runtime/Number.h"
#include "stats/alg_m_MersenneTwister.h"
#include "ui/Debug.h"
#include "ui/EntryPoint.h"
#include "ui/Windows.h"

namespace varnex3 {
namespace {

constexpr const char* kInitVars = "InitVars";

Long share(Long size, double fraction) { return toLong(Int(size * fraction)); }

/// Sorts the feasible values and takes the search range from them.
void settleRanges(c_Formulation& f)
{
    for (Long i : oneTo(f.CountX())) required(required(f.Xs).Item(i)).SortFV();
    for (Long i : oneTo(f.CountX())) {
        c_Parameter& x = *f.Xs->Item(i);
        if (x.numFVs() == 0) continue;
        x.SearchMin = x.FeasVals(1);
        x.SearchMax = x.FeasVals(x.numFVs());
    }
}

void setConstants(OptimizationRun& d)
{
    const Long size = d.options().GenSize;
    d.numKids = share(size, 0.8);
    d.mutationScale = 0.25;
    d.numSmallOne = share(size, 0.05);
    d.numSmallAll = share(size, 0.05);
    d.numMinMax = share(size, 0.05);
    d.numRandom = share(size, 0.1);
    d.xoverProb = 0.5;
    d.fitnessFloor = 0.01;
}

template <class Trace>
void sizeArrays(OptimizationRun& d, Trace&& trace)
{
    const Long size = d.options().GenSize, countX = d.f->CountX();
    trace("sizing genX array");
    d.genX.resize(size, countX);
    trace("sizing genY array");
    d.genY.resize(d.storesYs() ? size : 1, kStatistics * d.f->CountY());
    trace("sizing genP array");
    d.genP.resize(size, kScores);
    trace("sizing kids array");
    d.kids.resize(d.numKids, countX);
    trace("creating alg matrices");
    for (Array1<double>* array : {&d.resX, &d.startX, &d.bestX, &d.prevBestX, &d.trendX, &d.cumTrendX})
        array->resize(countX);
}

/// The smallest difference in a parameter that makes two members different.
double resolution(const c_Parameter& x, const c_Options& options)
{
    if (x.xType == xTypes::Continuous)
        return options.Precision * std::fabs(x.SearchMin - x.SearchMax) / options.GenSize;
    return x.xType == xTypes::Integer ? 1.0 : 0.0;
}

/// The response whose formula cell is the item's cell. An item on any other cell could not be scored.
template <class Item>
Long sourceOf(const c_Formulation& f, const char* kind, const Item& item)
{
    host::Range& cell = required(item.y);
    for (Long j : oneTo(f.CountY())) {
        const c_Response& response = required(required(f.Ys).Item(j));
        if (alg_m_XLinterface::SameRange(required(response.Formula), cell)) return j;
    }
    raise(errors::InvalidCall, kInitVars,
          std::string(kind) + " \"" + item.id + "\" (" + item.Name + "): its cell " +
              alg_m_XLinterface::referenceText(cell) + " is not the formula cell of any response");
}

} // namespace

void c_Optimization::XLApplication(Ref<host::Application> application)
{
    application_ = std::move(application);
    alg_m_XLinterface::hostState().application = application_;
}

void c_Optimization::CorvaneFileName(const std::string& name)
{
    fileName_ = alg_m_XLinterface::hostState().fileName = name;
}

void c_Optimization::PrintGenMacro(const std::string& name)
{
    printGenMacro_ = alg_m_XLinterface::hostState().printGenMacro = name;
}

void c_Optimization::PrintFinalMacro(const std::string& name)
{
    printFinalMacro_ = alg_m_XLinterface::hostState().printFinalMacro = name;
}

bool c_Optimization::Optimize(c_Formulation& f_init, c_MonteCarlo& mc)
{
    OptimizationRun d;
    if (Seed > 0) {
        alg_m_MersenneTwister::InitRandom(Seed); // draws before the search repeat, too
        d.summary.seed = Seed;
    }
    const bool ended = entryPoint("c_Optimization", "Optimize", false, [&](Procedure& here) {
        here.at(2);
        InitVars(d, f_init, mc);
        here.at(3);
        if (d.options().dbg == "PrintFormulation") alg_m_XLinterface::PrintFormulation(d);
        here.at(4);
        statusWindow().Initialize();
        here.at(5);
        alg_m_GeneticAlgorithm::RunCorvane(d);
        here.at(6);
        statusWindow().Hide();
        return true;
    });
    lastRun_ = d.summary;
    lastRun_.genCount = d.genCount;
    lastRun_.genOfBest = d.genOfBest;
    return ended;
}

void c_Optimization::Clear() { application_.reset(); }

/// Fills the run record.
///
///   3. to 5. The caller's formulation: feasible values sorted, search ranges taken from them, GenSize
///      raised to 20. Then the constants of the search.
///   6. Size the arrays, all zero.
///   7. Start values and resolutions.
///   8. to 9. The response that each constraint and goal is on.
///   10. The macros around every recalculation.
///
/// @raises  91 without an application; 13 for a start value that is no number; 5 for a constraint or goal
///          on a cell that is no response's
void c_Optimization::InitVars(OptimizationRun& d, c_Formulation& f_init, c_MonteCarlo& mc)
{
    Procedure here{"c_Optimization", kInitVars};
    here.at(1);
    d.f = &f_init;
    d.mc = &mc;
    c_Options& options = d.options();
    const auto trace = [&](const char* text) { traceDetail(options.dbg, kInitVars, text); };
    traceEntry(options.dbg, kInitVars);
    trace("d.f created");
    trace("d.f copied");
    here.at(2);
    required(application_);
    d.xl = application_;
    here.at(3);
    settleRanges(f_init);
    here.at(5);
    trace("setting alg paramters");
    if (options.GenSize < kMinGenSize) options.GenSize = kMinGenSize;
    setConstants(d);
    here.at(6);
    sizeArrays(d, trace);
    here.at(7);
    for (Long i : oneTo(f_init.CountX())) {
        trace("saving start values");
        const c_Parameter& x = *f_init.Xs->Item(i);
        d.startX(i) = toDouble(required(x.mean).Value());
        d.resX(i) = resolution(x, options);
    }
    here.at(8);
    if (f_init.CountC() > 0) {
        trace("saving constraint sources");
        d.cSource.resize(f_init.CountC());
        for (Long c : oneTo(f_init.CountC()))
            d.cSource(c) = sourceOf(f_init, "Constraint", required(required(f_init.Cs).Item(c)));
    }
    here.at(9);
    if (f_init.CountG() > 0) {
        trace("saving goal sources");
        d.gSource.resize(f_init.CountG());
        for (Long g : oneTo(f_init.CountG()))
            d.gSource(g) = sourceOf(f_init, "Goal", required(required(f_init.Gs).Item(g)));
    }
    here.at(10);
    alg_m_XLinterface::hostState().beforeMacro = options.beforeMacro;
    alg_m_XLinterface::hostState().afterMacro = options.afterMacro;
    trace("InitVars complete");
}

} // namespace varnex3
