// evaluation/MonteCarlo_Ys.cpp - the response step by simulation: one Monte Carlo run per member.
//
// The run is c_MonteCarlo's; which candidates are simulated is the search's.
#include <string>

#include "evaluation/alg_m_Evaluation.h"
#include "host/alg_m_XLinterface.h"
#include "montecarlo/c_MonteCarlo.h"
#include "ui/Debug.h"

namespace varnex3::alg_m_Evaluation {

/// Fills a member's row of genY from a simulation of the member.
///
///   1. Debug message.
///   2. row = the member's row of genY.
///   3. The member's values go into the workbook; "Noise" parameters keep their own means.
///   4. Recalculation.
///   5. A run for the optimizer, with the settings of the caller's c_MonteCarlo.
///   6. A run that failed: raise 519.
///   7. Per response: mean, standard deviation, upper confidence bound of the non-conformance.
///
/// @draws   those of the run, which reseeds the stream; the search goes on from where it leaves it
/// @raises  519 when the run fails, which it has reported itself unless a draw was refused
void MonteCarlo_Ys(OptimizationRun& d, Long member)
{
    constexpr const char* kName = "MonteCarlo_Ys";
    Procedure here{"alg_m_Evaluation", kName};

    here.at(1);
    const std::string dbg = d.options().dbg;
    if (dbg == kName) traceDetail(dbg, kName, "MonteCarlo_Ys for member " + std::to_string(member));
    here.at(2);
    const Long row = d.rowOfY(member);
    const Long countY = d.f->CountY();
    here.at(3);
    for (Long i : oneTo(d.f->CountX())) {
        c_Parameter& x = required(required(d.f->Xs).Item(i));
        if (x.xType != xTypes::Noise) x.SetMean(d.genX(member, i));
    }
    here.at(4);
    alg_m_XLinterface::Recalc(*d.xl);
    here.at(5);
    const bool done = d.mc->RunMC(!dbg.empty(), true);
    here.at(6);
    if (!done) raise(errors::EvaluationFailed, kName, "");
    here.at(7);
    for (Long y : oneTo(d.mc->CountY())) {
        d.genY(row, y) = d.mc->yStats(y, 1);
        d.genY(row, countY + y) = d.mc->yStats(y, 2);
        d.genY(row, 2 * countY + y) = d.mc->yStats(y, 7);
    }
}

} // namespace varnex3::alg_m_Evaluation
